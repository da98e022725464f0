/// Variant to and from text, and the string toolkit.

#include <gtest/gtest.h>

#include "tests/support/captured_terminal.h"
#include "tests/support/variants.h"

namespace {

class VariantText : public VariantTest {};

TEST_F(VariantText, ToStringAndPrintOnATerminalAndOnStandardOutput) {
    const std::string long_text(3000, 'y');
    const struct {
        Variant variant;
        std::string text, printed;
    } cases[] = {{true, "True", "1"},
                 {'\xC8', "200", "200"},
                 {static_cast<short>(-32768), "-32768", "-32768"},
                 {static_cast<unsigned short>(65535), "65535", "65535"},
                 {-1, "0xffffffff", "-1"},
                 {0, "0x0", "0"},
                 {4294967295U, "0xffffffff", "-1"},
                 {-5LL, "0xfffffffffffffffb", "-5"},
                 {~0ULL, "0xffffffffffffffff", "-1"},
                 {"text", "text", "text"},
                 {long_text, long_text, long_text},
                 {Buffer({"\x01\xAB\x00", 3}), "0x01ab00", "(0x)01 ab 00 "},
                 {Variant(), "", "invalid source variant type: 255,print\r\n"}};
    for (const auto& c : cases) {
        EXPECT_EQ(c.variant.ToString(), c.text);
        const bool is_padded = c.variant.GetType() <= VARIANT_TYPE_STRING && c.printed.size() < 40;
        const std::string printed = c.printed + std::string(is_padded ? 40 - c.printed.size() : 0, ' ');
        CapturedTerminal terminal;
        c.variant.Print(static_cast<vty*>(terminal));
        EXPECT_EQ(terminal.Text(), printed);
        testing::internal::CaptureStdout();
        c.variant.Print(nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), printed);
    }
}

TEST_F(VariantText, NumbersFromTextAreReadIn32Bits) {
    const struct {
        VariantType type;
        const char* text;
        unsigned long long value;
    } cases[] = {{VARIANT_TYPE_BOOL, "256", 0},
                 {VARIANT_TYPE_BOOL, "257", 1},
                 {VARIANT_TYPE_CHAR, "-1", 255},
                 {VARIANT_TYPE_UCHAR, "0x1FF", 255},
                 {VARIANT_TYPE_SHORT, "0xFFFE", ~1ULL},
                 {VARIANT_TYPE_INT, "010", 8},
                 {VARIANT_TYPE_INT, "abc", 0},
                 {VARIANT_TYPE_INT, " 12 ports", 12},
                 {VARIANT_TYPE_INT, "2147483648", 2147483647},
                 {VARIANT_TYPE_INT, "-999999999999999999999999", 0xFFFFFFFF80000000},
                 {VARIANT_TYPE_UINT, "-1", 4294967295},
                 {VARIANT_TYPE_UINT, "-4294967295", 1},
                 {VARIANT_TYPE_UINT, "-4294967296", 4294967295},
                 {VARIANT_TYPE_INT64, "-5", ~4ULL},
                 {VARIANT_TYPE_UINT64, "4294967296", 4294967295}};
    for (const auto& c : cases) {
        Variant variant("old");
        EXPECT_EQ(variant.FromString(c.type, c.text), ONU_MNG_OK);
        EXPECT_EQ(variant.GetType(), c.type);
        EXPECT_EQ(variant.GetValue(), c.value) << c.type << " " << c.text;
    }
}

TEST_F(VariantText, BlocksFromText) {
    const struct {
        VariantType type;
        const char* text;
        std::string block;
    } cases[] = {
        {VARIANT_TYPE_STRING, "", {"\0", 1}},           {VARIANT_TYPE_STRING, "0", {"0\0", 2}},
        {VARIANT_TYPE_STRING, "0x414200", {"AB\0", 3}}, {VARIANT_TYPE_STRING, "0X41004200", {"A\0", 2}},
        {VARIANT_TYPE_STRING, "0x", {"\0", 1}},         {VARIANT_TYPE_BUFFER, "0x00ff", {"\0\xFF", 2}}};
    for (const auto& c : cases) {
        Variant variant(5);
        EXPECT_EQ(variant.FromString(c.type, c.text), ONU_MNG_OK);
        EXPECT_EQ(variant.GetType(), c.type);
        EXPECT_EQ(Block(variant), c.block) << c.text;
    }
    Variant kept("kept");
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_BUFFER, "0x12G4"), ONU_MNG_FAILURE);
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_STRING, "0x123"), ONU_MNG_FAILURE);
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_BUFFER, ""), ONU_MNG_FAILURE);
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_BUFFER, "0x"), ONU_MNG_OK);
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_NONE, "5"), ONU_MNG_OK);
    EXPECT_EQ(log.Take(), Lines({"13 MemAlloc for zero length "}));
    EXPECT_EQ(kept, Variant("kept"));
}

TEST_F(VariantText, FormattedPiecesEndAt1024Characters) {
    std::string text = "old";
    VariantUtil::Assign(text, "%d %s", 5, "x");
    VariantUtil::Append(text, "%s%s", text.c_str(), text.c_str());
    EXPECT_EQ(text, "5 x5 x5 x");
    VariantUtil::Assign(text, "%s", std::string(1025, 'y').c_str());
    EXPECT_EQ(text, std::string(1024, 'y'));
    VariantUtil::Assign(text, "a%cb", 0);
    EXPECT_EQ(text, "a");
}

TEST_F(VariantText, TrimAndSplit) {
    for (std::string text : {"  a b\t\r", "\va b\f\n", "a b"})
        EXPECT_EQ(VariantUtil::Trim(text), "a b");
    std::string blank = " \n";
    EXPECT_EQ(VariantUtil::Trim(blank), "");

    using Pieces = std::vector<std::string>;
    const struct {
        const char *text, *delim;
        Pieces pieces;
    } cases[] = {{"a,,b", ",", {"kept", "a", "b"}},
                 {",4, 7 ,", ",", {"kept", "4", " 7 "}},
                 {"xabyab", "ab", {"kept", "x", "y"}},
                 {"baxaybab", "ab", {"kept", "xayb"}}, // leading characters of the delimiter go in any order
                 {",,,", ",", {"kept"}},
                 {"a,b", "", {"kept", "a,b"}}};
    for (const auto& c : cases) {
        Pieces pieces = {"kept"};
        VariantUtil::Split(c.text, pieces, c.delim);
        EXPECT_EQ(pieces, c.pieces) << c.text;
    }
    Pieces own = {"a piece of its own text,b"};
    VariantUtil::Split(own[0], own, ",");
    EXPECT_EQ(own, Pieces({"a piece of its own text,b", "a piece of its own text", "b"}));
}

} // namespace
