/// Variant to and from text.

#include "onu_mng_lib/onu_mng_common/variant.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/text_output.h"
#include "onu_mng_platform/cutil.h"

namespace {

constexpr std::size_t kPrintWidth = 40;
constexpr char kThisFile[] = "onu_mng_lib/onu_mng_common/variant_text.cpp";

/// Writes the two digits of a byte.
void PutHex(char* place, char byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    const unsigned char bits = static_cast<unsigned char>(byte);
    place[0] = kDigits[bits >> 4];
    place[1] = kDigits[bits & 15];
}

// ---- Scalars ----

// Each overload writes the text of a scalar to `place` and returns the length.

std::size_t ToChars(char* place, bool flag) {
    constexpr std::string_view kTexts[] = {"False", "True"};
    return kTexts[flag].copy(place, kTexts[flag].size());
}

/// Writes the eight hexadecimal digits of a number, the most significant first. Computes all digits in
/// parallel.
void PutEightHexDigits(char* place, std::uint32_t number) {
    std::uint64_t bytes = number; // a byte for each digit
    bytes = (bytes << 16 | bytes) & 0x0000FFFF0000FFFF;
    bytes = (bytes << 8 | bytes) & 0x00FF00FF00FF00FF;
    bytes = (bytes << 4 | bytes) & 0x0F0F0F0F0F0F0F0F;
    const std::uint64_t is_letter = (bytes + 0x0606060606060606) >> 4 & 0x0101010101010101;
    VariantUtil::Store(place, bytes + 0x3030303030303030 + is_letter * ('a' - '9' - 1));
}

unsigned int HexDigitsOf(unsigned long long number) {
    return (67u - static_cast<unsigned int>(__builtin_clzll(number | 1))) / 4;
}

template <typename T>
std::size_t ToChars(char* place, T number) {
    if constexpr (sizeof(T) <= sizeof(short)) {
        return static_cast<std::size_t>(std::to_chars(place, place + Variant::kScalarTextSize, number).ptr -
                                        place);
    } else {
        constexpr unsigned int kMostDigits = 2 * sizeof(T);
        auto bits = static_cast<std::make_unsigned_t<T>>(number);
        const unsigned int digits = HexDigitsOf(bits);
        bits <<= 4 * (kMostDigits - digits);
        place[0] = '0';
        place[1] = 'x';
        if constexpr (sizeof(T) == sizeof(std::uint64_t)) {
            PutEightHexDigits(place + 10, static_cast<std::uint32_t>(bits));
            bits >>= 32;
        }
        PutEightHexDigits(place + 2, static_cast<std::uint32_t>(bits));
        return 2 + digits;
    }
}

std::size_t ToChars(char* place, char byte) {
    return ToChars(place, static_cast<unsigned char>(byte));
}

/// A number with the result of a 32-bit conversion: it saturates beyond the range, and a minus sign before an
/// unsigned number wraps.
struct ParsedNumber {
    explicit ParsedNumber(const std::string& text) {
        constexpr long long largest = std::numeric_limits<std::uint32_t>::max();
        const long long number = std::strtoll(text.c_str(), nullptr, 0);
        as_signed = static_cast<std::int32_t>(std::clamp<long long>(
            number, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
        const bool fits = number <= largest && number >= -largest;
        as_unsigned = static_cast<std::uint32_t>(fits ? number : largest);
    }

    std::int32_t as_signed;
    std::uint32_t as_unsigned;
};

template <typename T>
T Cut(const ParsedNumber& number) {
    if constexpr (std::is_same_v<T, bool>)
        return (number.as_unsigned & 0xFF) != 0;
    else if constexpr (std::is_signed_v<T> || std::is_same_v<T, char>)
        return static_cast<T>(number.as_signed);
    else
        return static_cast<T>(number.as_unsigned);
}

bool IsHexText(const std::string& text) {
    return text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

} // namespace

std::size_t Variant::ScalarToChars(char* place) const {
    std::size_t size = 0;
    VariantScalars::Visit(
        type, [this, place, &size](auto zero) { size = ToChars(place, GetScalar<decltype(zero)>()); });
    return size;
}

std::string Variant::ToString() const {
    std::string text;
    try {
        if (type == VARIANT_TYPE_STRING) {
            text = value.buff;
        } else if (type == VARIANT_TYPE_BUFFER) {
            text.resize(2 + 2 * static_cast<std::size_t>(len));
            text[0] = '0';
            text[1] = 'x';
            for (std::size_t i = 0; i < len; ++i)
                PutHex(&text[2 + 2 * i], value.buff[i]);
        } else {
            char place[kScalarTextSize];
            text.assign(place, ScalarToChars(place));
        }
    } catch (const std::bad_alloc&) {
    }
    return text;
}

unsigned int Variant::FromString(VariantType new_type, std::string text) {
    if (new_type == VARIANT_TYPE_BUFFER) return SetHex(new_type, text);
    if (new_type == VARIANT_TYPE_STRING) {
        if (IsHexText(text)) return SetHex(new_type, text);
        Copy(text);
        return ONU_MNG_OK;
    }
    const ParsedNumber number(text);
    VariantScalars::Visit(new_type, [this, &number](auto zero) { Copy(Cut<decltype(zero)>(number)); });
    return ONU_MNG_OK;
}

unsigned int Variant::SetHex(VariantType new_type, const std::string& text) {
    MemoryAllocator& pool = *MemoryAllocator::GetInstance();
    unsigned int size = static_cast<unsigned int>(
        std::min<std::size_t>(text.size(), std::numeric_limits<unsigned int>::max()));
    const auto give_back = [&pool, room = size](void* block) {
        pool.MemFree(block, room, kThisFile, "FromString", __LINE__);
    };
    void* const block = pool.MemAlloc(size, kThisFile, "FromString", __LINE__);
    const std::unique_ptr<char, decltype(give_back)> bytes(static_cast<char*>(block), give_back);
    if (bytes == nullptr || CUtil::CovertHexStringToBytes(text.c_str(), bytes.get(), &size) != 0)
        return ONU_MNG_FAILURE;
    if (new_type == VARIANT_TYPE_BUFFER) return Assign(bytes.get(), size);
    const char* const end = std::find(bytes.get(), bytes.get() + size, '\0');
    SetText(bytes.get(), static_cast<unsigned int>(end - bytes.get()));
    return ONU_MNG_OK;
}

void Variant::Print(void* out) const {
    TextOutput output(out);
    if (type == VARIANT_TYPE_STRING) return output.PutPadded(value.buff, kPrintWidth);
    if (type == VARIANT_TYPE_BUFFER) {
        output.Put("(0x)");
        char text[] = "00 ";
        for (const char* byte = value.buff; byte != value.buff + len; ++byte) {
            PutHex(text, *byte);
            output.Put(text);
        }
        return;
    }
    if (IsScalar()) {
        const long long number = static_cast<long long>(GetValue());
        return output.PutPadded(Digits(type == VARIANT_TYPE_UINT ? static_cast<int>(number) : number),
                                kPrintWidth);
    }
    output.Put("invalid source variant type: ");
    output.Put(Digits(static_cast<int>(type)));
    output.Put(",print\r\n");
}
