/// Variant as a value: taking, converting and comparing.

#include <cstdint>
#include <gtest/gtest.h>
#include <utility>

#include "tests/support/log_lines.h"
#include "tests/support/variants.h"

namespace {

using Lines = std::vector<std::string>;

class VariantValue : public VariantTest {
protected:
    LogLines log;
};

struct Form {
    VariantType type;
    unsigned int len;
    unsigned long long value;
};

/// Every way of taking the scalar `x` gives the same, whatever was held before.
template <typename T>
void ExpectForm(T x, const Form& expected) {
    Variant copied("text");
    copied.Copy(x);
    Variant called(7);
    called(x);
    Variant assigned;
    assigned = x;
    for (const Variant& variant : {Variant(x), copied, called, assigned}) {
        EXPECT_EQ(variant.GetType(), expected.type);
        EXPECT_EQ(variant.GetLen(), expected.len);
        EXPECT_EQ(variant.GetValue(), expected.value);
    }
}

TEST_F(VariantValue, ScalarsTakeTheTypeOfTheirArgument) {
    ExpectForm(true, {VARIANT_TYPE_BOOL, 1, 1});
    ExpectForm('\xC8', {VARIANT_TYPE_CHAR, 1, 200});
    ExpectForm(static_cast<unsigned char>(200), {VARIANT_TYPE_UCHAR, 1, 200});
    ExpectForm(static_cast<short>(-2), {VARIANT_TYPE_SHORT, 2, ~1ULL});
    ExpectForm(static_cast<unsigned short>(65535), {VARIANT_TYPE_USHORT, 2, 65535});
    ExpectForm(-2, {VARIANT_TYPE_INT, 4, ~1ULL});
    ExpectForm(4294967295U, {VARIANT_TYPE_UINT, 4, 4294967295U});
    ExpectForm(-2LL, {VARIANT_TYPE_INT64, 8, ~1ULL});
    ExpectForm(~0ULL, {VARIANT_TYPE_UINT64, 8, ~0ULL});
    // Whatever these are made of on a board.
    ExpectForm(std::int32_t{-2}, {VARIANT_TYPE_INT, 4, ~1ULL});
    ExpectForm(std::int64_t{-2}, {VARIANT_TYPE_INT64, 8, ~1ULL});
    ExpectForm(std::uint64_t{5}, {VARIANT_TYPE_UINT64, 8, 5});
    ExpectForm(5L, {sizeof(long) == 8 ? VARIANT_TYPE_INT64 : VARIANT_TYPE_INT, sizeof(long), 5});
}

template <typename T>
using CopyOf = decltype(std::declval<Variant&>().Copy(std::declval<T>()));
template <typename T, typename = void>
constexpr bool kTakes = false;
template <typename T>
constexpr bool kTakes<T, std::void_t<CopyOf<T>>> = true;

TEST_F(VariantValue, ArgumentsWithoutAMeaningDoNotCompile) {
    static_assert(kTakes<char*> && kTakes<const char*> && kTakes<std::string> && kTakes<unsigned long>);
    static_assert(!kTakes<void*> && !kTakes<double> && !kTakes<VariantType> && !kTakes<signed char>);
}

TEST_F(VariantValue, TextsAndBuffersTakeABlockOfTheirOwn) {
    char text[] = "abc";
    Variant from_array(text);
    Variant from_string(std::string("abc\0def", 7));
    text[0] = 'x';
    EXPECT_EQ(Block(from_array), std::string("abc", 4));
    EXPECT_EQ(Block(from_string), std::string("abc", 4));
    EXPECT_EQ(from_string.GetType(), VARIANT_TYPE_STRING);
    EXPECT_EQ(Variant("").GetLen(), 1U);

    Variant buffer(7);
    buffer(text, 2);
    EXPECT_EQ(buffer.GetType(), VARIANT_TYPE_BUFFER);
    EXPECT_EQ(Block(buffer), "xb");

    const char* const no_text = nullptr;
    EXPECT_TRUE(Variant(no_text).IsEmpty());
    buffer = no_text;
    buffer(no_text, 5);
    buffer.Copy(text, 0);
    EXPECT_EQ(buffer.Assign(nullptr, 5), ONU_MNG_OK);
    EXPECT_EQ(Block(buffer), "xb");
    EXPECT_EQ(log.Take(), Lines());
}

TEST_F(VariantValue, CopiesAreDeepAndStartAtTheFrontAndOnlyTheTextOfAStringCounts) {
    Variant source(VARIANT_TYPE_STRING, 10);
    EXPECT_EQ(source.Append("ab", 2), ONU_MNG_OK);
    const Variant copy(source);
    EXPECT_EQ(Block(copy), std::string("ab", 3));
    EXPECT_EQ(copy.GetPos(), 0U);
    source = 5;
    EXPECT_EQ(Block(copy), std::string("ab", 3));

    Variant self("self");
    const Variant& alias = self;
    self = alias;
    self.Copy(alias);
    EXPECT_EQ(Block(self), std::string("self", 5));
}

TEST_F(VariantValue, MovingGivesWhatCopyingGives) {
    for (unsigned int size : {2U, 10U}) {
        Variant source(VARIANT_TYPE_STRING, size);
        ASSERT_EQ(source.Append("ab", 2), ONU_MNG_OK);
        const char* const block = source.GetBuff();
        Variant moved(std::move(source));
        EXPECT_EQ(Block(moved), std::string("ab", 3));
        Variant assigned("old");
        assigned = std::move(moved);
        EXPECT_EQ(assigned.GetBuff(), block);
        EXPECT_EQ(Block(assigned), std::string("ab", 3));
        EXPECT_EQ(assigned.GetPos(), 0U);
        EXPECT_TRUE(source.IsEmpty() && moved.IsEmpty());
    }
}

TEST_F(VariantValue, AnEmptySourceIsRefusedAndTheTargetKept) {
    const Lines refusal = {"13 invalid source variant when copy , type 255, buff (nil), len 0"};
    const Variant empty;
    Variant seven(7);
    seven = empty;
    EXPECT_EQ(log.Take(), refusal);
    seven = Variant();
    EXPECT_EQ(log.Take(), refusal);
    EXPECT_EQ(seven, Variant(7));
}

TEST_F(VariantValue, ItsOwnBlockIsAValidSource) {
    Variant variant("0123456789");
    variant = variant.GetBuff() + 4;
    EXPECT_EQ(Block(variant), std::string("456789", 7));
    variant.Copy(variant.GetBuff() + 1, 3);
    EXPECT_EQ(Block(variant), "567");
    EXPECT_EQ(variant.Assign(VARIANT_TYPE_STRING, variant.GetBuff() + 1, 2), ONU_MNG_OK);
    EXPECT_EQ(Block(variant), std::string("67", 3));
}

TEST_F(VariantValue, AFullPoolStillServesAReplacement) {
    Variant variant("text of 15 char");
    std::vector<Variant> hoard;
    for (unsigned int size = MemoryAllocator::kPoolSize; size >= 16; size /= 2)
        while (hoard.emplace_back().Realloc(VARIANT_TYPE_BUFFER, size) == ONU_MNG_OK) {
        }
    Variant second("no block");
    EXPECT_TRUE(second.IsEmpty());
    variant = "another 15 char";
    EXPECT_EQ(variant.ToString(), "another 15 char");
}

TEST_F(VariantValue, ReallocMakesAZeroValue) {
    Variant variant("old");
    EXPECT_EQ(variant(VARIANT_TYPE_USHORT, 77), ONU_MNG_OK);
    EXPECT_EQ(variant, Variant(0));
    EXPECT_EQ(variant.GetLen(), 2U);
    EXPECT_EQ(variant.Realloc(VARIANT_TYPE_STRING, 0), ONU_MNG_OK);
    EXPECT_EQ(Block(variant), std::string(1, '\0'));
    EXPECT_EQ(variant.Realloc(VARIANT_TYPE_BUFFER, 3), ONU_MNG_OK);
    EXPECT_EQ(Block(variant), std::string(3, '\0'));
    EXPECT_EQ(log.Take(), Lines());

    EXPECT_EQ(variant.Realloc(VARIANT_TYPE_BUFFER, 0), ONU_MNG_FAILURE);
    EXPECT_TRUE(variant.IsEmpty());
    EXPECT_EQ(log.Take(), Lines({"13 MemAlloc for zero length ", "13 AllocBuffer failed. type 10, len 0 ",
                                 "13 AllocBuffer in Realloc failed. type 10, len 0 "}));
    // A terminator that does not fit 32 bits is a block that nobody has.
    EXPECT_EQ(variant.Realloc(VARIANT_TYPE_STRING, 0xFFFFFFFF), ONU_MNG_FAILURE);
    EXPECT_TRUE(variant.IsEmpty());
    EXPECT_EQ(log.Take(), Lines({"13 AllocBuffer failed. type 9, len 0 ",
                                 "13 AllocBuffer in Realloc failed. type 9, len -1 "}));
    variant = 5;
    EXPECT_EQ(variant.Realloc(static_cast<VariantType>(11), 4), ONU_MNG_FAILURE);
    EXPECT_TRUE(variant.IsEmpty());
    EXPECT_EQ(log.Take(), Lines({"13 invalid source variant type: 11, Realloc"}));
}

TEST_F(VariantValue, ClearKeepsTheBlockAndResetDoesNot) {
    Variant variant("abc");
    char two[2];
    EXPECT_EQ(variant.Fetch(two, 2), ONU_MNG_OK);
    const char* const block = variant.GetBuff();
    variant.Clear();
    EXPECT_EQ(variant.GetBuff(), block);
    EXPECT_EQ(Block(variant), std::string(4, '\0'));
    EXPECT_EQ(variant.GetPos(), 0U);
    variant.Reset();
    EXPECT_TRUE(variant.IsEmpty());
    EXPECT_EQ(variant.GetLen(), 0U);
    EXPECT_EQ(variant.GetBuff(), nullptr);
}

TEST_F(VariantValue, AssignReadsNetworkOrder) {
    const char bytes[] = "\xFF\x12\x34\x56\x78\x9A\xBC\xDE\xF0";
    const struct {
        VariantType type;
        Variant expected;
    } cases[] = {
        {VARIANT_TYPE_BOOL, true},
        {VARIANT_TYPE_CHAR, '\xFF'},
        {VARIANT_TYPE_UCHAR, static_cast<unsigned char>(255)},
        {VARIANT_TYPE_SHORT, static_cast<short>(-238)},
        {VARIANT_TYPE_USHORT, static_cast<unsigned short>(0xFF12)},
        {VARIANT_TYPE_INT, -0xEDCBAA},
        {VARIANT_TYPE_UINT, 0xFF123456U},
        {VARIANT_TYPE_INT64, -0xEDCBA987654322LL},
        {VARIANT_TYPE_UINT64, 0xFF123456789ABCDEULL},
        {VARIANT_TYPE_STRING, "\xFF\x12\x34"},
        {VARIANT_TYPE_BUFFER, Buffer("\xFF\x12\x34")},
    };
    for (const auto& c : cases) {
        Variant variant(true);
        EXPECT_EQ(variant.Assign(c.type, bytes, 3), ONU_MNG_OK);
        EXPECT_EQ(variant, c.expected) << c.type;
        EXPECT_EQ(variant.GetType(), c.type);
        EXPECT_EQ(variant.GetLen(), c.expected.GetLen()) << c.type;
    }
    Variant kept(7);
    EXPECT_EQ(kept.Assign(VARIANT_TYPE_INT, nullptr, 4), ONU_MNG_FAILURE);
    EXPECT_EQ(kept.Assign(VARIANT_TYPE_NONE, bytes, 4), ONU_MNG_OK);
    EXPECT_EQ(kept.Assign(VARIANT_TYPE_BUFFER, bytes, 0), ONU_MNG_OK);
    EXPECT_EQ(kept.GetType(), VARIANT_TYPE_INT);
}

TEST_F(VariantValue, ScalarsConvertByCuttingToSize) {
    const struct {
        Variant from;
        VariantType to;
        const char* text;
    } cases[] = {
        {300, VARIANT_TYPE_UCHAR, "44"},
        {-1, VARIANT_TYPE_CHAR, "255"},
        {0x18000, VARIANT_TYPE_SHORT, "-32768"},
        {-1LL, VARIANT_TYPE_USHORT, "65535"},
        {0x123456789LL, VARIANT_TYPE_UINT, "0x23456789"},
        {'\xFF', VARIANT_TYPE_INT, "0xff"},
        {static_cast<short>(-1), VARIANT_TYPE_UINT64, "0xffffffffffffffff"},
        {0x100000000LL, VARIANT_TYPE_BOOL, "True"},
        {true, VARIANT_TYPE_INT64, "0x1"},
        {5, VARIANT_TYPE_INT, "0x5"},
    };
    for (const auto& c : cases) {
        Variant variant(c.from);
        EXPECT_EQ(variant.ResetType(c.to), ONU_MNG_OK);
        EXPECT_EQ(variant.GetType(), c.to);
        EXPECT_EQ(variant.ToString(), c.text);
    }
}

TEST_F(VariantValue, BlocksConvertIntoEachOther) {
    const struct {
        Variant from;
        VariantType to;
        std::string block;
    } cases[] = {
        {"AB", VARIANT_TYPE_BUFFER, std::string("AB\0", 3)},
        {Buffer(std::string("AB\0", 3)), VARIANT_TYPE_STRING, std::string("AB\0", 3)},
        {Buffer(std::string("A\0B", 3)), VARIANT_TYPE_STRING, std::string("A\0", 2)},
        {Buffer("AB"), VARIANT_TYPE_STRING, std::string("AB\0", 3)},
    };
    for (const auto& c : cases) {
        Variant variant(c.from);
        EXPECT_EQ(variant.ResetType(c.to), ONU_MNG_OK);
        EXPECT_EQ(variant.GetType(), c.to);
        EXPECT_EQ(Block(variant), c.block);
    }
    Variant text("AB"), number(5), empty;
    EXPECT_EQ(text.ResetType(VARIANT_TYPE_INT), ONU_MNG_FAILURE);
    EXPECT_EQ(number.ResetType(VARIANT_TYPE_STRING), ONU_MNG_FAILURE);
    EXPECT_EQ(number.ResetType(VARIANT_TYPE_NONE), ONU_MNG_FAILURE);
    EXPECT_EQ(empty.ResetType(VARIANT_TYPE_INT), ONU_MNG_FAILURE);
    EXPECT_EQ(empty.ResetType(VARIANT_TYPE_NONE), ONU_MNG_OK);
    EXPECT_EQ(log.Take(), Lines({"13 current type 9 is conflict with type 5 ",
                                 "13 current type 5 is conflict with type 9 ",
                                 "13 current type 5 is conflict with type 255 ",
                                 "13 current type 255 is conflict with type 5 "}));
    EXPECT_EQ(text, Variant("AB"));
    EXPECT_EQ(number, Variant(5));
}

TEST_F(VariantValue, OnlyScalarsHaveANumber) {
    EXPECT_EQ(Variant("5").GetValue(), 0U);
    EXPECT_EQ(Variant().GetValue(), 0U);
    EXPECT_EQ(log.Take(), Lines({"13 invalid source variant type: 9, GetValue",
                                 "13 invalid source variant type: 255, GetValue"}));
}

TEST_F(VariantValue, EmptyComesBeforeScalarsAndThoseBeforeBlocks) {
    const Variant ascending[] = {Variant(), 0,           5,    0xFFFFFFFFU,     -1,
                                 "",        Buffer("z"), "aa", Buffer("a\x80"), "b\xFF"};
    for (const Variant& a : ascending) {
        for (const Variant& b : ascending) {
            EXPECT_EQ(a < b, &a < &b) << a.ToString() << " " << b.ToString();
            EXPECT_EQ(a == b, &a == &b) << a.ToString() << " " << b.ToString();
        }
    }
    EXPECT_EQ(Variant(static_cast<unsigned char>(5)), Variant(5));
    EXPECT_EQ(Variant("ab"), Buffer("ab"));
}

TEST_F(VariantValue, TheOrderIsTotal) {
    Seeded random;
    for (int i = 0; i < 20000; ++i) {
        const Variant a = AnyVariant(random), b = AnyVariant(random), c = AnyVariant(random);
        EXPECT_FALSE(a < a);
        EXPECT_EQ(a == b, !(a < b) && !(b < a)) << a.ToString() << " " << b.ToString();
        EXPECT_FALSE(a < b && b < a);
        EXPECT_TRUE(!(a < b && b < c) || a < c) << a.ToString() << " " << b.ToString() << " " << c.ToString();
        EXPECT_TRUE(!(a == b && b == c) || a == c);
    }
}

TEST_F(VariantValue, IntegersTravelInNetworkOrderFromAnyAddress) {
    char area[9] = {};
    char* const odd = area + 1;
    EXPECT_EQ(VariantUtil::SetInt64(odd, -2), ONU_MNG_OK);
    EXPECT_EQ(std::string(odd, 8), "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE");
    EXPECT_EQ(VariantUtil::GetInt64(odd), -2);
    EXPECT_EQ(VariantUtil::GetUint64(odd), ~1ULL);
    EXPECT_EQ(VariantUtil::SetUint64(odd, 0x0000000100000000), ONU_MNG_OK);
    EXPECT_EQ(VariantUtil::GetInt64(odd), 4294967296);
    EXPECT_EQ(VariantUtil::SetUint(odd, 0x80000102), ONU_MNG_OK);
    EXPECT_EQ(VariantUtil::GetUint(odd), 0x80000102);
    EXPECT_EQ(VariantUtil::SetInt(odd, -5), ONU_MNG_OK);
    EXPECT_EQ(VariantUtil::GetInt(odd), -5);
    EXPECT_EQ(VariantUtil::SetUshort(odd, 0x8012), ONU_MNG_OK);
    EXPECT_EQ(VariantUtil::GetUshort(odd), 0x8012);
    EXPECT_EQ(VariantUtil::SetShort(odd, -300), ONU_MNG_OK);
    EXPECT_EQ(VariantUtil::GetShort(odd), -300);
    EXPECT_EQ(area[0], 0);

    EXPECT_EQ(VariantUtil::SetShort(nullptr, 1), ONU_MNG_FAILURE);
    EXPECT_EQ(VariantUtil::SetUint64(nullptr, 1), ONU_MNG_FAILURE);
    EXPECT_EQ(VariantUtil::GetShort(nullptr), -1);
    EXPECT_EQ(VariantUtil::GetInt(nullptr), -1);
    EXPECT_EQ(VariantUtil::GetInt64(nullptr), 0);
    EXPECT_EQ(VariantUtil::GetUint(nullptr), 0U);
}

TEST_F(VariantValue, ReversingTakesAsManyBytesAsTheTypeHas) {
    const struct {
        VariantType type;
        const char* bytes;
    } cases[] = {
        {VARIANT_TYPE_UCHAR, "12345678"}, {VARIANT_TYPE_SHORT, "21345678"},  {VARIANT_TYPE_UINT, "43215678"},
        {VARIANT_TYPE_INT64, "87654321"}, {VARIANT_TYPE_BUFFER, "12345678"}, {VARIANT_TYPE_NONE, "12345678"},
    };
    for (const auto& c : cases) {
        char bytes[] = "12345678";
        VariantUtil::ReverseByteOrder(c.type, bytes);
        EXPECT_STREQ(bytes, c.bytes);
    }
    VariantUtil::ReverseByteOrder(VARIANT_TYPE_INT, nullptr);
}

} // namespace
