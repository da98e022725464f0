/// Variant to and from text, and the string toolkit.

#include <gtest/gtest.h>

#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"
#include "tests/support/variants.h"

namespace {

class VariantText : public VariantTest {};

TEST_F(VariantText, ToString) {
    const struct {
        Variant variant;
        const char* text;
    } cases[] = {
        {true, "True"},
        {false, "False"},
        {'\xC8', "200"},
        {static_cast<unsigned char>(255), "255"},
        {static_cast<short>(-32768), "-32768"},
        {static_cast<unsigned short>(65535), "65535"},
        {-1, "0xffffffff"},
        {0, "0x0"},
        {0x600000U, "0x600000"},
        {-1LL, "0xffffffffffffffff"},
        {~0ULL, "0xffffffffffffffff"},
        {"text", "text"},
        {"", ""},
        {Buffer(std::string("\x01\x02\xAB\x00", 4)), "0x0102ab00"},
        {Variant(), ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.variant.ToString(), c.text);
    EXPECT_EQ(Variant(std::string(5000, 'x')).ToString(), std::string(5000, 'x'));
}

TEST_F(VariantText, NumbersFromText) {
    const struct {
        VariantType type;
        const char* text;
        unsigned long long value;
    } cases[] = {
        {VARIANT_TYPE_BOOL, "256", 0},
        {VARIANT_TYPE_BOOL, "257", 1},
        {VARIANT_TYPE_BOOL, "-1", 1},
        {VARIANT_TYPE_CHAR, "-1", 255},
        {VARIANT_TYPE_UCHAR, "0x1FF", 255},
        {VARIANT_TYPE_SHORT, "0xFFFE", ~1ULL},
        {VARIANT_TYPE_USHORT, "65537", 1},
        {VARIANT_TYPE_INT, "010", 8},
        {VARIANT_TYPE_INT, "abc", 0},
        {VARIANT_TYPE_INT, "", 0},
        {VARIANT_TYPE_INT, " 12 ports", 12},
        {VARIANT_TYPE_INT, "2147483648", 2147483647},
        {VARIANT_TYPE_INT, "-99999999999", 0xFFFFFFFF80000000},
        {VARIANT_TYPE_INT, "-999999999999999999999999", 0xFFFFFFFF80000000},
        {VARIANT_TYPE_UINT, "4294967295", 4294967295},
        {VARIANT_TYPE_UINT, "4294967296", 4294967295},
        {VARIANT_TYPE_UINT, "-1", 4294967295},
        {VARIANT_TYPE_UINT, "-4294967295", 1},
        {VARIANT_TYPE_UINT, "-4294967296", 4294967295},
        {VARIANT_TYPE_UINT, "999999999999999999999999", 4294967295},
        {VARIANT_TYPE_INT64, "-5", ~4ULL},
        {VARIANT_TYPE_INT64, "4294967296", 2147483647},
        {VARIANT_TYPE_UINT64, "4294967296", 4294967295},
        {VARIANT_TYPE_UINT64, "-1", 4294967295},
    };
    for (const auto& c : cases) {
        Variant variant("old");
        EXPECT_EQ(variant.FromString(c.type, c.text), ONU_MNG_OK);
        EXPECT_EQ(variant.GetType(), c.type);
        EXPECT_EQ(variant.GetValue(), c.value) << c.type << " " << c.text;
    }
}

TEST_F(VariantText, BlocksFromText) {
    LogLines log;
    const struct {
        VariantType type;
        const char* text;
        std::string block;
    } cases[] = {
        {VARIANT_TYPE_STRING, "", std::string(1, '\0')},
        {VARIANT_TYPE_STRING, "0", std::string("0\0", 2)},
        {VARIANT_TYPE_STRING, "name 0x41", std::string("name 0x41\0", 10)},
        {VARIANT_TYPE_STRING, "0x414200", std::string("AB\0", 3)},
        {VARIANT_TYPE_STRING, "0X41004200", std::string("A\0", 2)},
        {VARIANT_TYPE_STRING, "0x", std::string(1, '\0')},
        {VARIANT_TYPE_BUFFER, "0x00ff", std::string("\0\xFF", 2)},
        {VARIANT_TYPE_BUFFER, "4142", "AB"},
    };
    for (const auto& c : cases) {
        Variant variant(5);
        EXPECT_EQ(variant.FromString(c.type, c.text), ONU_MNG_OK);
        EXPECT_EQ(variant.GetType(), c.type);
        EXPECT_EQ(Block(variant), c.block) << c.text;
    }
    Variant kept("kept");
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_BUFFER, "0x12G4"), ONU_MNG_FAILURE);
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_STRING, "0x123"), ONU_MNG_FAILURE);
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_BUFFER, "0x"), ONU_MNG_OK);
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_NONE, "5"), ONU_MNG_OK);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_EQ(kept.FromString(VARIANT_TYPE_BUFFER, ""), ONU_MNG_FAILURE);
    EXPECT_EQ(log.Take(), std::vector<std::string>({"13 MemAlloc for zero length "}));
    EXPECT_EQ(kept, Variant("kept"));
}

TEST_F(VariantText, PrintIsTheSameOnATerminalAndOnStandardOutput) {
    const std::string long_text(3000, 'y');
    const auto padded = [](std::string text) {
        text.resize(40, ' ');
        return text;
    };
    const struct {
        Variant variant;
        std::string text;
    } cases[] = {
        {true, padded("1")},
        {'\xFF', padded("255")},
        {static_cast<unsigned char>(7), padded("7")},
        {static_cast<short>(-3), padded("-3")},
        {static_cast<unsigned short>(65535), padded("65535")},
        {-2147483647 - 1, padded("-2147483648")},
        {4294967295U, padded("-1")},
        {-5LL, padded("-5")},
        {~0ULL, padded("-1")},
        {"text", padded("text")},
        {long_text, long_text},
        {Buffer("\x01\xFF"), "(0x)01 ff "},
        {Variant(), "invalid source variant type: 255,print\r\n"},
    };
    for (const auto& c : cases) {
        CapturedTerminal terminal;
        c.variant.Print(static_cast<vty*>(terminal));
        EXPECT_EQ(terminal.Text(), c.text);
        testing::internal::CaptureStdout();
        c.variant.Print(nullptr);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), c.text);
    }
}

TEST_F(VariantText, FormattedPiecesEndAt1024Characters) {
    std::string text = "old";
    VariantUtil::Assign(text, "%d %s", 5, "x");
    EXPECT_EQ(text, "5 x");
    VariantUtil::Append(text, "%s%s", text.c_str(), text.c_str());
    EXPECT_EQ(text, "5 x5 x5 x");
    const std::string long_text(1025, 'y');
    VariantUtil::Assign(text, "%s", long_text.c_str());
    EXPECT_EQ(text, std::string(1024, 'y'));
    VariantUtil::Append(text, "%s", long_text.c_str());
    EXPECT_EQ(text, std::string(2048, 'y'));
}

TEST_F(VariantText, Trim) {
    const struct {
        std::string text;
        const char* trimmed;
    } cases[] = {
        {"  ab\t\r", "ab"}, {"a b", "a b"}, {" \v\f\n", ""}, {"", ""}, {"\xE4 ", "\xE4"},
    };
    for (auto c : cases)
        EXPECT_EQ(VariantUtil::Trim(c.text), c.trimmed);
}

TEST_F(VariantText, Split) {
    using Pieces = std::vector<std::string>;
    const struct {
        const char* text;
        const char* delim;
        Pieces pieces;
    } cases[] = {
        {"a,,b", ",", {"a", "b"}},
        {",a,", ",", {"a"}},
        {"4, 7 ,", ",", {"4", " 7 "}},
        {"xabyab", "ab", {"x", "y"}},
        {"baxaybab", "ab", {"xayb"}}, // leading characters of the delimiter go in any order
        {",,,", ",", {}},
        {"", ",", {}},
        {"a,b", "", {"a,b"}},
        {"", "", {}},
    };
    for (const auto& c : cases) {
        Pieces pieces = {"kept"};
        VariantUtil::Split(c.text, pieces, c.delim);
        ASSERT_EQ(pieces.front(), "kept");
        pieces.erase(pieces.begin());
        EXPECT_EQ(pieces, c.pieces) << c.text;
    }
}

} // namespace
