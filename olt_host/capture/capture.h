/// What goes over the PONs, into a file.
#ifndef OLT_HOST_CAPTURE_CAPTURE_H
#define OLT_HOST_CAPTURE_CAPTURE_H

#include <atomic>
#include <string>
#include <vector>

#include "olt_host/capture/ethernet.h"
#include "olt_host/capture/pcap_writer.h"
#include "olt_host/onu/wire_tap.h"
#include "onu_mng_lib/onu_mng_common/runable.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"

namespace olt_host {

/// Writes what the OLT sends and receives into a file for protocol analysers (`WrapOmci`, `PcapWriter`).
///
/// The tasks that send and receive only put a copy into a buffer for 65,536 frames, and count the frame as
/// dropped when that is full. A task of the capture writes them. Task and buffers (8 MiB) are there from the first
/// capture on.
///
/// Thread safety: any task may begin and end captures.
class Capture : public WireTap, private Thread {
public:
    /// The ONUs whose frames are wanted; 0 stands for all.
    struct Filter {
        unsigned short pon_no = 0;
        unsigned short onu_id = 0;
    };

    Capture() = default;
    /// Ends a capture, and the task. No other task uses the object any more.
    ~Capture() override;

    /// Begins a capture. Blocks for as long as the disk does.
    /// @return what could not be done, also while a capture runs; empty when it has begun. Throws
    ///         std::bad_alloc.
    std::string Begin(const std::string& path, Filter filter);
    /// Ends the capture when the frames that wait are in its file, or after 10 seconds.
    /// @return what became of it: "FILE: 584 frames, 0 dropped", and why it ended before when it did; empty
    ///         when there was none. Throws std::bad_alloc.
    std::string End();

    void OnSend(OnuKey onu, const OmciFrame& frame) override { Take(onu, Direction::kDown, frame); }
    void OnReceive(OnuKey onu, const OmciFrame& frame) override { Take(onu, Direction::kUp, frame); }

private:
    struct Record {
        std::int64_t time; ///< in microseconds since 1970
        OnuKey onu;
        Direction direction;
        OmciFrame frame;
    };

    bool OpenTask();
    void Take(OnuKey onu, Direction direction, const OmciFrame& frame);
    bool IsWanted(OnuKey onu) const;
    void Run() override;
    bool TakeWaiting();
    void Write();
    void WaitUntilWritten();

    ReadWriteLock control; ///< held by a task that begins or ends a capture; taken before `lock`
    ReadWriteLock lock;    ///< guards `writer`; held while the disk is waited for
    PcapWriter writer;
    std::string path; ///< under `control`; empty without a capture
    bool has_task = false;
    std::atomic<bool> is_on{false};
    std::atomic<unsigned short> pon_no{0}; ///< of the filter
    std::atomic<unsigned short> onu_id{0};
    std::atomic<unsigned long> dropped{0};
    ReadWriteLock buffer_lock; ///< guards the next two
    std::vector<Record> waiting;
    bool is_asked = false;       ///< to tell when what waits is written
    std::vector<Record> writing; ///< of the task
    Semaphore wake;
    Semaphore written;
};

} // namespace olt_host

#endif
