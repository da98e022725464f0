/// Variant as a value: taking, converting and comparing.

#include <cstdint>
#include <gtest/gtest.h>
#include <utility>

#include "tests/support/variants.h"

namespace {

class VariantValue : public VariantTest {};

/// Every way of taking the scalar `x` gives the same, whatever was held before.
template <typename T>
void ExpectForm(T x, VariantType type, unsigned int len, unsigned long long value) {
    Variant copied("text"), called(7), assigned;
    copied.Copy(x);
    called(x);
    assigned = x;
    for (const Variant& variant : {Variant(x), copied, called, assigned}) {
        EXPECT_EQ(variant.GetType(), type);
        EXPECT_EQ(variant.GetLen(), len);
        EXPECT_EQ(variant.GetValue(), value);
    }
}

TEST_F(VariantValue, ScalarsTakeTheTypeOfTheirArgument) {
    ExpectForm(true, VARIANT_TYPE_BOOL, 1, 1);
    ExpectForm('\xC8', VARIANT_TYPE_CHAR, 1, 200);
    ExpectForm(static_cast<unsigned char>(200), VARIANT_TYPE_UCHAR, 1, 200);
    ExpectForm(static_cast<short>(-2), VARIANT_TYPE_SHORT, 2, ~1ULL);
    ExpectForm(static_cast<unsigned short>(65535), VARIANT_TYPE_USHORT, 2, 65535);
    ExpectForm(-2, VARIANT_TYPE_INT, 4, ~1ULL);
    ExpectForm(4294967295U, VARIANT_TYPE_UINT, 4, 4294967295U);
    ExpectForm(~0ULL, VARIANT_TYPE_UINT64, 8, ~0ULL);
    // Whatever these are made of on a board.
    ExpectForm(std::int32_t{-2}, VARIANT_TYPE_INT, 4, ~1ULL);
    ExpectForm(std::int64_t{-2}, VARIANT_TYPE_INT64, 8, ~1ULL);
}

TEST_F(VariantValue, TextsAndBuffersAreCopiedAndStartAtTheFront) {
    const char* const no_text = nullptr;
    Variant buffer("xb", 2);
    buffer = no_text;
    buffer(no_text, 5);
    buffer.Copy("xy", 0);
    EXPECT_EQ(Block(buffer), "xb");
    EXPECT_TRUE(Variant(no_text).IsEmpty());
    EXPECT_EQ(Block(Variant(std::string("abc\0def", 7))), std::string("abc\0", 4));
    EXPECT_EQ(log.Take(), Lines());

    for (unsigned int room : {2U, 10U}) { // of a STRING only the text is taken over
        Variant source(VARIANT_TYPE_STRING, room);
        ASSERT_EQ(source.Append("ab", 2), ONU_MNG_OK);
        const Variant copy(source);
        const char* const block = source.GetBuff();
        Variant moved(std::move(source)), assigned("old");
        EXPECT_EQ(Block(moved), Block(copy));
        assigned = std::move(moved);
        EXPECT_EQ(Block(assigned), std::string("ab\0", 3));
        EXPECT_EQ(assigned.GetBuff(), block);
        EXPECT_EQ(copy.GetPos() + assigned.GetPos(), 0U);
    }
    ASSERT_EQ(buffer.Append('y'), ONU_MNG_OK);
    buffer = Variant(7);
    EXPECT_EQ(buffer.GetPos(), 0U);
}

TEST_F(VariantValue, AnEmptySourceIsRefusedAndTheTargetKept) {
    const Variant empty;
    Variant seven(7);
    seven = empty;
    seven = Variant();
    EXPECT_EQ(log.Take(), Lines(2, "13 invalid source variant when copy , type 255, buff (nil), len 0"));
    EXPECT_EQ(seven, Variant(7));
}

TEST_F(VariantValue, ItsOwnBlockIsAValidSource) {
    Variant variant("0123456789");
    const Variant& alias = variant;
    variant = alias;
    variant.Copy(alias);
    variant = variant.GetBuff() + 4;
    EXPECT_EQ(Block(variant), std::string("456789\0", 7));
    variant.Copy(variant.GetBuff() + 1, 3);
    EXPECT_EQ(Block(variant), "567");
}

TEST_F(VariantValue, AFullPoolStillServesAReplacement) {
    Variant variant("text of 15 char");
    std::vector<Variant> hoard;
    for (unsigned int size = MemoryAllocator::kPoolSize; size > 0; size /= 2)
        while (hoard.emplace_back().Realloc(VARIANT_TYPE_BUFFER, size) == ONU_MNG_OK) {
        }
    EXPECT_TRUE(Variant("no block").IsEmpty());
    variant = "another 15 char";
    EXPECT_EQ(variant.ToString(), "another 15 char");
}

TEST_F(VariantValue, ReallocMakesAZeroValueAndClearKeepsTheBlock) {
    Variant variant("old");
    EXPECT_EQ(variant(VARIANT_TYPE_USHORT, 77), ONU_MNG_OK);
    EXPECT_EQ(variant.GetLen(), 2U);
    EXPECT_EQ(variant, Variant(0));
    EXPECT_EQ(variant.Realloc(VARIANT_TYPE_STRING, 0), ONU_MNG_OK);
    EXPECT_EQ(Block(variant), std::string(1, '\0'));
    EXPECT_EQ(variant.Realloc(VARIANT_TYPE_BUFFER, 3), ONU_MNG_OK);
    EXPECT_EQ(variant.Append("abc", 3), ONU_MNG_OK);
    variant.Clear();
    EXPECT_EQ(Block(variant), std::string(3, '\0'));
    EXPECT_EQ(variant.GetPos(), 0U);
    EXPECT_EQ(log.Take(), Lines());

    for (const auto& [type, size] :
         {std::pair(VARIANT_TYPE_BUFFER, 0U), {VARIANT_TYPE_STRING, 0xFFFFFFFFU}}) {
        EXPECT_EQ(variant.Realloc(type, size), ONU_MNG_FAILURE);
        EXPECT_TRUE(variant.IsEmpty());
    }
    EXPECT_EQ(variant.Realloc(static_cast<VariantType>(11), 4), ONU_MNG_FAILURE);
    EXPECT_EQ(log.Take(), Lines({"13 MemAlloc for zero length ", "13 AllocBuffer failed. type 10, len 0 ",
                                 "13 AllocBuffer in Realloc failed. type 10, len 0 ",
                                 "13 AllocBuffer failed. type 9, len 0 ",
                                 "13 AllocBuffer in Realloc failed. type 9, len -1 ",
                                 "13 invalid source variant type: 11, Realloc"}));
}

TEST_F(VariantValue, AssignReadsNetworkOrder) {
    Variant variant("kept");
    EXPECT_EQ(variant.Assign(VARIANT_TYPE_INT, nullptr, 4), ONU_MNG_FAILURE);
    EXPECT_EQ(variant.Assign(VARIANT_TYPE_NONE, "1234", 4), ONU_MNG_OK);
    EXPECT_EQ(variant.Assign(VARIANT_TYPE_BUFFER, "1234", 0), ONU_MNG_OK);
    EXPECT_EQ(variant, Variant("kept"));
    EXPECT_EQ(variant.Assign(VARIANT_TYPE_UCHAR, "\xFF", 1), ONU_MNG_OK);
    EXPECT_EQ(variant.GetType(), VARIANT_TYPE_UCHAR);
    EXPECT_EQ(variant.Assign(VARIANT_TYPE_SHORT, "\xFF\x12", 0), ONU_MNG_OK);
    EXPECT_EQ(variant.ToString(), "-238");
    EXPECT_EQ(variant.Assign(VARIANT_TYPE_STRING, "abcd", 3), ONU_MNG_OK);
    EXPECT_EQ(Block(variant), std::string("abc\0", 4));
}

TEST_F(VariantValue, ScalarsConvertByCuttingToSize) {
    const struct {
        Variant from;
        VariantType to;
        const char* text;
    } cases[] = {{300, VARIANT_TYPE_UCHAR, "44"},
                 {-1, VARIANT_TYPE_CHAR, "255"},
                 {0x18000, VARIANT_TYPE_SHORT, "-32768"},
                 {0x123456789LL, VARIANT_TYPE_UINT, "0x23456789"},
                 {'\xFF', VARIANT_TYPE_INT, "0xff"},
                 {static_cast<short>(-1), VARIANT_TYPE_UINT64, "0xffffffffffffffff"},
                 {0x100000000LL, VARIANT_TYPE_BOOL, "True"}};
    for (const auto& c : cases) {
        Variant variant(c.from);
        EXPECT_EQ(variant.ResetType(c.to), ONU_MNG_OK);
        EXPECT_EQ(variant.ToString(), c.text);
    }
}

TEST_F(VariantValue, BlocksConvertIntoEachOtherAndNothingElse) {
    const struct {
        Variant from;
        VariantType to;
        std::string block;
    } cases[] = {{"AB", VARIANT_TYPE_BUFFER, {"AB\0", 3}},
                 {Buffer({"A\0B\0", 4}), VARIANT_TYPE_STRING, {"A\0B\0", 4}},
                 {Buffer({"A\0B", 3}), VARIANT_TYPE_STRING, {"A\0", 2}},
                 {Buffer("AB"), VARIANT_TYPE_STRING, {"AB\0", 3}}};
    for (const auto& c : cases) {
        Variant variant(c.from);
        EXPECT_EQ(variant.ResetType(c.to), ONU_MNG_OK);
        EXPECT_EQ(variant.GetType(), c.to);
        EXPECT_EQ(Block(variant), c.block);
    }
    Variant text("AB"), number(5), empty;
    EXPECT_EQ(text.ResetType(VARIANT_TYPE_INT), ONU_MNG_FAILURE);
    EXPECT_EQ(number.ResetType(VARIANT_TYPE_NONE), ONU_MNG_FAILURE);
    EXPECT_EQ(empty.ResetType(VARIANT_TYPE_INT), ONU_MNG_FAILURE);
    EXPECT_EQ(empty.ResetType(VARIANT_TYPE_NONE), ONU_MNG_OK);
    EXPECT_EQ(text.GetValue(), 0U);
    EXPECT_EQ(log.Take(), Lines({"13 current type 9 is conflict with type 5 ",
                                 "13 current type 5 is conflict with type 255 ",
                                 "13 current type 255 is conflict with type 5 ",
                                 "13 invalid source variant type: 9, GetValue"}));
    EXPECT_EQ(text, Variant("AB"));
    EXPECT_EQ(number, Variant(5));
}

TEST_F(VariantValue, EmptyComesBeforeScalarsAndThoseBeforeBlocks) {
    const Variant ascending[] = {Variant(), 0, 5, 0xFFFFFFFFU, -1, "", Buffer("z"), "aa", Buffer("a\x80")};
    for (const Variant& a : ascending)
        for (const Variant& b : ascending)
            EXPECT_EQ(a < b, &a < &b) << a.ToString() << " " << b.ToString();
    EXPECT_EQ(Variant(static_cast<unsigned char>(5)), Variant(5));
    EXPECT_EQ(Variant("ab"), Buffer("ab"));
}

TEST_F(VariantValue, TheOrderIsTotal) {
    Seeded random;
    for (int i = 0; i < 20000; ++i) {
        const Variant a = AnyVariant(random), b = AnyVariant(random), c = AnyVariant(random);
        EXPECT_EQ(a == b, !(a < b) && !(b < a)) << a.ToString() << " " << b.ToString();
        EXPECT_FALSE(a < b && b < a);
        EXPECT_TRUE(!(a < b && b < c) || a < c) << a.ToString() << " " << b.ToString() << " " << c.ToString();
        EXPECT_TRUE(!(a == b && b == c) || a == c);
    }
}

TEST_F(VariantValue, IntegersAreSetAndReadAtAnyAddress) {
    char area[9] = {};
    EXPECT_EQ(VariantUtil::SetInt64(area + 1, -2), ONU_MNG_OK);
    EXPECT_EQ(std::string(area, 9), std::string("\0\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE", 9));
    EXPECT_EQ(VariantUtil::GetInt64(area + 1), -2);
    EXPECT_EQ(VariantUtil::GetUint(area + 5), 0xFFFFFFFEU);
    VariantUtil::ReverseByteOrder(VARIANT_TYPE_USHORT, area + 7);
    VariantUtil::ReverseByteOrder(VARIANT_TYPE_BUFFER, area);
    EXPECT_EQ(VariantUtil::GetUshort(area + 7), 0xFEFF);
    VariantUtil::ReverseByteOrder(VARIANT_TYPE_INT64, nullptr);
    EXPECT_EQ(VariantUtil::SetShort(nullptr, 1), ONU_MNG_FAILURE);
    EXPECT_EQ(VariantUtil::GetShort(nullptr), -1);
    EXPECT_EQ(VariantUtil::GetInt(nullptr), -1);
    EXPECT_EQ(VariantUtil::GetInt64(nullptr), 0);
}

} // namespace
