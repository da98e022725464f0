/// OMCI frames wrapped in Ethernet frames, the form that protocol analysers decode.
#ifndef OLT_HOST_CAPTURE_ETHERNET_H
#define OLT_HOST_CAPTURE_ETHERNET_H

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "olt_host/omci/frame.h"
#include "olt_host/onu/onu_key.h"

namespace olt_host {

enum class Direction : std::uint8_t { kDown, kUp };

/// Destination, source, type 0x88B5, the OMCI frame.
using EthernetFrame = std::array<char, 14 + OmciFrame::kSize>;

/// Wraps an OMCI frame. ONU 3/7 has the address 02:00:00:00:03:07, the OLT's end of its PON
/// 02:00:00:00:03:00. Both are locally administered addresses. PON and ONU numbers must be at most 255.
EthernetFrame WrapOmci(OnuKey onu, Direction direction, const OmciFrame& frame);

/// The OMCI part of an Ethernet frame.
struct WrappedOmci {
    std::string_view bytes; ///< input for `OmciFrame::Parse`, without the padding of short frames
    std::string addresses;  ///< of both ends, the same for both directions
};
/// Finds the OMCI frame in an Ethernet frame with or without VLAN tags. Throws std::bad_alloc.
/// @return nothing for a frame of another type. `bytes` points into `ethernet`.
std::optional<WrappedOmci> UnwrapOmci(std::string_view ethernet);

} // namespace olt_host

#endif
