/// The managed entity classes that this host knows.
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
    /// Mask of the attributes in a create request; 0 if only the ONU creates such entities.
    std::uint16_t set_by_create = 0;
    std::uint16_t writable = 0; ///< mask of the attributes that a set request may change
    /// Size of each attribute in bytes, 0 if the class does not have it. All 0 if only the name is known.
    std::array<std::uint8_t, kAttributes> widths{};

    /// Returns the mask of all attributes.
    std::uint16_t Mask() const;
    /// Returns the total size in bytes of the attributes in a mask.
    std::size_t SizeOf(std::uint16_t mask) const;
    /// The offset of an attribute in bytes when all attributes are stored in order. `index` counts from 0.
    std::size_t OffsetOf(unsigned int index) const;
};

/// The bit of an attribute in a mask. `index` counts from 0.
constexpr std::uint16_t AttributeBit(unsigned int index) {
    return static_cast<std::uint16_t>(0x8000u >> index);
}

/// Returns the class with a number; null if it is not known.
const MeClass* FindMeClass(std::uint16_t number);

} // namespace olt_host

#endif
