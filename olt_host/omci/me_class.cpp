#include "olt_host/omci/me_class.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace olt_host {

namespace {

/// In ascending order of their numbers, for the binary search.
constexpr MeClass kClasses[] = {
    {2, "ONU data", 0, 0x8000, {1}},
    {5, "cardholder", 0, 0x7380, {1, 1, 1, 20, 20, 1, 1, 1, 1}},
    {6, "circuit pack", 0, 0x0544, {1, 1, 8, 14, 4, 1, 1, 1, 20, 1, 1, 1, 1, 4}},
    {7, "software image", 0, 0, {14, 1, 1, 1, 25, 16}},
    {11, "PPTP Ethernet UNI", 0, 0xB9FE, {1, 1, 1, 1, 1, 1, 1, 2, 1, 2, 1, 1, 1, 1, 1}},
    {24, "Ethernet PM history data"},
    {45, "MAC bridge service profile", 0xFFC0, 0xFFC0, {1, 1, 1, 2, 2, 2, 2, 1, 1, 4}},
    {47, "MAC bridge port config data", 0xFF88, 0xFFB8, {2, 1, 1, 2, 2, 2, 1, 1, 1, 6, 2, 2, 1}},
    {53, "PPTP POTS UNI"},
    {58, "voice service profile"},
    {84, "VLAN tagging filter data", 0xE000, 0xE000, {24, 1, 1}},
    {89, "Ethernet PM history data 2"},
    {130, "802.1p mapper service profile", 0xFFD8, 0xFFF8, {2, 2, 2, 2, 2, 2, 2, 2, 2, 1, 24, 1, 1}},
    {134, "IP host config data"},
    {136, "TCP/UDP config data"},
    {137, "network address"},
    {138, "VoIP config data"},
    {139, "VoIP voice CTP"},
    {142, "VoIP media profile"},
    {143, "RTP profile data"},
    {148, "authentication security method"},
    {150, "SIP agent config data"},
    {153, "SIP user data"},
    {157, "large string"},
    {158, "ONU remote debug"},
    {171, "extended VLAN tagging config", 0x8200, 0xBF00, {1, 2, 2, 2, 1, 16, 2, 24}},
    {256, "ONU-G", 0, 0x0610, {4, 14, 8, 1, 1, 1, 1, 1, 1, 24, 12, 1, 2}},
    {257, "ONU2-G", 0, 0x0814, {20, 1, 2, 1, 1, 2, 1, 1, 2, 4, 2, 1, 2, 2}},
    {262, "T-CONT", 0, 0xA000, {2, 1, 1}},
    {263, "ANI-G", 0, 0x27B3, {1, 2, 2, 1, 1, 1, 1, 1, 1, 2, 1, 1, 2, 2, 1, 1}},
    {264, "UNI-G", 0, 0x5800, {2, 1, 1, 2, 2}},
    {266, "GEM interworking TP", 0xF200, 0xF300, {2, 1, 2, 2, 1, 1, 2, 1}},
    {267, "GEM port PM history data"},
    {268, "GEM port network CTP", 0xFAC0, 0xFAC0, {2, 2, 1, 2, 2, 1, 2, 1, 2, 1}},
    {272, "GAL Ethernet profile", 0x8000, 0x8000, {2}},
    {277, "priority queue", 0, 0x3FF0, {1, 2, 2, 2, 2, 4, 2, 1, 2, 4, 2, 2}},
    {278, "traffic scheduler", 0, 0xB000, {2, 2, 1, 1}},
    {281, "multicast GEM interworking TP"},
    {287, "OMCI"},
    {296, "Ethernet PM history data 3"},
    {329, "virtual Ethernet interface point"},
    {332, "enhanced security control"},
    {341, "GEM port network CTP PM"},
};

} // namespace

std::uint16_t MeClass::Mask() const {
    std::uint16_t mask = 0;
    for (unsigned int index = 0; index < kAttributes; ++index) {
        if (widths[index] != 0) mask = static_cast<std::uint16_t>(mask | AttributeBit(index));
    }
    return mask;
}

std::size_t MeClass::SizeOf(std::uint16_t mask) const {
    std::size_t size = 0;
    for (unsigned int index = 0; index < kAttributes; ++index) {
        if ((mask & AttributeBit(index)) != 0) size += widths[index];
    }
    return size;
}

std::size_t MeClass::OffsetOf(unsigned int index) const {
    return std::accumulate(widths.begin(), widths.begin() + index, std::size_t{0});
}

const MeClass* FindMeClass(std::uint16_t number) {
    const auto found =
        std::lower_bound(std::begin(kClasses), std::end(kClasses), number,
                         [](const MeClass& known, std::uint16_t wanted) { return known.number < wanted; });
    return found != std::end(kClasses) && found->number == number ? &*found : nullptr;
}

} // namespace olt_host
