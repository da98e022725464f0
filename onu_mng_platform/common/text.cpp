#include "onu_mng_platform/common/text.h"

#include <cstring>
#include <limits>

#include "onu_mng_platform/cutil.h"

namespace onu_mng_platform {

void* MemCopy(void* dst, const void* src, size_t size) {
    if (dst == nullptr || src == nullptr) return dst;
    return std::memcpy(dst, src, size);
}

void* MemSet(void* dst, int value, size_t size) {
    if (dst == nullptr) return dst;
    return std::memset(dst, value, size);
}

size_t TextLength(const char* text) {
    return text == nullptr ? 0 : std::strlen(text);
}

int TextCompare(const char* a, const char* b, size_t size) {
    if (a == nullptr || b == nullptr) return (a != nullptr) - (b != nullptr);
    return std::strncmp(a, b, size);
}

int LocalDateTime(time_t seconds, unsigned short* year, unsigned char* month, unsigned char* day,
                  unsigned char* hour, unsigned char* minute, unsigned char* second) {
    if (!year || !month || !day || !hour || !minute || !second) return -1;
    std::tm local{};
    if (localtime_r(&seconds, &local) == nullptr) return -1;
    if (local.tm_year < -1900 || local.tm_year > std::numeric_limits<unsigned short>::max() - 1900) return -1;
    *year = static_cast<unsigned short>(local.tm_year + 1900);
    *month = static_cast<unsigned char>(local.tm_mon + 1);
    *day = static_cast<unsigned char>(local.tm_mday);
    *hour = static_cast<unsigned char>(local.tm_hour);
    *minute = static_cast<unsigned char>(local.tm_min);
    *second = static_cast<unsigned char>(local.tm_sec);
    return 0;
}

} // namespace onu_mng_platform

namespace {

/// Returns the value of a hexadecimal digit; -1 for any other character.
int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool HasHexPrefix(const char* text) {
    return text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
}

} // namespace

int CUtil::ConvertHexChar(char c, char* nibble) {
    const int value = DigitValue(c);
    if (nibble == nullptr || value < 0) return -1;
    *nibble = static_cast<char>(value);
    return 0;
}

int CUtil::CovertHexStringToBytes(const char* text, char* bytes, unsigned int* size) {
    if (text == nullptr || bytes == nullptr || size == nullptr) return -1;
    if (HasHexPrefix(text)) text += 2;
    const size_t digits = std::strlen(text);
    if (digits % 2 != 0 || digits / 2 > *size) return -1;
    // All digits are checked before the first byte is stored, so a bad digit leaves the output unchanged.
    for (size_t i = 0; i < digits; ++i) {
        if (DigitValue(text[i]) < 0) return -1;
    }
    const auto digit = [text](size_t at) { return static_cast<unsigned int>(DigitValue(text[at])); };
    for (size_t i = 0; i < digits / 2; ++i)
        bytes[i] = static_cast<char>(digit(2 * i) << 4 | digit(2 * i + 1));
    *size = static_cast<unsigned int>(digits / 2);
    return 0;
}
