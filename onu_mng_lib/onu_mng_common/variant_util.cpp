#include "onu_mng_lib/onu_mng_common/variant_util.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <new>

namespace {

constexpr std::size_t kLongestPiece = 1024;

/// A formatted piece of text, truncated if it is too long.
class FormattedPiece {
public:
    FormattedPiece(const char* format, std::va_list arguments) {
        const int wanted = std::vsnprintf(text, sizeof(text), format, arguments);
        length = wanted < 0 ? 0 : std::strlen(text); // a "%c" of 0 ends the text
    }
    void Assign(std::string& target) const {
        try {
            target.assign(text, length);
        } catch (const std::bad_alloc&) {
        }
    }
    void Append(std::string& target) const {
        try {
            target.append(text, length);
        } catch (const std::bad_alloc&) {
        }
    }

private:
    char text[kLongestPiece + 1];
    std::size_t length;
};

bool IsSpace(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

} // namespace

void VariantUtil::ReverseByteOrder(VariantType type, char* data) {
    if (data != nullptr) std::reverse(data, data + VariantScalars::WidthOf(type));
}

void VariantUtil::Assign(std::string& text, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const FormattedPiece piece(format, arguments);
    va_end(arguments);
    piece.Assign(text);
}

void VariantUtil::Append(std::string& text, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const FormattedPiece piece(format, arguments);
    va_end(arguments);
    piece.Append(text);
}

std::string& VariantUtil::Trim(std::string& text) {
    text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), IsSpace));
    text.erase(std::find_if_not(text.rbegin(), text.rend(), IsSpace).base(), text.end());
    return text;
}

void VariantUtil::Split(const std::string& text, std::vector<std::string>& out, const std::string& delim) {
    std::vector<std::string> tokens;
    try {
        std::size_t start = text.find_first_not_of(delim);
        while (start < text.size()) {
            const std::size_t found = delim.empty() ? text.npos : text.find(delim, start);
            const std::size_t end = std::min(found, text.size());
            if (end > start) tokens.emplace_back(text, start, end - start);
            start = end + delim.size();
        }
        out.reserve(out.size() + tokens.size());
    } catch (const std::bad_alloc&) {
        return;
    }
    std::move(tokens.begin(), tokens.end(), std::back_inserter(out));
}
