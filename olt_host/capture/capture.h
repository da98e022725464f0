/// Captures the frames on the PONs into a file.
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

/// Writes the frames that the OLT sends and receives into a file for protocol analysers (`WrapOmci`,
/// `PcapWriter`).
///
/// The tasks that send and receive copy each frame into a buffer of 65,536 frames. If the buffer is full,
/// they count the frame as dropped. The capture's own task writes the file. The first capture creates the
/// task and the buffers (8 MiB); both stay until the destructor.
///
/// Thread safety: any task may begin and end captures.
class Capture : public WireTap, private Thread {
public:
    /// The ONUs whose frames are captured. 0 means all.
    struct Filter {
        unsigned short pon_no = 0;
        unsigned short onu_id = 0;
    };

    Capture() = default;
    /// Ends the capture and the task. No other task may still use the object.
    ~Capture() override;

    /// Begins a capture. Blocks while the disk does. Throws std::bad_alloc.
    /// @return an error message, for instance if a capture is already running; empty on success.
    [[nodiscard]] std::string Begin(const std::string& path, Filter filter);
    /// Ends the capture. First waits until the buffered frames are in the file, at most 10 seconds. Throws
    /// std::bad_alloc.
    /// @return a summary, "FILE: 584 frames, 0 dropped", with the reason if the capture ended early; empty if
    ///         there was no capture.
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

    ReadWriteLock control; ///< held while a capture begins or ends; taken before `lock`
    ReadWriteLock lock;    ///< guards `writer`; held during disk access
    PcapWriter writer;
    std::string path; ///< guarded by `control`; empty if there is no capture
    bool has_task = false;
    std::atomic<bool> is_on{false};
    std::atomic<unsigned short> pon_no{0}; ///< of the filter
    std::atomic<unsigned short> onu_id{0};
    std::atomic<unsigned long> dropped{0};
    ReadWriteLock buffer_lock; ///< guards `waiting` and `is_asked`
    std::vector<Record> waiting;
    bool is_asked = false;       ///< `End` wants `written` signalled
    std::vector<Record> writing; ///< used by the capture's task only
    Semaphore wake;
    Semaphore written;
};

} // namespace olt_host

#endif
