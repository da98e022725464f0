/// Helpers for the Variant suites.
#ifndef ONU_MNG_TESTS_SUPPORT_VARIANTS_H
#define ONU_MNG_TESTS_SUPPORT_VARIANTS_H

#include <gtest/gtest.h>
#include <string>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/variant.h"
#include "onu_mng_platform/mpu.h"
#include "tests/support/log_lines.h"
#include "tests/support/seeded.h"

/// Creates the library's pool. It must be the first one in the process.
inline bool InitPool() {
    return MemoryAllocator::GetInstance()->Init("OnuMngMemPool", MemoryAllocator::kPoolSize, 1, 0) ==
           ONU_MNG_OK;
}

/// A test that expects all its blocks to be freed at the end. The log is kept.
class VariantTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(InitPool());
        blocks = LiveBlocks();
    }
    void TearDown() override { EXPECT_EQ(LiveBlocks(), blocks); }

    LogLines log;

private:
    static std::size_t LiveBlocks() {
        mpu_stat stat{};
        EXPECT_EQ(mpuGetStat(0, &stat), 0);
        return stat.blocks;
    }
    std::size_t blocks = 0;
};

/// The whole block of a Variant, including a terminator.
inline std::string Block(const Variant& variant) {
    return variant.GetBuff() == nullptr ? std::string() : std::string(variant.GetBuff(), variant.GetLen());
}

inline Variant Buffer(const std::string& bytes) {
    return Variant(bytes.data(), static_cast<unsigned int>(bytes.size()));
}

/// A random value of any type, including empty. The range is small, so equal values occur.
inline Variant AnyVariant(Choices& random) {
    Variant variant;
    const VariantType type = static_cast<VariantType>(random.Below(12));
    std::string bytes(type < VARIANT_TYPE_STRING ? 8 : random.Below(4), '\0');
    for (char& byte : bytes)
        byte = random.Below(2) == 0 ? static_cast<char>(random.Below(3)) : random.Byte();
    variant.Assign(type, bytes.data(), static_cast<unsigned int>(bytes.size()));
    return variant;
}

#endif
