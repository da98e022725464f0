/// Capture files of protocol analysers.
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

    /// Takes over a stream that stands at its beginning.
    /// @return what is wrong with it; empty when nothing is.
    std::string Open(std::FILE* stream);

    /// Goes to the next frame. @return false at the end, and when the file cannot be read on (`Fault`).
    bool Next();
    /// What was captured of it, until the next call.
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
