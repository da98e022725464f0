/// Reads capture files of protocol analysers.
#ifndef OLT_HOST_CAPTURE_PCAP_READER_H
#define OLT_HOST_CAPTURE_PCAP_READER_H

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace olt_host {

/// Reads the Ethernet frames of a file in the pcap or pcapng format. One task at a time.
class PcapReader {
public:
    PcapReader();
    ~PcapReader();
    PcapReader(const PcapReader&) = delete;
    PcapReader& operator=(const PcapReader&) = delete;

    /// Opens a stream that is at its beginning. Takes ownership of the stream, even on failure.
    /// @return an error message; empty on success.
    [[nodiscard]] std::string Open(std::FILE* stream);

    /// Goes to the next frame. @return false at the end and on a read error (`Fault`).
    bool Next();
    /// Returns the captured bytes of the frame, which are valid until the next call of `Next`.
    std::string_view Frame() const { return frame; }
    const std::string& Fault() const { return fault; }

private:
    struct File;

    std::unique_ptr<File> file;
    std::string_view frame;
    std::string fault;
};

} // namespace olt_host

#endif
