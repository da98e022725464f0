// Variant from text and to text, and the string helpers.

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "fuzz/input.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/variants.h"

namespace {

/// What a number in a text means in 32 bits.
unsigned long long Meaning(const char* text, bool is_signed) {
    constexpr long long kLow = std::numeric_limits<int>::min(), kHigh = std::numeric_limits<int>::max();
    constexpr unsigned long long kMost = std::numeric_limits<unsigned int>::max();
    if (is_signed)
        return static_cast<unsigned long long>(
            std::min(std::max(std::strtoll(text, nullptr, 0), kLow), kHigh));
    const char* const digits = text + std::strspn(text, " \t\n\v\f\r");
    const bool is_negative = *digits == '-';
    const bool has_sign = is_negative || *digits == '+';
    if (has_sign &&
        (digits[1] == '-' || digits[1] == '+' || std::isspace(static_cast<unsigned char>(digits[1]))))
        return 0;
    const unsigned long long number = std::strtoull(digits + has_sign, nullptr, 0);
    if (number > kMost) return kMost;
    return (is_negative ? 0 - number : number) & kMost;
}

void CheckNumber(VariantType type, const std::string& text, const Variant& value) {
    if (type == VARIANT_TYPE_INT || type == VARIANT_TYPE_INT64)
        ASSERT_EQ(value.GetValue(), Meaning(text.c_str(), true)) << text;
    if (type == VARIANT_TYPE_UINT || type == VARIANT_TYPE_UINT64)
        ASSERT_EQ(value.GetValue(), Meaning(text.c_str(), false)) << text;
}

void CheckBlock(VariantType type, const Variant& value) {
    const std::string text = value.ToString();
    Variant again;
    ASSERT_EQ(again.FromString(type, text), ONU_MNG_OK);
    if (type == VARIANT_TYPE_BUFFER || text.compare(0, 1, "0") != 0) ASSERT_EQ(again, value) << text;
}

void CheckSplit(std::string text, const std::string& delim) {
    std::vector<std::string> parts;
    VariantUtil::Split(text, parts, delim);
    std::size_t at = 0;
    for (const std::string& part : parts) {
        ASSERT_FALSE(part.empty());
        if (!delim.empty()) ASSERT_EQ(part.find(delim), std::string::npos);
        at = text.find(part, at);
        ASSERT_NE(at, std::string::npos) << "not in the text, or not in its order";
        at += part.size();
    }
    VariantUtil::Trim(text);
    ASSERT_EQ(text.find_first_not_of(" \t\n\v\f\r"), text.empty() ? std::string::npos : 0);
}

} // namespace

void TryInput(FuzzInput& input) {
    const auto type = static_cast<VariantType>(input.Below(13));
    const auto other = static_cast<VariantType>(input.Below(13));
    const std::string delim = input.Bytes(input.Below(4));
    const std::string text = input.Rest();
    CheckSplit(text, delim);
    Variant value;
    if (value.FromString(type, text) != ONU_MNG_OK || value.IsEmpty()) return;
    EXPECT_EQ(value.GetType(), type);
    CheckNumber(type, text, value);
    if (type >= VARIANT_TYPE_STRING) CheckBlock(type, value);
    CapturedTerminal terminal;
    value.Print(static_cast<vty*>(terminal));
    EXPECT_GE(terminal.Text().size(), type == VARIANT_TYPE_BUFFER ? 4u + 3 * value.GetLen() : 40u);
    const bool is_converted = value.ResetType(other) == ONU_MNG_OK;
    EXPECT_EQ(value.GetType(), is_converted ? other : type);
}
