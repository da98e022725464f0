// Memory pools, on every port: what one task sees of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/mpu.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"
#include "tests/support/pool_blocks.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"
#include "tests/support/seeded.h"

namespace {

constexpr unsigned int kSize = 256 * 1024;

/// The numbers of a pool, to compare.
std::vector<size_t> Numbers(const mpu_stat& stat) {
    return {stat.size, stat.used, stat.peak, stat.blocks, stat.allocs, stat.fails};
}

PORT_TEST(PlatformPool, RefusesWhatItCannotServe) {
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
    ASSERT_EQ(Numbers(StatOf(pool)), Numbers(model.stat));
}

PORT_TEST(PlatformPool, FollowsAModelThroughRandomOperations) {
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
    ASSERT_EQ(Numbers(StatOf(pool)), Numbers(model.stat));
    // Nothing is lost and all is in one piece again.
    void* const whole = Take(pool, kSize);
    ASSERT_NE(whole, nullptr);
    std::memset(whole, 0x5A, kSize);
    EXPECT_EQ(mpuFree(whole), 0);
}

PORT_TEST(PlatformPool, ReportsAndRefusesBadPointers) {
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
    ASSERT_EQ(Numbers(StatOf(pool)), Numbers(before));
    EXPECT_EQ(mpuFree(block), 0);
}

PORT_TEST(PlatformPool, ServesALastRequestFromTheOneFreeRangeThatIsLongEnough) {
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
    PortTask("passing", [=] { mpuFree(Take(pool, 400)); }).WaitUntilDone(); // its stock ends with it
    void* const blocks[] = {mpuAlloc_(pool, 100, g_file, 7), mpuAlloc_(pool, 200, g_same_file, 7),
                            mpuAlloc_(pool, 5000, "other.cpp", 8)};
    mpuFree(Take(pool, 48));
    mpuShow();
    mpuShowd(pool);
    mpuShowDebug(pool);
    mpuShowd(-1);
    mpuShowDebug(INT_MAX);
    for (void* const block : blocks)
        mpuFree(block);
    return 0;
}

PORT_TEST(PlatformPool, ShowsItsViewsOnTheTerminalOfTheCommandElseOnStandardOutput) {
    constexpr unsigned int kNode = 77;
    CapturedTerminal terminal;
    Install(kNode, "pool views", ShowAll);
    ASSERT_EQ(vty_execute(terminal, kNode, "pool views"), 0);
    const std::string shown = terminal.Text();
    EXPECT_FALSE(std::regex_search(shown, std::regex("[^\r]\n"))) << shown;
    const std::string view = std::regex_replace(shown, std::regex(" +"), " ");
    for (const char* line : {" viewed 262144 5328 5376 3 0", " 256 1 208 3 624 0 0\r\n 8192 1 5008",
                             " 2 320 leak.cpp:7\r", " 1 5008 other.cpp:8\r"})
        EXPECT_NE(view.find(line), std::string::npos) << line << " in " << view;
    EXPECT_LT(view.find("other.cpp:8"), view.find("leak.cpp:7")) << "most bytes first";

    testing::internal::CaptureStdout();
    ShowAll(nullptr, nullptr, 0, nullptr);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("other.cpp:8"), std::string::npos);
    EXPECT_EQ(terminal.Text(), "");
}

} // namespace
