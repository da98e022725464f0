// Memory pools, on every port: many tasks at once.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
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

TEST(PlatformPool, UsesTheStocksOfOtherTasksBeforeItRefuses) {
    RunOnPort([] {
        const int pool = mpuCreate("stocked", kSize, 1, 0);
        const std::vector<void*> all = TakeAll(pool, 64);
        // The blocks come back through tasks that stay and through tasks that end.
        const uint32_t leave = NewSemaphore(false);
        std::vector<std::unique_ptr<PortTask>> tasks;
        for (size_t first = 0; first < 8; ++first) {
            tasks.push_back(std::make_unique<PortTask>("returning", [&, first] {
                for (size_t i = first; i < all.size(); i += 8)
                    mpuFree(all[i]);
                if (first % 2 == 0) TakeSemaphore(leave);
            }));
        }
        LetOthersSettle();
        EXPECT_EQ(StatOf(pool).used, 0u);
        EXPECT_EQ(TakeAll(pool, 64).size(), all.size());
        EXPECT_EQ(StatOf(pool).used, 64 * all.size());
        tasks.clear();
        bep_semDeleteEx(leave);

        const int other = mpuCreate("in one piece", kSize, 1, 0);
        PortTask using_it("using", [&] {
            for (void* const block : TakeAll(other, 200))
                mpuFree(block);
        });
        using_it.WaitUntilDone();
        EXPECT_NE(Take(other, kSize), nullptr);
    });
}

// Several tasks hold blocks at once, as many as together make the peak.
TEST(PlatformPool, CountsTheExactPeakOfAllTasks) {
    RunOnPort([] {
        constexpr size_t kTasks = 5;
        constexpr size_t kBlocks = 40;
        const int pool = mpuCreate("peak", kSize, 1, 0);
        const uint32_t queue = NewQueue(kTasks * kBlocks, sizeof(void*));
        for (int round = 0; round < 3; ++round) {
            std::vector<std::unique_ptr<PortTask>> tasks;
            for (size_t i = 0; i < kTasks; ++i) {
                tasks.push_back(std::make_unique<PortTask>("holding", [&] {
                    for (size_t n = 0; n < kBlocks; ++n) {
                        void* const block = Take(pool, 16);
                        SendThing(queue, block);
                    }
                }));
            }
            for (const auto& task : tasks)
                task->WaitUntilDone();
            EXPECT_EQ(StatOf(pool).used, kTasks * kBlocks * 16);
            // The main task returns what the others took, so that allowances of all kinds are about.
            void* block = nullptr;
            while (ReceiveThing(queue, &block, 0)) {
                EXPECT_EQ(mpuFree(block), 0);
            }
            EXPECT_EQ(StatOf(pool).used, 0u);
            EXPECT_EQ(StatOf(pool).peak, kTasks * kBlocks * 16);
        }
        Block blocks[3] = {Block::Take(pool, 1600, 'x'), Block::Take(pool, 1000, 'y'),
                           Block::Take(pool, 700, 'z')};
        EXPECT_EQ(StatOf(pool).peak, 1600u + 1008u + 704u);
        for (const Block& each : blocks)
            mpuFree(each.address);
        bep_msgQDeleteEx(queue);
    });
}

constexpr unsigned int kSmall = 4 * 1024;
constexpr unsigned int kTrades = 20000;

/// Takes random blocks, passes some on, and returns its own and others'.
void Trade(int pool, uint32_t queue, Seeded random, unsigned long* taken) {
    for (unsigned int i = 0; i < kTrades; ++i) {
        Block block = Block::Take(pool, 1 + random.Below(160), random.Byte());
        if (block.address != nullptr) {
            ++*taken;
            if (random.Below(2) == 0 || !SendThing(queue, block, 0)) {
                EXPECT_TRUE(block.IsIntact());
                EXPECT_EQ(mpuFree(block.address), 0);
            }
        }
        if (ReceiveThing(queue, &block, 0)) {
            EXPECT_TRUE(block.IsIntact());
            EXPECT_EQ(mpuFree(block.address), 0);
        }
    }
}

TEST(PlatformPool, ServesManyTasksAtOnce) {
    RunOnPort([] {
        Seeded seeds;
        const int pool = mpuCreate("traded", kSmall, 1, 0); // runs out all the time
        const uint32_t queue = NewQueue(60, sizeof(Block));
        unsigned long taken[4] = {};
        std::vector<std::unique_ptr<PortTask>> tasks;
        for (unsigned long& count : taken) {
            Seeded random = seeds;
            for (size_t skip = 0; skip < static_cast<size_t>(&count - taken); ++skip)
                random.Bits();
            tasks.push_back(
                std::make_unique<PortTask>("trading", [&, random] { Trade(pool, queue, random, &count); }));
        }
        for (const auto& task : tasks)
            task->WaitUntilDone();
        tasks.clear();
        Block block;
        while (ReceiveThing(queue, &block, 0)) {
            EXPECT_EQ(mpuFree(block.address), 0);
        }
        const mpu_stat stat = StatOf(pool);
        EXPECT_EQ(stat.used, 0u);
        EXPECT_EQ(stat.blocks, 0u);
        EXPECT_EQ(stat.allocs, taken[0] + taken[1] + taken[2] + taken[3]);
        EXPECT_EQ(stat.allocs + stat.fails, 4 * kTrades);
        EXPECT_LE(stat.peak, stat.size);
        EXPECT_NE(Take(pool, kSmall), nullptr) << "a block is lost";
        bep_msgQDeleteEx(queue);
    });
}

int g_watched = -1;

int ShowWatched(cmd_element*, vty*, int, char**) {
    mpuShowd(g_watched);
    mpuShowDebug(g_watched);
    return 0;
}

cmd_element g_show_watched{"watched pool", ShowWatched, nullptr, 0, 0, nullptr};

// Blocks are on their way all the time while the views walk and one task gives back what it has not got.
TEST(PlatformPool, TellsNothingFalseOfBlocksThatAreOnTheirWay) {
    RunOnPort([] {
        constexpr unsigned int kUnstocked = 9000; // goes through the free ranges each time
        constexpr unsigned int kNode = 78;
        g_watched = mpuCreate("watched", kSize, 1, 0);
        const std::vector<void*> all = TakeAll(g_watched, kUnstocked);
        for (size_t i = 0; i < all.size(); i += 2)
            mpuFree(all[i]);
        LogLines lines;
        std::atomic<int> busy{3};
        std::vector<std::unique_ptr<PortTask>> tasks;
        for (int which = 0; which < 3; ++which) {
            tasks.push_back(std::make_unique<PortTask>("busy", [&, which] {
                for (int i = 0; i < 6000; ++i) {
                    void* const one = which == 2 ? all[0] : Take(g_watched, kUnstocked);
                    mpuFree(one);
                }
                --busy;
            }));
        }
        CapturedTerminal terminal;
        install_element(kNode, &g_show_watched);
        for (bool last = false; !last;) {
            last = busy == 0;
            ASSERT_EQ(vty_execute(terminal, kNode, "watched pool"), 0);
            const std::string view = terminal.Text();
            const size_t places = view.find("Taken at\r\n") + 10;
            ASSERT_EQ(view.find('\n', places), view.size() - 1) << view;
            ASSERT_NE(view.find("pool_blocks.h", places), std::string::npos) << view;
        }
        tasks.clear();
        for (const std::string& line : lines.Take())
            ASSERT_EQ(line.find("written past"), std::string::npos) << line;
    });
}

TEST(PlatformPool, LetsOneOfTwoTasksReturnABlock) {
    RunOnPort([] {
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
    });
}

} // namespace
