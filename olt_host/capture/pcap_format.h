/// Recognises capture files by their first bytes.
#ifndef OLT_HOST_CAPTURE_PCAP_FORMAT_H
#define OLT_HOST_CAPTURE_PCAP_FORMAT_H

#include <cstddef>
#include <cstring>
#include <initializer_list>

namespace olt_host {

constexpr std::size_t kPcapMagicSize = 4;

/// Returns whether `start` is the start of a file in the pcap format (microseconds or nanoseconds, either
/// byte order) or in the pcapng format.
inline bool IsPcap(const char* start) {
    for (const char* magic : {"\xa1\xb2\xc3\xd4", "\xd4\xc3\xb2\xa1", "\xa1\xb2\x3c\x4d", "\x4d\x3c\xb2\xa1",
                              "\x0a\x0d\x0d\x0a"}) {
        if (std::memcmp(start, magic, kPcapMagicSize) == 0) return true;
    }
    return false;
}

} // namespace olt_host

#endif
