// Memory pools, on every port: many tasks at once.
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/mpu.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"
#include "tests/support/pool_blocks.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"
#include "tests/support/seeded.h"

namespace {

constexpr unsigned int kSize = 256 * 1024;

/// Takes blocks until the pool refuses.
std::vector<void*> TakeAll(int pool, unsigned int size) {
    std::vector<void*> blocks;
    while (void* const block = Take(pool, size))
        blocks.push_back(block);
    return blocks;
}

PORT_TEST(PlatformPool, UsesTheStocksOfOtherTasksBeforeItRefuses) {
    const int pool = mpuCreate("stocked", kSize, 1, 0);
    const std::vector<void*> all = TakeAll(pool, 64);
    // The blocks come back through tasks that stay and through tasks that end.
    const PortSemaphore leave(false);
    PortTasks tasks(8, [&](int first) {
        for (size_t i = static_cast<size_t>(first); i < all.size(); i += 8)
            mpuFree(all[i]);
        if (first % 2 == 0) TakeSemaphore(leave);
    });
    LetOthersSettle();
    EXPECT_EQ(StatOf(pool).used, 0u);
    EXPECT_EQ(TakeAll(pool, 64).size(), all.size());
    EXPECT_EQ(StatOf(pool).used, 64 * all.size());
    tasks.Delete();

    const int other = mpuCreate("in one piece", kSize, 1, 0);
    PortTask using_it("using", [&] {
        for (void* const block : TakeAll(other, 200))
            mpuFree(block);
    });
    using_it.WaitUntilDone();
    EXPECT_NE(Take(other, kSize), nullptr);
}

// Several tasks hold blocks at once, as many as together make the peak.
PORT_TEST(PlatformPool, CountsTheExactPeakOfAllTasks) {
    constexpr size_t kTasks = 5;
    constexpr size_t kBlocks = 40;
    const int pool = mpuCreate("peak", kSize, 1, 0);
    const PortQueue queue(kTasks * kBlocks, sizeof(void*));
    for (int round = 0; round < 3; ++round) {
        const PortTasks tasks(kTasks, [&](int) {
            for (size_t n = 0; n < kBlocks; ++n)
                SendThing(queue, Take(pool, 16));
        });
        tasks.WaitUntilDone();
        EXPECT_EQ(StatOf(pool).used, kTasks * kBlocks * 16);
        // The main task returns what the others took, so that allowances of all kinds are about.
        void* block = nullptr;
        while (ReceiveThing(queue, &block, 0))
            ASSERT_EQ(mpuFree(block), 0);
        EXPECT_EQ(StatOf(pool).used, 0u);
        EXPECT_EQ(StatOf(pool).peak, kTasks * kBlocks * 16);
        for (int again = 0; again < 1000; ++again)
            mpuFree(Take(pool, 16)); // so the main task has an allowance of its own
    }
    Block blocks[3] = {Block::Take(pool, 1600, 'x'), Block::Take(pool, 1000, 'y'),
                       Block::Take(pool, 700, 'z')};
    EXPECT_EQ(StatOf(pool).peak, 1600u + 1008u + 704u);
    for (const Block& each : blocks)
        mpuFree(each.address);
}

constexpr unsigned int kSmall = 4 * 1024;
constexpr unsigned int kTrades = 20000;

/// Takes random blocks, passes some on, and returns its own and others'.
void Trade(int pool, uint32_t queue, Seeded random, unsigned long* taken) {
    const auto give_back = [](const Block& block) {
        EXPECT_TRUE(block.IsIntact());
        EXPECT_EQ(mpuFree(block.address), 0);
    };
    for (unsigned int i = 0; i < kTrades; ++i) {
        Block block = Block::Take(pool, 1 + random.Below(160), random.Byte());
        *taken += block.address != nullptr ? 1 : 0;
        if (block.address != nullptr && (random.Below(2) == 0 || !SendThing(queue, block, 0)))
            give_back(block);
        if (ReceiveThing(queue, &block, 0)) give_back(block);
    }
}

PORT_TEST(PlatformPool, ServesManyTasksAtOnce) {
    Seeded seeds;
    const int pool = mpuCreate("traded", kSmall, 1, 0); // runs out all the time
    const PortQueue queue(60, sizeof(Block));
    unsigned long taken[4] = {};
    PortTasks tasks(4, [&](int number) {
        Seeded random = seeds;
        for (int skip = 0; skip < number; ++skip)
            random.Bits();
        Trade(pool, queue, random, &taken[number]);
    });
    tasks.WaitUntilDone();
    tasks.Delete();
    Block block;
    while (ReceiveThing(queue, &block, 0))
        ASSERT_EQ(mpuFree(block.address), 0);
    const mpu_stat stat = StatOf(pool);
    EXPECT_EQ(stat.used, 0u);
    EXPECT_EQ(stat.blocks, 0u);
    EXPECT_EQ(stat.allocs, taken[0] + taken[1] + taken[2] + taken[3]);
    EXPECT_EQ(stat.allocs + stat.fails, 4 * kTrades);
    EXPECT_LE(stat.peak, stat.size);
    EXPECT_NE(Take(pool, kSmall), nullptr) << "a block is lost";
}

int g_watched = -1;

int ShowWatched(cmd_element*, vty*, int, char**) {
    mpuShowd(g_watched);
    mpuShowDebug(g_watched);
    return 0;
}

// Blocks are on their way all the time while the views walk and one task gives back what it has not got.
PORT_TEST(PlatformPool, TellsNothingFalseOfBlocksThatAreOnTheirWay) {
    constexpr unsigned int kUnstocked = 9000; // goes through the free ranges each time
    constexpr unsigned int kNode = 78;
    g_watched = mpuCreate("watched", kSize, 1, 0);
    const std::vector<void*> all = TakeAll(g_watched, kUnstocked);
    for (size_t i = 0; i < all.size(); i += 2)
        mpuFree(all[i]);
    LogLines lines;
    std::atomic<int> busy{3};
    PortTasks tasks(3, [&](int which) {
        for (int i = 0; i < 6000; ++i)
            mpuFree(which == 2 ? all[0] : Take(g_watched, kUnstocked));
        --busy;
    });
    CapturedTerminal terminal;
    Install(kNode, "watched pool", ShowWatched);
    for (bool last = false; !last;) {
        last = busy == 0;
        ASSERT_EQ(vty_execute(terminal, kNode, "watched pool"), 0);
        const std::string view = terminal.Text();
        const size_t places = view.find("Taken at\r\n") + 10;
        ASSERT_EQ(view.find('\n', places), view.size() - 1) << view;
        ASSERT_NE(view.find("pool_blocks.h", places), std::string::npos) << view;
    }
    tasks.Delete();
    for (const std::string& line : lines.Take())
        ASSERT_EQ(line.find("written past"), std::string::npos) << line;
}

PORT_TEST(PlatformPool, LetsOneOfTwoTasksReturnABlock) {
    const int pool = mpuCreate("twice", kSize, 1, 0);
    LogLines lines;
    for (int round = 0; round < 200; ++round) {
        void* const block = Take(pool, round % 2 == 0 ? 64 : 4000);
        int results[2] = {1, 1};
        PortTask one("one", [&] { results[0] = mpuFree(block); });
        PortTask two("two", [&] { results[1] = mpuFree(block); });
        one.WaitUntilDone();
        two.WaitUntilDone();
        ASSERT_EQ(results[0] + results[1], -1);
    }
    EXPECT_EQ(lines.Take().size(), 200u);
    EXPECT_EQ(StatOf(pool).blocks, 0u);
}

} // namespace
