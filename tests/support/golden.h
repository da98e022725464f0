/// Expected outputs in files.
#ifndef ONU_MNG_TESTS_SUPPORT_GOLDEN_H
#define ONU_MNG_TESTS_SUPPORT_GOLDEN_H

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

/// Expects `actual` to be the file `name` of tests/golden, character for character.
inline void ExpectGolden(const std::string& name, const std::string& actual) {
    std::ifstream file(std::string(ONU_MNG_GOLDEN_DIR "/") + name, std::ios::binary);
    ASSERT_TRUE(file) << name;
    const std::string expected{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    EXPECT_EQ(actual, expected) << name;
}

#endif
