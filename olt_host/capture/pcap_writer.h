/// Capture files for protocol analysers.
#ifndef OLT_HOST_CAPTURE_PCAP_WRITER_H
#define OLT_HOST_CAPTURE_PCAP_WRITER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace olt_host {

/// Writes Ethernet frames into a file in the pcap format, with microseconds. One task at a time; writing
/// blocks for as long as the disk does.
class PcapWriter {
public:
    /// No file becomes larger: 860,000 OMCI frames.
    static constexpr std::uint64_t kMostBytes = std::uint64_t{64} << 20;

    PcapWriter();
    /// Closes the file.
    ~PcapWriter();
    PcapWriter(const PcapWriter&) = delete;
    PcapWriter& operator=(const PcapWriter&) = delete;

    /// Opens a file, which is none yet or a capture that is written over. Closes the one before.
    /// @return what could not be done, with nothing changed in the file system; empty when all was. Throws
    ///         std::bad_alloc.
    std::string Open(const std::string& path);

    /// Appends a frame; `time` is in microseconds since 1970.
    /// @return false when none can be: the file is full or could not be written (`Fault`), or there is none.
    ///         It holds whole frames and is closed then.
    bool Write(std::int64_t time, const void* frame, std::size_t size);
    /// Brings what was appended into the file. @return as `Write`.
    bool Flush();
    void Close();

    unsigned long Frames() const { return frames; }    ///< in the file, or on their way into it
    const std::string& Fault() const { return fault; } ///< why the file ended before it was closed

private:
    struct File;

    bool Fail(std::string why);

    std::unique_ptr<File> file;
    unsigned long frames = 0;
    std::uint64_t size = 0;        ///< with what is on its way
    unsigned long safe_frames = 0; ///< that are in the file
    std::uint64_t safe_size = 0;
    std::string fault;
};

} // namespace olt_host

#endif
