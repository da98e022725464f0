/// Clock on virtual time.

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "tests/support/on_board.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr auto kDay = 24h;

SimOptions ForYears() {
    SimOptions options;
    options.limit = 1000 * kDay;
    return options;
}

TEST(Clock, CountsWholeUnitsAndStampsAgain) {
    OnBoard(ForYears(), [](Simulation& board) {
        const struct {
            SimTime start, span; // the start decides whether nanoseconds are borrowed from a second
            ClockPrecision precision;
            unsigned long long units;
        } cases[] = {{700ms, 999'999'999ns, CLOCK_PRECISION_S, 0},
                     {700ms, 1s, CLOCK_PRECISION_S, 1},
                     {0ns, 1'234'567'899ns, CLOCK_PRECISION_MS, 1234},
                     {999'999'999ns, 1'999'999ns, CLOCK_PRECISION_MS, 1},
                     {900ms, 5'200'000'500ns, CLOCK_PRECISION_US, 5'200'000},
                     {1ns, 7ns, static_cast<ClockPrecision>(7), 7},
                     {0ns, 100 * kDay, CLOCK_PRECISION_NS, 8'640'000'000'000'000}};
        for (const auto& c : cases) {
            board.Sleep(c.start);
            Clock clock;
            const Clock earlier(clock);
            board.Sleep(c.span);
            EXPECT_EQ(clock.Diff(c.precision), c.units) << c.span.count();
            EXPECT_EQ(clock.Diff(c.precision), 0U);
            EXPECT_EQ(clock - earlier, c.span / 1ms);
        }
    });
}

TEST(Clock, IsNeverBeforeItselfAndLastsBeyond2106) {
    OnBoard(ForYears(), [](Simulation& board) {
        Clock clock;
        for (const SimTime back : {SimTime(1ns), SimTime(400ms), SimTime(50 * kDay)}) {
            const Clock future;
            board.StepCalendar(-back);
            EXPECT_EQ(Clock() - future, 0);
            EXPECT_EQ(clock.Diff(CLOCK_PRECISION_NS), 0U);
            board.Sleep(3ms); // from the new time on it counts again
            EXPECT_EQ(clock.Diff(CLOCK_PRECISION_MS), 3U);
        }
        board.StepCalendar(100 * 365 * kDay);
        EXPECT_EQ(clock.Diff(CLOCK_PRECISION_S), 100ULL * 365 * 86400);
        EXPECT_EQ(clock.ToString().substr(0, 4), "2125");
    });
}

TEST(Clock, DelaysAndTellsTheCurrentDateAndTime) {
    OnBoard(ForYears(), [](Simulation& board) {
        const Clock stamped_before;
        board.Sleep(31 * kDay + 2h + 3min + 4s);
        EXPECT_EQ(Clock::Delay(1056), 0);
        EXPECT_EQ(Clock::Delay(0), 0);
        EXPECT_EQ(Clock::Delay(-1), -1);
        EXPECT_EQ(board.Now(), 31 * kDay + 2h + 3min + 5s + 56ms);
        EXPECT_EQ(stamped_before.ToString(), "2026/02/01 02:03:05:0056");
        TimeSpec now;
        Clock::ToTimeSpec(now);
        EXPECT_EQ(now.year * 10000 + now.month * 100 + now.day, 20260201);
        EXPECT_EQ(now.hour * 10000 + now.minute * 100 + now.second, 20305);
        EXPECT_EQ(now.millisecond, 56);
    });
}

TEST(Clock, IsStampedAndReadByTwoTasksAtOnce) {
    Clock shared;
    const Clock start;
    std::thread stamping([&shared] {
        for (int i = 0; i < 20000; ++i)
            shared.Now();
    });
    for (int i = 0; i < 20000; ++i)
        EXPECT_LT(Clock(shared) - start, 60'000);
    stamping.join();
}

} // namespace
