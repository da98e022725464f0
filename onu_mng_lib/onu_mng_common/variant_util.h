/// Big-endian integers and a small string toolkit.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_UTIL_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_UTIL_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/variant_type.h"
#include "onu_mng_platform/printf_format.h"

/// Static helpers, each working on its arguments alone: no state, no blocking, any task.
class VariantUtil {
public:
    // Integers in network byte order (most significant byte first) at any address.

    /// Write 2, 4 or 8 bytes at `data`.
    /// @return 0; 0x800001f5 when `data` is null, and nothing is written.
    static unsigned int SetUshort(char* data, unsigned short number) { return Set(data, number); }
    static unsigned int SetShort(char* data, short number) { return Set(data, number); }
    static unsigned int SetUint(char* data, unsigned int number) { return Set(data, number); }
    static unsigned int SetInt(char* data, int number) { return Set(data, number); }
    static unsigned int SetUint64(char* data, unsigned long long number) { return Set(data, number); }
    static unsigned int SetInt64(char* data, long long number) { return Set(data, number); }

    /// Read 2, 4 or 8 bytes at `data`. Null gives 0, or -1 where a `short` or an `int` is asked for.
    static unsigned short GetUshort(const char* data) { return Get<unsigned short>(data, 0); }
    static short GetShort(const char* data) { return Get<short>(data, -1); }
    static unsigned int GetUint(const char* data) { return Get<unsigned int>(data, 0); }
    static int GetInt(const char* data) { return Get<int>(data, -1); }
    static unsigned long long GetUint64(const char* data) { return Get<unsigned long long>(data, 0); }
    static long long GetInt64(const char* data) { return Get<long long>(data, 0); }

    /// Writes the sizeof(T) bytes of a scalar at `data`, which is not null.
    template <typename T>
    static void Store(char* data, T number) {
        StoreBytes(data, static_cast<Bits<T>>(number), std::make_index_sequence<sizeof(T)>());
    }

    /// Reads a scalar from the sizeof(T) bytes at `data`, which is not null. A bool is true unless its byte
    /// is 0.
    template <typename T>
    static T Load(const char* data) {
        return static_cast<T>(LoadBytes<Bits<T>>(data, std::make_index_sequence<sizeof(T)>()));
    }

    /// Reverses in place the bytes of a 16, 32 or 64-bit integer at `data`. Any other type and null:
    /// nothing.
    static void ReverseByteOrder(VariantType type, char* data);

    // Text. Where memory is short the strings and the list stay as they were.

    /// Replace `text` with, or extend it by, a text formatted like printf; at most 1024 characters of it
    /// count. The arguments may point into `text`.
    static void Assign(std::string& text, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);
    static void Append(std::string& text, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);

    /// Removes white space from both ends of `text`. @return `text`.
    static std::string& Trim(std::string& text);

    /// Appends to `out` the pieces of `text` between occurrences of the whole `delim`, empty ones left out.
    /// Characters of `delim` at the very start are skipped in whatever order they stand. An empty `delim`
    /// gives the whole text as one piece.
    static void Split(const std::string& text, std::vector<std::string>& out, const std::string& delim);

private:
    template <typename T>
    using Bits = std::conditional_t<sizeof(T) <= sizeof(std::uint32_t), std::uint32_t, std::uint64_t>;

    template <typename T>
    static unsigned int Set(char* data, T number) {
        if (data == nullptr) return ONU_MNG_FAILURE;
        Store(data, number);
        return ONU_MNG_OK;
    }

    template <typename T>
    static T Get(const char* data, T without_data) {
        return data == nullptr ? without_data : Load<T>(data);
    }

    // One expression over all bytes: the shape that compilers turn into a single move and byte swap.
    template <typename B, std::size_t... I>
    static void StoreBytes(char* data, B bits, std::index_sequence<I...>) {
        ((data[I] = static_cast<char>(bits >> 8 * (sizeof...(I) - 1 - I))), ...);
    }

    template <typename B, std::size_t... I>
    static B LoadBytes(const char* data, std::index_sequence<I...>) {
        return ((static_cast<B>(static_cast<unsigned char>(data[I])) << 8 * (sizeof...(I) - 1 - I)) | ...);
    }
};

#endif
