/// Variant as a byte buffer and as a record.

#include <gtest/gtest.h>

#include "tests/support/buffer_rules.h"
#include "tests/support/variants.h"

namespace {

class VariantBuffer : public VariantTest {};

TEST_F(VariantBuffer, RoomNeverWraps) {
    Variant buffer(VARIANT_TYPE_BUFFER, 6);
    EXPECT_TRUE(buffer.IsEnough(2, 6));
    EXPECT_FALSE(buffer.IsEnough(2, 0xFFFFFFFF));
    EXPECT_FALSE(buffer.IsEnough(0xFFFFFFFF, 65535));
}

TEST_F(VariantBuffer, RefusalsNameTheirCauseAndChangeNothing) {
    Variant number(5), text("abc"), buffer(VARIANT_TYPE_BUFFER, 4), empty;
    char out[8] = "kept";
    EXPECT_EQ(number.Append(true), ONU_MNG_FAILURE);
    EXPECT_EQ(number.Fetch(out, 1), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Append(nullptr, 5), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Append(nullptr, 4), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Fetch(nullptr, 4), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Append(static_cast<short>(1), 1), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Append(empty), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Append(text, VARIANT_TYPE_INT), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Fetch(empty), ONU_MNG_FAILURE);
    EXPECT_EQ(buffer.Fetch(out, 5), ONU_MNG_FAILURE);
    EXPECT_EQ(log.Take(), Lines({"13 Current variant is not buffer, not support Append",
                                 "13 Current variant is not buffer, not support getVal",
                                 "13 Not enough space left, var len 4, buf pos 0, data len 5, offset 5",
                                 "13 append buffer is NULL ", "13 fetch buffer is NULL ",
                                 "13 Not enough space left, var len 4, buf pos 0, data len 2, offset 1",
                                 "13 invalid source variant when append , type 255, buff (nil), len 0",
                                 "13 current type 9 is conflict with type 5 ",
                                 "13 var type 9 is conflict with append type 5 ",
                                 "13 invalid source variant when fetch , type 255, buff (nil), len 0",
                                 "13 Not enough space left, var len 4, buf pos 0, data len 5, offset 5"}));
    EXPECT_STREQ(out, "kept");
    EXPECT_EQ(Block(buffer), std::string(4, '\0'));
    EXPECT_EQ(buffer.GetPos(), 0U);
    ASSERT_EQ(buffer.Append(static_cast<short>(1)), ONU_MNG_OK);
    EXPECT_EQ(buffer.Append(out, 4, 4), ONU_MNG_FAILURE);
    EXPECT_EQ(log.Take(), Lines({"13 Not enough space left, var len 4, buf pos 2, data len 4, offset 4"}));
}

TEST_F(VariantBuffer, AppendsAndFetchesVariants) {
    Variant buffer(VARIANT_TYPE_BUFFER, 6), minus_two(-2), ab("ab");
    EXPECT_EQ(buffer.Append(minus_two, VARIANT_TYPE_UCHAR), ONU_MNG_OK);
    EXPECT_EQ(buffer.Append(ab, VARIANT_TYPE_BUFFER, 4), ONU_MNG_OK);
    EXPECT_EQ(Block(buffer), std::string("\xFE\x61\x62\0\0\0", 6));
    EXPECT_EQ(buffer.GetPos(), 5U);
    EXPECT_EQ(ab.GetType(), VARIANT_TYPE_BUFFER);

    const Variant in = Buffer({"\x00\x00\x01\x02\x02ghijklmnop", 15});
    Variant number(0U), flag(false), text("1234"), two("12345678"), wide(7LL);
    for (Variant* out : {&number, &flag, &text})
        EXPECT_EQ(in.Fetch(*out), ONU_MNG_OK);
    EXPECT_EQ(number, Variant(258));
    EXPECT_EQ(flag.GetValue(), 1U);
    EXPECT_EQ(in.Fetch(two, 2), ONU_MNG_OK);
    EXPECT_EQ(Block(two), std::string("kl345678\0", 9));
    EXPECT_EQ(in.GetPos(), 11U);
    EXPECT_EQ(in.Fetch(text, 5), ONU_MNG_FAILURE);
    EXPECT_EQ(in.Fetch(wide), ONU_MNG_FAILURE);
    EXPECT_EQ(wide, Variant(7));
    EXPECT_EQ(Block(text), std::string("ghij\0", 5));
}

TEST_F(VariantBuffer, BehavesLikeBytesWithACursor) {
    Seeded random;
    for (int round = 0; round < 3000; ++round)
        ASSERT_NO_FATAL_FAILURE(ExchangeWithABuffer(random));
}

TEST_F(VariantBuffer, RecordsHaveTypeLengthAndValue) {
    const struct {
        Variant value;
        std::string record;
    } cases[] = {{true, {"\x00\0\0\0\x01\x01", 6}},
                 {static_cast<unsigned short>(0x1234), {"\x04\0\0\0\x02\x12\x34", 7}},
                 {-2, {"\x05\0\0\0\x04\xFF\xFF\xFF\xFE", 9}},
                 {-2LL, {"\x07\0\0\0\x08\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFE", 13}},
                 {"abc", {"\x09\0\0\0\x03\x61\x62\x63", 8}},
                 {Buffer("\xAB"), {"\x0A\0\0\0\x01\xAB", 6}}};
    for (const auto& c : cases) {
        Variant out(VARIANT_TYPE_BUFFER, static_cast<unsigned int>(c.record.size()));
        EXPECT_EQ(c.value.Serialize(out), ONU_MNG_OK);
        EXPECT_EQ(Block(out), c.record);
        Variant read;
        EXPECT_EQ(read.UnSerialize(Variant(out)), ONU_MNG_OK);
        EXPECT_EQ(read.GetType(), c.value.GetType());
        EXPECT_EQ(read, c.value);
    }
    Variant out(VARIANT_TYPE_BUFFER, 6); // what was written before a failure stays
    EXPECT_EQ(Variant().Serialize(out), ONU_MNG_FAILURE);
    EXPECT_EQ(Block(out), std::string("\xFF\0\0\0\0\0", 6));
    EXPECT_EQ(out.GetPos(), 5U);
}

TEST_F(VariantBuffer, AShortOrUnknownRecordChangesNothing) {
    const struct {
        std::string record;
        unsigned int result, pos;
    } cases[] = {{{"\x20\0\0\0\x03xyz", 8}, ONU_MNG_OK, 8},      // unknown: skipped
                 {{"\x20\0\0\0\x04xyz", 8}, ONU_MNG_FAILURE, 5}, // the value is not there in full
                 {{"\x09\0\0\0\x04xyz", 8}, ONU_MNG_FAILURE, 5},
                 {{"\x0A\xFF\xFF\xFF\xFFxyz", 8}, ONU_MNG_FAILURE, 5},
                 {{"\x05\0\0\0\x03xyz", 8}, ONU_MNG_FAILURE, 5}, // an INT has four bytes
                 {{"\x05\0\0\0", 4}, ONU_MNG_FAILURE, 1}};
    for (const auto& c : cases) {
        const Variant in = Buffer(c.record);
        Variant kept("kept");
        EXPECT_EQ(kept.UnSerialize(in), c.result);
        EXPECT_EQ(kept, Variant("kept"));
        EXPECT_EQ(in.GetPos(), c.pos);
    }
}

TEST_F(VariantBuffer, MayBecomeTheValueOfItsOwnRecord) {
    Variant variant = Buffer({"\x09\0\0\0\x03xyz", 8});
    EXPECT_EQ(variant.UnSerialize(variant), ONU_MNG_OK);
    EXPECT_EQ(Block(variant), std::string("xyz\0", 4));
    EXPECT_EQ(variant.GetPos(), 0U);
    Variant unknown = Buffer({"\x20\0\0\0\x03xyz", 8});
    EXPECT_EQ(unknown.UnSerialize(unknown), ONU_MNG_OK);
    EXPECT_EQ(unknown.GetPos(), 8U);
}

} // namespace
