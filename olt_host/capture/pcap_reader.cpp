#include "olt_host/capture/pcap_reader.h"

#include <pcap/pcap.h>

namespace olt_host {

struct PcapReader::File {
    explicit File(pcap_t* opened) : pcap(opened) {}
    ~File() { pcap_close(pcap); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    pcap_t* const pcap;
};

PcapReader::PcapReader() = default;

PcapReader::~PcapReader() = default;

std::string PcapReader::Open(std::FILE* stream) {
    char why[PCAP_ERRBUF_SIZE] = "";
    pcap_t* const pcap = pcap_fopen_offline(stream, why);
    if (pcap == nullptr) {
        std::fclose(stream);
        return why;
    }
    file = std::make_unique<File>(pcap);
    const int link = pcap_datalink(pcap);
    if (link == DLT_EN10MB) return {};
    const char* const name = pcap_datalink_val_to_name(link);
    return "its link type is " + (name == nullptr ? std::to_string(link) : std::string(name)) +
           ", not Ethernet";
}

bool PcapReader::Next() {
    pcap_pkthdr* header = nullptr;
    const unsigned char* data = nullptr;
    const int result = pcap_next_ex(file->pcap, &header, &data);
    if (result == PCAP_ERROR) fault = pcap_geterr(file->pcap);
    if (result != 1) return false;
    frame = std::string_view(reinterpret_cast<const char*>(data), header->caplen);
    return true;
}

} // namespace olt_host
