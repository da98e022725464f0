#include "olt_host/capture/ethernet.h"

#include <algorithm>

#include "onu_mng_lib/onu_mng_common/variant_util.h"

namespace olt_host {

namespace {

constexpr std::size_t kAddress = 6;
constexpr std::size_t kType = 2;
constexpr std::size_t kVlanTag = 4;
constexpr std::uint16_t kOmci = 0x88B5;
constexpr std::uint16_t kVlan = 0x8100;
constexpr std::uint16_t kServiceVlan = 0x88A8;
constexpr char kLocal = 0x02;
constexpr unsigned short kOlt = 0; ///< ONU id in the OLT's address

void PutAddress(char* at, OnuKey onu) {
    at[0] = kLocal;
    at[kAddress - 2] = static_cast<char>(onu.pon_no);
    at[kAddress - 1] = static_cast<char>(onu.onu_id);
}

std::uint16_t TypeAt(std::string_view ethernet, std::size_t at) {
    return ethernet.size() < at + kType ? std::uint16_t{0} : VariantUtil::Load<std::uint16_t>(&ethernet[at]);
}

/// Removes the padding to Ethernet's minimum size and the frame check sequence after an OMCI frame.
std::string_view WithoutPadding(std::string_view omci) {
    constexpr std::size_t kDevice = 3;
    constexpr char kBaseline = 0x0A;
    if (omci.size() <= kDevice || omci[kDevice] != kBaseline) return omci;
    for (const std::size_t size :
         {OmciFrame::kSize, OmciFrame::kSizeWithoutMic, OmciFrame::kSizeWithoutTrailer})
        if (omci.size() >= size) return omci.substr(0, size);
    return omci;
}

} // namespace

EthernetFrame WrapOmci(OnuKey onu, Direction direction, const OmciFrame& frame) {
    EthernetFrame wrapped{};
    const bool is_down = direction == Direction::kDown;
    PutAddress(&wrapped[is_down ? 0 : kAddress], onu);
    PutAddress(&wrapped[is_down ? kAddress : 0], {onu.pon_no, kOlt});
    VariantUtil::Store(&wrapped[2 * kAddress], kOmci);
    std::copy_n(frame.At(1), OmciFrame::kSize, &wrapped[2 * kAddress + kType]);
    return wrapped;
}

std::optional<WrappedOmci> UnwrapOmci(std::string_view ethernet) {
    std::size_t at = 2 * kAddress;
    while (TypeAt(ethernet, at) == kVlan || TypeAt(ethernet, at) == kServiceVlan)
        at += kVlanTag;
    if (TypeAt(ethernet, at) != kOmci) return std::nullopt;
    const std::string_view to = ethernet.substr(0, kAddress);
    const std::string_view from = ethernet.substr(kAddress, kAddress);
    return WrappedOmci{WithoutPadding(ethernet.substr(at + kType)),
                       std::string(std::min(to, from)).append(std::max(to, from))};
}

} // namespace olt_host
