/// The classes of managed entities that this host knows.
#ifndef OLT_HOST_OMCI_ME_CLASS_H
#define OLT_HOST_OMCI_ME_CLASS_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace olt_host {

/// One class. Attribute 1 is bit 0x8000 of a mask.
struct MeClass {
    static constexpr unsigned int kAttributes = 16;

    std::uint16_t number;
    const char* name;
    /// The attributes that a create request carries; 0 for entities that only the ONU creates.
    std::uint16_t set_by_create = 0;
    std::uint16_t writable = 0; ///< what a set request may change
    /// Bytes of each attribute, 0 where there is none; all 0 for a class of which only the name is known.
    std::array<std::uint8_t, kAttributes> widths{};

    /// All attributes of the class.
    std::uint16_t Mask() const;
    /// Bytes of the attributes in a mask.
    std::size_t SizeOf(std::uint16_t mask) const;
    /// Where an attribute starts when all follow each other. `index` counts from 0.
    std::size_t OffsetOf(unsigned int index) const;
};

/// The bit of an attribute in a mask; `index` counts from 0.
constexpr std::uint16_t AttributeBit(unsigned int index) {
    return static_cast<std::uint16_t>(0x8000u >> index);
}

/// The class with a number; null when it is not known.
const MeClass* FindMeClass(std::uint16_t number);

} // namespace olt_host

#endif
