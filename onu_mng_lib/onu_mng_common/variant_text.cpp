/// Variant to and from text.

#include "onu_mng_lib/onu_mng_common/variant.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/text_output.h"
#include "onu_mng_platform/cutil.h"

namespace {

constexpr std::size_t kPrintWidth = 40;
constexpr char kThisFile[] = "onu_mng_lib/onu_mng_common/variant_text.cpp";

/// Two digits of a byte.
void PutHex(char* place, char byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    const unsigned char bits = static_cast<unsigned char>(byte);
    place[0] = kDigits[bits >> 4];
    place[1] = kDigits[bits & 15];
}

// ---- Scalars ----

std::string TextOf(bool flag) {
    return flag ? "True" : "False";
}

template <typename T>
std::string TextOf(T number) {
    if constexpr (sizeof(T) > sizeof(short))
        return std::string("0x").append(Digits(static_cast<std::make_unsigned_t<T>>(number), 16));
    else
        return std::string(Digits(number));
}

std::string TextOf(char byte) {
    return TextOf(static_cast<unsigned char>(byte));
}

/// A number as a conversion of 32 bits reads it: beyond its range it saturates, a minus sign before an
/// unsigned one wraps.
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
            VariantScalars::Visit(type,
                                  [this, &text](auto zero) { text = TextOf(GetScalar<decltype(zero)>()); });
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
