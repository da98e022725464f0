#include "onu_mng_platform/common/cli/json.h"

#include <charconv>
#include <cstdint>
#include <cstdio>

namespace onu_mng_platform {
namespace {

constexpr uint32_t kReplacement = 0xFFFD;

void AppendUnit(std::string* json, uint32_t unit) {
    char text[8];
    std::snprintf(text, sizeof text, "\\u%04x", unit);
    json->append(text);
}

void AppendCharacter(std::string* json, uint32_t character) {
    constexpr uint32_t kFirstOfTwo = 0x10000;
    if (character == '"' || character == '\\') {
        json->push_back('\\');
        json->push_back(static_cast<char>(character));
    } else if (character >= ' ' && character <= '~') {
        json->push_back(static_cast<char>(character));
    } else if (character < kFirstOfTwo) {
        AppendUnit(json, character);
    } else {
        AppendUnit(json, 0xD800 + ((character - kFirstOfTwo) >> 10));
        AppendUnit(json, 0xDC00 + ((character - kFirstOfTwo) & 0x3FF));
    }
}

unsigned SizeOf(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

/// Removes a UTF-8 character, or an invalid byte, from the start of a text.
uint32_t TakeCharacter(std::string_view* text) {
    constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text->front());
    const unsigned size = SizeOf(lead);
    uint32_t character = size < 2 ? lead : lead & (0x7Fu >> size);
    bool is_valid = size > 0 && size <= text->size();
    for (unsigned i = 1; is_valid && i < size; ++i) {
        const auto byte = static_cast<unsigned char>((*text)[i]);
        is_valid = (byte & 0xC0) == 0x80;
        character = character << 6 | (byte & 0x3F);
    }
    const bool is_surrogate = character >= 0xD800 && character <= 0xDFFF;
    is_valid = is_valid && character >= kLeast[size] && character <= 0x10FFFF && !is_surrogate;
    text->remove_prefix(is_valid ? size : 1);
    return is_valid ? character : kReplacement;
}

bool IsDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool IsDecimal(std::string_view text, size_t most_digits) {
    if (!text.empty() && text.front() == '-') text.remove_prefix(1);
    const size_t point = text.find('.');
    const std::string_view whole = text.substr(0, point);
    if (!IsDigits(whole) || whole.size() > most_digits || (whole.size() > 1 && whole.front() == '0'))
        return false;
    return point == std::string_view::npos || IsDigits(text.substr(point + 1));
}

bool AppendHexadecimal(std::string* json, std::string_view text) {
    if (text.substr(0, 2) != "0x") return false;
    uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + 2, end, number, 16);
    if (error != std::errc() || stop != end) return false;
    json->append(std::to_string(number));
    return true;
}

} // namespace

void AppendJsonString(std::string* json, std::string_view text) {
    json->push_back('"');
    while (!text.empty())
        AppendCharacter(json, TakeCharacter(&text));
    json->push_back('"');
}

void AppendJsonCell(std::string* json, std::string_view cell, size_t most_digits) {
    if (cell.empty())
        json->append("null");
    else if (cell == "True" || cell == "False")
        json->append(cell == "True" ? "true" : "false");
    else if (IsDecimal(cell, most_digits))
        json->append(cell);
    else if (!AppendHexadecimal(json, cell))
        AppendJsonString(json, cell);
}

} // namespace onu_mng_platform
