/// The types of a `Variant`.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_TYPE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_TYPE_H

#include <type_traits>

/// The types of a `Variant`. The numbers are written into records, so they must not change. Every number
/// above `VARIANT_TYPE_BUFFER` means empty.
enum VariantType : unsigned int {
    VARIANT_TYPE_BOOL = 0,    ///< one byte, 0 or 1
    VARIANT_TYPE_CHAR = 1,    ///< one byte; converted to wider types as 0..255
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

/// The C++ types of the scalar types, in the order of their `VariantType` numbers from 0 on. This is the only
/// place that connects a number with a C++ type and its width.
template <typename... Scalars>
struct VariantScalarTable {
    /// Calls `visit(T())` for the C++ type `T` of a scalar type. @return false if `type` is not a scalar
    /// type.
    template <typename Visitor>
    static constexpr bool Visit(VariantType type, Visitor&& visit) {
        unsigned int number = 0;
        return ((number++ == type ? (visit(Scalars()), true) : false) || ...);
    }

    /// Returns the type of the C++ type `T`; `VARIANT_TYPE_NONE` if it is not in the table.
    template <typename T>
    static constexpr VariantType TypeOf() {
        unsigned int number = 0;
        unsigned int found = VARIANT_TYPE_NONE;
        ((found = std::is_same_v<T, Scalars> ? number : found, ++number), ...);
        return static_cast<VariantType>(found);
    }

    /// Returns the size of a scalar type in bytes; 0 for any other type.
    static constexpr unsigned int WidthOf(VariantType type) {
        unsigned int width = 0;
        Visit(type, [&width](auto scalar) { width = sizeof(scalar); });
        return width;
    }
};

/// The types of the scalars, in the order of `VariantType`.
using VariantScalars = VariantScalarTable<bool, char, unsigned char, short, unsigned short, int, unsigned int,
                                          long long, unsigned long long>;

/// `long` has the type of the integer of its width. So the fixed-width integers of <cstdint> have the same
/// types on boards of 32 and of 64 bits.
template <typename T>
constexpr VariantType VariantTypeOf = VariantScalars::TypeOf<T>();
template <>
inline constexpr VariantType VariantTypeOf<long> = sizeof(long) == sizeof(int) ? VARIANT_TYPE_INT
                                                                               : VARIANT_TYPE_INT64;
template <>
inline constexpr VariantType VariantTypeOf<unsigned long> = sizeof(long) == sizeof(int) ? VARIANT_TYPE_UINT
                                                                                        : VARIANT_TYPE_UINT64;

/// Accepts only template arguments that are exactly the C++ type of a scalar type. Enumerations, pointers and
/// floating-point types are not accepted. Of the small integers, `char` is accepted but not `std::int8_t`.
/// Cast such values to a type of the table.
template <typename T>
using RequireVariantScalar = std::enable_if_t<VariantTypeOf<T> != VARIANT_TYPE_NONE, int>;

#endif
