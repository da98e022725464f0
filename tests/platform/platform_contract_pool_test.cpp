// Memory pools, on every port: what one task sees of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/mpu.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"
#include "tests/support/pool_blocks.h"
#include "tests/support/port_fixture.h"
#include "tests/support/seeded.h"

namespace {

constexpr unsigned int kSize = 256 * 1024;

void ExpectStat(int pool, const mpu_stat& expected) {
    const mpu_stat actual = StatOf(pool);
    ASSERT_EQ(actual.size, expected.size);
    ASSERT_EQ(actual.used, expected.used);
    ASSERT_EQ(actual.peak, expected.peak);
    ASSERT_EQ(actual.blocks, expected.blocks);
    ASSERT_EQ(actual.allocs, expected.allocs);
    ASSERT_EQ(actual.fails, expected.fails);
}

TEST(PlatformPool, RefusesWhatItCannotServe) {
    RunOnPort([] {
        EXPECT_EQ(mpuCreate("none", 0, 1, 0), -1);
        EXPECT_EQ(mpuCreate("too large", UINT_MAX, 1, 0), -1);
        const int pool = mpuCreate("refusing", kSize, 1, 0);
        ASSERT_GE(pool, 0);
        EXPECT_EQ(Take(-1, 16), nullptr);
        EXPECT_EQ(Take(INT_MAX, 16), nullptr);
        EXPECT_EQ(Take(pool, 0), nullptr);
        EXPECT_EQ(Take(pool, kSize + 1), nullptr);
        EXPECT_EQ(Take(pool, UINT_MAX), nullptr);
        mpu_stat stat{};
        EXPECT_EQ(mpuGetStat(pool, nullptr), -1);
        EXPECT_EQ(mpuGetStat(-1, &stat), -1);
        EXPECT_EQ(StatOf(pool).fails, 2u); // those of size 0 are none
    });
}

/// Blocks that were taken and what the totals must be.
struct Model {
    const char* region = nullptr;
    mpu_stat stat{};
    std::vector<Block> blocks;

    /// Bytes between two neighbouring blocks, at most; what a block costs beyond its contents counts with it.
    size_t LargestGap() {
        std::sort(blocks.begin(), blocks.end(),
                  [](const Block& a, const Block& b) { return a.address < b.address; });
        const char* end = region;
        size_t largest = 0;
        for (const Block& block : blocks) {
            largest = std::max(largest, static_cast<size_t>(block.address - end));
            end = block.address + block.Rounded();
        }
        return std::max(largest, static_cast<size_t>(region + stat.size - end));
    }

    void Taken(const Block& block) {
        blocks.push_back(block);
        stat.used += block.Rounded();
        stat.peak = std::max(stat.peak, stat.used);
        ++stat.blocks;
        ++stat.allocs;
    }
    Block Returned(size_t which) {
        const Block block = blocks[which];
        blocks[which] = blocks.back();
        blocks.pop_back();
        stat.used -= block.Rounded();
        --stat.blocks;
        return block;
    }
};

unsigned int RandomSize(Seeded& random) {
    const unsigned int limits[] = {64, 600, 3000, 40000};
    return 1 + random.Below(limits[random.Below(4)]);
}

void RandomStep(Seeded& random, int pool, Model& model) {
    // Swings between a nearly empty and a nearly full pool.
    const bool wants_more = random.Below(100) < (model.stat.allocs / 2000 % 2 == 0 ? 60u : 40u);
    if (model.blocks.empty() || wants_more) {
        const unsigned int size = RandomSize(random);
        const Block block = Block::Take(pool, size, random.Byte());
        if (block.address == nullptr) {
            constexpr size_t kMostCost = 2 * 80; // of the block in front and of the new one, guards included
            ASSERT_LT(model.LargestGap(), size + kMostCost) << "refused too early";
            ++model.stat.fails;
        } else {
            ASSERT_EQ(reinterpret_cast<uintptr_t>(block.address) % 16, 0u);
            model.Taken(block);
        }
    } else {
        const Block block = model.Returned(random.Below(static_cast<unsigned int>(model.blocks.size())));
        ASSERT_TRUE(block.IsIntact());
        ASSERT_EQ(mpuFree(block.address), 0);
    }
    ExpectStat(pool, model.stat);
}

TEST(PlatformPool, FollowsAModelThroughRandomOperations) {
    RunOnPort([] {
        Seeded random;
        const int pool = mpuCreate("random", kSize, 1, 0);
        Model model;
        model.region = static_cast<const char*>(Take(pool, kSize));
        ASSERT_EQ(mpuFree(const_cast<char*>(model.region)), 0);
        model.stat = StatOf(pool);
        for (int i = 0; i < 30000 && !testing::Test::HasFatalFailure(); ++i)
            RandomStep(random, pool, model);
        while (!model.blocks.empty())
            ASSERT_EQ(mpuFree(model.Returned(0).address), 0);
        ExpectStat(pool, model.stat);
        // Nothing is lost and all is in one piece again.
        void* const whole = Take(pool, kSize);
        ASSERT_NE(whole, nullptr);
        std::memset(whole, 0x5A, kSize);
        EXPECT_EQ(mpuFree(whole), 0);
    });
}

TEST(PlatformPool, ReportsAndRefusesBadPointers) {
    RunOnPort([] {
        const int pool = mpuCreate("misused", kSize, 1, 0);
        auto* const block = static_cast<char*>(Take(pool, 100));
        void* const returned = Take(pool, 100);
        void* const large_returned = Take(pool, 10000);
        char on_stack[64];
        const std::unique_ptr<char[]> on_heap(new char[64]);
        EXPECT_EQ(mpuFree(returned), 0);
        EXPECT_EQ(mpuFree(large_returned), 0);
        const mpu_stat before = StatOf(pool);

        LogLines lines;
        void* const bad[] = {nullptr,    on_stack,   on_heap.get(), block + 1,
                             block + 16, block + 96, returned,      large_returned};
        for (void* const pointer : bad) {
            EXPECT_EQ(mpuFree(pointer), -1) << pointer;
            const std::vector<std::string> logged = lines.Take();
            ASSERT_EQ(logged.size(), 1u) << pointer;
            EXPECT_EQ(logged[0].substr(0, 3), "13 ");
            EXPECT_EQ(logged[0].find("0x"), std::string::npos) << "differs from run to run: " << logged[0];
        }
        ExpectStat(pool, before);
        EXPECT_EQ(mpuFree(block), 0);
    });
}

TEST(PlatformPool, ServesALastRequestFromTheOneFreeRangeThatIsLongEnough) {
    RunOnPort([] {
        constexpr unsigned int kLong = 20400;
        constexpr unsigned int kNearlyAsLong = 20000;
        const int pool = mpuCreate("nearly full", 4 << 20, 1, 0);
        // The long range is the first to come back, and so the last to be looked at.
        std::vector<void*> ranges;
        for (int i = 0; i < 80; ++i) {
            ranges.push_back(Take(pool, i == 0 ? kLong : kNearlyAsLong));
            ASSERT_NE(Take(pool, 9000), nullptr); // keeps its neighbours apart
        }
        for (const unsigned int rest : {kNearlyAsLong, 9000u, 16u}) {
            while (Take(pool, rest) != nullptr) {
            }
        }
        for (void* const range : ranges)
            mpuFree(range);
        EXPECT_EQ(Take(pool, kLong), ranges[0]);
        EXPECT_EQ(Take(pool, kLong), nullptr);
    });
}

TEST(PlatformPool, KeepsBlocksThatWereWrittenPastTheirEndOutOfUse) {
    for (const unsigned int excess : {1u, 15u, 16u}) {
        RunOnPort([excess] {
            const int pool = mpuCreate("overrun", kSize, 1, 0);
            Block before = Block::Take(pool, 64, 'b');
            auto* const damaged = static_cast<char*>(Take(pool, 60)); // guarded from byte 64 on
            Block behind = Block::Take(pool, 64, 'a');
            std::memset(damaged, 0, 64 + excess);

            LogLines lines;
            EXPECT_EQ(mpuFree(damaged), -1);
            const std::vector<std::string> logged = lines.Take();
            ASSERT_EQ(logged.size(), 1u);
            EXPECT_EQ(logged[0].substr(0, 3), "13 ");
            EXPECT_NE(logged[0].find("pool_blocks.h"), std::string::npos) << "says who took it";
            EXPECT_EQ(mpuFree(damaged), -1);

            EXPECT_TRUE(before.IsIntact());
            EXPECT_TRUE(behind.IsIntact());
            EXPECT_EQ(mpuFree(before.address), 0);
            EXPECT_EQ(mpuFree(behind.address), 0);
            while (auto* const block = static_cast<char*>(Take(pool, 16))) {
                ASSERT_TRUE(block + 16 <= damaged || block >= damaged + 64);
            }
            EXPECT_EQ(StatOf(pool).blocks, StatOf(pool).allocs - 2); // it counts as used
        });
    }
}

// One name at two places in memory, as two libraries may have it.
char g_file[] = "leak.cpp";
char g_same_file[] = "leak.cpp";

int ShowAll(cmd_element*, vty*, int, char**) {
    const int pool = mpuCreate("viewed", kSize, 1, 0);
    void* const first = mpuAlloc_(pool, 100, g_file, 7);
    void* const second = mpuAlloc_(pool, 200, g_same_file, 7);
    void* const third = mpuAlloc_(pool, 5000, "other.cpp", 8);
    mpuFree(Take(pool, 48));
    mpuShow();
    mpuShowd(pool);
    mpuShowDebug(pool);
    mpuShowd(-1);
    mpuShowDebug(INT_MAX);
    for (void* const block : {first, second, third})
        mpuFree(block);
    return 0;
}

cmd_element g_show_all{"pool views", ShowAll, nullptr, 0, 0, nullptr};

/// Returns the words of the line that contains `text`, separated by one blank.
std::string LineWith(const std::string& view, const std::string& text) {
    const size_t at = view.find(text);
    if (at == std::string::npos) return "no " + text;
    const size_t begin = view.rfind('\n', at) + 1;
    std::string words;
    for (const char c : view.substr(begin, view.find('\r', at) - begin)) {
        if (c != ' ' || (!words.empty() && words.back() != ' ')) words += c;
    }
    return words;
}

TEST(PlatformPool, ShowsItsViewsOnTheTerminalOfTheCommand) {
    RunOnPort([] {
        constexpr unsigned int kNode = 77;
        CapturedTerminal terminal;
        install_element(kNode, &g_show_all);
        ASSERT_EQ(vty_execute(terminal, kNode, "pool views"), 0);
        const std::string view = terminal.Text();
        EXPECT_NE(LineWith(view, "viewed").find("viewed 262144 5328 5376 3 0"), std::string::npos) << view;
        EXPECT_EQ(LineWith(view, "leak.cpp:7"), "2 320 leak.cpp:7") << view;
        EXPECT_EQ(LineWith(view, "other.cpp:8"), "1 5008 other.cpp:8") << view;
        EXPECT_LT(view.find("other.cpp:8"), view.find("leak.cpp:7")) << "most bytes first";
        for (size_t at = view.find('\n'); at != std::string::npos; at = view.find('\n', at + 1)) {
            EXPECT_EQ(view[at - 1], '\r');
        }
    });
}

TEST(PlatformPool, ShowsItsViewsOnStandardOutputOtherwise) {
    RunOnPort([] {
        const int pool = mpuCreate("printed", kSize, 1, 0);
        testing::internal::CaptureStdout();
        mpuShow();
        mpuShowd(pool);
        const std::string view = testing::internal::GetCapturedStdout();
        EXPECT_NE(view.find("printed"), std::string::npos);
        EXPECT_EQ(LineWith(view, "Up to bytes").substr(0, 11), "Up to bytes");
    });
}

} // namespace
