/// The types of a `Variant`.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_TYPE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_TYPE_H

#include <type_traits>

/// What a `Variant` holds. The numbers are written into records and stay as they are; every number above
/// `VARIANT_TYPE_BUFFER` counts as empty.
enum VariantType : unsigned int {
    VARIANT_TYPE_BOOL = 0,    ///< one byte, 0 or 1
    VARIANT_TYPE_CHAR = 1,    ///< one byte, taken as 0..255 wherever it is widened
    VARIANT_TYPE_UCHAR = 2,   ///< unsigned, 8 bits
    VARIANT_TYPE_SHORT = 3,   ///< signed, 16 bits
    VARIANT_TYPE_USHORT = 4,  ///< unsigned, 16 bits
    VARIANT_TYPE_INT = 5,     ///< signed, 32 bits
    VARIANT_TYPE_UINT = 6,    ///< unsigned, 32 bits
    VARIANT_TYPE_INT64 = 7,   ///< signed, 64 bits
    VARIANT_TYPE_UINT64 = 8,  ///< unsigned, 64 bits
    VARIANT_TYPE_STRING = 9,  ///< text with its terminating NUL, in a block of its own
    VARIANT_TYPE_BUFFER = 10, ///< bytes, in a block of their own
    VARIANT_TYPE_NONE = 255,  ///< nothing
};

/// The scalar types by their `VariantType` numbers, from 0 on: the one place that ties a number to a C++
/// type and so to a width.
template <typename... Scalars>
struct VariantScalarTable {
    /// Calls `visit(T())` for the C++ type `T` of a scalar type. @return false when `type` is no scalar.
    template <typename Visitor>
    static constexpr bool Visit(VariantType type, Visitor&& visit) {
        unsigned int number = 0;
        return ((number++ == type ? (visit(Scalars()), true) : false) || ...);
    }

    /// The type of the C++ type `T`; `VARIANT_TYPE_NONE` when it is none of the table.
    template <typename T>
    static constexpr VariantType TypeOf() {
        unsigned int number = 0;
        unsigned int found = VARIANT_TYPE_NONE;
        ((found = std::is_same_v<T, Scalars> ? number : found, ++number), ...);
        return static_cast<VariantType>(found);
    }

    /// The size of a scalar type in bytes; 0 for any other type.
    static constexpr unsigned int WidthOf(VariantType type) {
        unsigned int width = 0;
        Visit(type, [&width](auto scalar) { width = sizeof(scalar); });
        return width;
    }
};

using VariantScalars = VariantScalarTable<bool, char, unsigned char, short, unsigned short, int, unsigned int,
                                          long long, unsigned long long>;

/// `long` stands for the type of its width, so that the fixed-width integers of <cstdint> mean the same on
/// boards of 32 and 64 bits.
template <typename T>
constexpr VariantType VariantTypeOf = VariantScalars::TypeOf<T>();
template <>
inline constexpr VariantType VariantTypeOf<long> = sizeof(long) == sizeof(int) ? VARIANT_TYPE_INT
                                                                               : VARIANT_TYPE_INT64;
template <>
inline constexpr VariantType VariantTypeOf<unsigned long> = sizeof(long) == sizeof(int) ? VARIANT_TYPE_UINT
                                                                                        : VARIANT_TYPE_UINT64;

/// Admits a template argument that is the C++ type of a scalar, as it stands: no enumerations, no pointers,
/// no floating point, and of the small integers `char`, not `std::int8_t`. Cast these to one of the table.
template <typename T>
using RequireVariantScalar = std::enable_if_t<VariantTypeOf<T> != VARIANT_TYPE_NONE, int>;

#endif
