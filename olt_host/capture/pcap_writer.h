/// Writes capture files for protocol analysers.
#ifndef OLT_HOST_CAPTURE_PCAP_WRITER_H
#define OLT_HOST_CAPTURE_PCAP_WRITER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace olt_host {

/// Writes Ethernet frames into a file in the pcap format, with microseconds. One task at a time. Writing
/// blocks while the disk does.
class PcapWriter {
public:
    /// The maximum size of a file, enough for 860,000 OMCI frames.
    static constexpr std::uint64_t kMostBytes = std::uint64_t{64} << 20;

    PcapWriter();
    /// Closes the file.
    ~PcapWriter();
    PcapWriter(const PcapWriter&) = delete;
    PcapWriter& operator=(const PcapWriter&) = delete;

    /// Creates a file, or overwrites an empty file or a capture. Closes the previous file. Throws
    /// std::bad_alloc.
    /// @return an error message; empty on success.
    [[nodiscard]] std::string Open(const std::string& path);

    /// Appends a frame. `time` is in microseconds since 1970.
    /// @return false if the file is full or cannot be written (`Fault`), or if no file is open. After a fault
    ///         the file is closed and holds whole frames only.
    [[nodiscard]] bool Write(std::int64_t time, const void* frame, std::size_t size);
    /// Writes the buffered frames into the file. @return as `Write`.
    [[nodiscard]] bool Flush();
    void Close();

    unsigned long Frames() const { return frames; }    ///< including buffered ones
    const std::string& Fault() const { return fault; } ///< why the file ended before it was closed

private:
    struct File;

    bool Fail(std::string why);

    std::unique_ptr<File> file;
    unsigned long frames = 0;
    std::uint64_t size = 0;        ///< including buffered data
    unsigned long safe_frames = 0; ///< without buffered ones
    std::uint64_t safe_size = 0;
    std::string fault;
};

} // namespace olt_host

#endif
