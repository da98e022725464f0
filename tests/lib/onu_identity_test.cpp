#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "tests/support/identity_rules.h"

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
    Seeded random;
    for (int round = 0; round < 2000; ++round)
        CompareTwoOnus(random);
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
    const std::string characters = "09afAFgG-: ";
    Seeded random;
    for (int round = 0; round < 5000; ++round) {
        std::string text = random.Below(2) == 0 ? "KVXQ-12345678" : "010203040506";
        if (random.Below(2) == 0)
            text[random.Below(12)] = characters[random.Below(static_cast<unsigned int>(characters.size()))];
        if (random.Below(4) == 0) text.resize(random.Below(16), '7');
        ConvertIdentity(text);
    }
    unsigned char out[ONU_MNG_SN_SIZE];
    EXPECT_EQ(ONU_MNG_NULL_ARGUMENT, onu_mng_convert_sn_or_mac_format(nullptr, out));
    EXPECT_EQ(ONU_MNG_NULL_ARGUMENT, onu_mng_convert_sn_or_mac_format(out, nullptr));
    Sn sn = kHigh;
    EXPECT_EQ(0x123456F0u, onu_mng_get_vendor_specific_by_mac(sn.data()));
    EXPECT_EQ(0u, onu_mng_get_vendor_specific_by_mac(nullptr));
}

} // namespace
