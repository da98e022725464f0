#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_obj.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"

namespace {

using Sn = std::array<unsigned char, ONU_MNG_SN_SIZE>;

constexpr Sn kLow = {'K', 'V', 'X', 'Q', 0x12, 0x34, 0x56, 0x78};
constexpr Sn kHigh = {'K', 'V', 'X', 'Q', 0x12, 0x34, 0x56, 0xF0};

class OnuIdentity : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(0u, MemoryAllocator::GetInstance()->Init("ids", 1 << 16, 1, 0)); }
};

TEST_F(OnuIdentity, IsValidAsSoonAsAnythingIsSet) {
    EXPECT_TRUE(OnuNo(3, 0xFFFF).IsValid());
    EXPECT_TRUE(OnuNo(0xFFFF, 3).IsValid());
    OnuNo onu(0xFFFF, 0xFFFF, kLow.data());
    EXPECT_TRUE(onu.IsValid());
    onu.Reset();
    EXPECT_FALSE(onu.IsValid());
}

TEST_F(OnuIdentity, OrderAndEqualityAgree) {
    // In strictly ascending order.
    const OnuNo ordered[] = {{0, 9, kHigh.data()}, {1, 5}, {1, 200},           {1, 9, kLow.data()},
                             {1, 0, kHigh.data()}, {2, 0}, {2, 5, kLow.data()}};
    for (const OnuNo& a : ordered) {
        for (const OnuNo& b : ordered) {
            EXPECT_EQ(&a < &b, a < b);
            EXPECT_EQ(&a == &b, a == b);
            EXPECT_EQ(&a != &b, a != b);
        }
    }
    EXPECT_EQ(OnuNo(1, 5, kLow.data()), OnuNo(1, 7, kLow.data())) << "the ONU id is not looked at";
}

TEST_F(OnuIdentity, CopiesTheSerialNumberOrItsAbsence) {
    const OnuNo with(1, 5, kLow.data());
    OnuNo copy(with);
    ASSERT_TRUE(copy.HasSn());
    EXPECT_NE(copy.GetSn(), with.GetSn()) << "each holds its own block";
    EXPECT_EQ(0, std::memcmp(copy.GetSn(), kLow.data(), kLow.size()));

    const OnuNo& alias = copy;
    copy = alias;
    EXPECT_EQ(copy, with);
    copy = OnuNo(1, 5);
    EXPECT_FALSE(copy.HasSn());
    copy(4, 6, kHigh.data());
    EXPECT_EQ(copy, OnuNo(4, 0, kHigh.data()));
    copy(4, 6);
    EXPECT_EQ(copy, OnuNo(4, 6));
}

TEST_F(OnuIdentity, ConvertsSerialNumbersAndMacs) {
    const struct {
        const char* text;
        unsigned int result;
        std::string bytes;
    } conversions[] = {
        {"KVXQ-12345678", ONU_MNG_OK, "KVXQ\x12\x34\x56\x78"},
        {"kv Q-abcdEF01", ONU_MNG_OK, "kv Q\xab\xcd\xef\x01"},
        {"KVXQ-1234567", ONU_MNG_BAD_TEXT, ""},
        {"KVXQ-123456789", ONU_MNG_BAD_TEXT, ""},
        {"KVXQ-1234567G", ONU_MNG_BAD_TEXT, "KVXQ"}, // the vendor was written
        {"010203040506", ONU_MNG_OK, "\x01\x02\x03\x04\x05\x06"},
        {"010203040506FF", ONU_MNG_OK, "\x01\x02\x03\x04\x05\x06"},
        {"01020304050", ONU_MNG_BAD_TEXT, ""},
        {"01:02:03:04:05:06", ONU_MNG_BAD_TEXT, ""},
        {"", ONU_MNG_BAD_TEXT, ""},
    };
    for (const auto& conversion : conversions) {
        // On the heap at its exact size, so that a read past the end is seen.
        std::string text(conversion.text);
        unsigned char out[ONU_MNG_SN_SIZE] = {};
        EXPECT_EQ(conversion.result,
                  onu_mng_convert_sn_or_mac_format(reinterpret_cast<unsigned char*>(text.data()), out))
            << conversion.text;
        EXPECT_EQ(conversion.bytes, std::string(reinterpret_cast<char*>(out), conversion.bytes.size()));
    }
    unsigned char out[ONU_MNG_SN_SIZE];
    EXPECT_EQ(ONU_MNG_NULL_ARGUMENT, onu_mng_convert_sn_or_mac_format(nullptr, out));
    EXPECT_EQ(ONU_MNG_NULL_ARGUMENT, onu_mng_convert_sn_or_mac_format(out, nullptr));
    Sn sn = kHigh;
    EXPECT_EQ(0x123456F0u, onu_mng_get_vendor_specific_by_mac(sn.data()));
    EXPECT_EQ(0u, onu_mng_get_vendor_specific_by_mac(nullptr));
}

} // namespace
