/// Big-endian integers, and functions on text.
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

/// Static functions that use nothing but their arguments. No state, no blocking, any task.
class VariantUtil {
public:
    // Integers in network byte order (most significant byte first) at any address.

    /// Write 2, 4 or 8 bytes at `data`.
    /// @return 0; 0x800001f5 if `data` is null: then nothing is written.
    static unsigned int SetUshort(char* data, unsigned short number) { return Set(data, number); }
    static unsigned int SetShort(char* data, short number) { return Set(data, number); }
    static unsigned int SetUint(char* data, unsigned int number) { return Set(data, number); }
    static unsigned int SetInt(char* data, int number) { return Set(data, number); }
    static unsigned int SetUint64(char* data, unsigned long long number) { return Set(data, number); }
    static unsigned int SetInt64(char* data, long long number) { return Set(data, number); }

    /// Read 2, 4 or 8 bytes at `data`. For null they return 0; `GetShort` and `GetInt` return -1.
    static unsigned short GetUshort(const char* data) { return Get<unsigned short>(data, 0); }
    static short GetShort(const char* data) { return Get<short>(data, -1); }
    static unsigned int GetUint(const char* data) { return Get<unsigned int>(data, 0); }
    static int GetInt(const char* data) { return Get<int>(data, -1); }
    static unsigned long long GetUint64(const char* data) { return Get<unsigned long long>(data, 0); }
    static long long GetInt64(const char* data) { return Get<long long>(data, 0); }

    /// Writes the sizeof(T) bytes of a scalar at `data`, which must not be null.
    template <typename T>
    static void Store(char* data, T number) {
        StoreBytes(data, static_cast<Bits<T>>(number), std::make_index_sequence<sizeof(T)>());
    }

    /// Reads a scalar from the sizeof(T) bytes at `data`, which must not be null. A bool is true unless its
    /// byte is 0.
    template <typename T>
    static T Load(const char* data) {
        return static_cast<T>(LoadBytes<Bits<T>>(data, std::make_index_sequence<sizeof(T)>()));
    }

    /// Reverses the bytes of a 16, 32 or 64-bit integer at `data`. Does nothing for any other type and for
    /// null.
    static void ReverseByteOrder(VariantType type, char* data);

    // Text. If memory is short, the strings and the list stay as they were.

    /// Replace or extend `text` with a text that is formatted like printf and cut to 1024 characters. The
    /// arguments may point into `text`.
    static void Assign(std::string& text, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);
    static void Append(std::string& text, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);

    /// Removes white space from both ends of `text`. @return `text`.
    static std::string& Trim(std::string& text);

    /// Appends the parts of `text` between occurrences of `delim` to `out`, without empty parts. At the start
    /// of `text`, all characters that occur in `delim` are skipped. If `delim` is empty, the whole text is
    /// one part.
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

    // One expression over all bytes: compilers turn it into a single move and a byte swap.
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
