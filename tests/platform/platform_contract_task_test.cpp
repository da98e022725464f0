// Tasks, and above all their end, on every port.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"

namespace {

/// Sets a flag when it is destroyed.
struct Flagging {
    explicit Flagging(std::atomic<bool>& which) : flag(which) {}
    ~Flagging() { flag = true; }
    std::atomic<bool>& flag;
};

intptr_t g_arguments[10];

void KeepArguments(intptr_t a1, intptr_t a2, intptr_t a3, intptr_t a4, intptr_t a5, intptr_t a6, intptr_t a7,
                   intptr_t a8, intptr_t a9, intptr_t a10) {
    const intptr_t all[] = {a1, a2, a3, a4, a5, a6, a7, a8, a9, a10};
    std::copy(std::begin(all), std::end(all), g_arguments);
}

PORT_TEST(PlatformTask, GetsItsArgumentsAndKeepsItsIdUntilDeleted) {
    const uint32_t task =
        bep_taskSpawnEx("arguments", 100, 8, 32768, KeepArguments, 1, 2, 3, 4, 5, 6, 7, 8, 9, INTPTR_MIN);
    ASSERT_NE(task, 0u);
    LetOthersSettle();
    EXPECT_EQ(bep_taskDeleteEx(task), 0);
    for (intptr_t i = 0; i < 9; ++i)
        EXPECT_EQ(g_arguments[i], i + 1);
    EXPECT_EQ(g_arguments[9], INTPTR_MIN);
    EXPECT_EQ(bep_taskDeleteEx(task), -1);
    EXPECT_EQ(bep_taskSpawnEx("nothing", 100, 8, 32768, nullptr, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0), 0u);
}

PORT_TEST(PlatformTask, AnswersStaleAndForeignIdsWithAnError) {
    const PortQueue queue(1, 1);
    const PortSemaphore semaphore(true);
    std::vector<uint32_t> ids{0, 1, ~0u, queue, semaphore};
    for (int i = 0; i < 200; ++i) {
        PortTask task("short", [] {});
        ids.push_back(task.Id());
    }
    PortTask living("living", [] { Sleep(1000); });
    for (const uint32_t id : ids)
        EXPECT_EQ(bep_taskDeleteEx(id), -1) << id;
    int own_deletion = 0;
    uint32_t own_id = 0;
    const PortSemaphore told(false);
    PortTask self("self", [&] { TakeSemaphore(told), own_deletion = bep_taskDeleteEx(own_id); });
    own_id = self.Id();
    GiveSemaphore(told);
    self.WaitUntilDone();
    EXPECT_EQ(own_deletion, -1);
}

TEST(PlatformTask, IsDeletedWhereverItWaits) {
    const struct {
        const char* name;
        int returns; ///< of so many calls; the next one waits
        void (*call)(uint32_t queue, uint32_t semaphore, int ticks);
    } cases[] = {
        {"receiving", 0, [](uint32_t queue, uint32_t, int ticks) { Receive(queue, ticks); }},
        {"sending", 1, [](uint32_t queue, uint32_t, int ticks) { Send(queue, "x", ticks); }},
        {"taking", 0, [](uint32_t, uint32_t semaphore, int ticks) { TakeSemaphore(semaphore, ticks); }},
        {"sleeping", 0, [](uint32_t, uint32_t, int) { Sleep(1000000); }},
        {"sleeping again and again", INT_MAX, [](uint32_t, uint32_t, int) { Sleep(0, 1); }},
        {"polling a queue", INT_MAX, [](uint32_t queue, uint32_t, int) { Receive(queue, 0); }},
    };
    for (const auto& each : cases) {
        RunOnPort([&each] {
            for (int round = 0; round < 40; ++round) {
                const PortQueue queue(1, 1);
                const PortSemaphore semaphore(false);
                std::atomic<bool> unwound{false};
                bool returned = false;
                PortTask task("waiting", [&] {
                    const Flagging flagging(unwound);
                    for (long calls = 0; calls <= each.returns; ++calls)
                        each.call(queue, semaphore, round % 4 < 2 ? -1 : 1000000);
                    returned = true;
                });
                if (round % 2 == 0 && each.returns != INT_MAX) LetOthersSettle();
                EXPECT_EQ(task.Delete(), 0) << each.name;
                // One that was never scheduled before its deletion ends at its first end point all the same.
                EXPECT_TRUE(unwound) << each.name;
                EXPECT_FALSE(returned) << each.name;
            }
        });
    }
}

// A module's task waits on its queue, and both go together.
PORT_TEST(PlatformTask, WaitsToBeDeletedWhenItsQueueIsGone) {
    const PortQueue queue(1, 1);
    std::atomic<int> calls{0};
    const auto receive_for_ever = [&] {
        for (;;) {
            ++calls;
            Receive(queue, -1);
        }
    };
    PortTask early("early", receive_for_ever);
    LetOthersSettle();
    EXPECT_EQ(bep_msgQDeleteEx(queue), 0);
    PortTask late("late", receive_for_ever);
    PortTask sender("sender", [&] { EXPECT_EQ(Send(queue, "x", -1), -1); });
    sender.WaitUntilDone();
    LetOthersSettle();
    EXPECT_EQ(calls, 2); // nobody spins
    EXPECT_EQ(Receive(queue), std::nullopt);
    EXPECT_EQ(early.Delete(), 0);
    EXPECT_EQ(late.Delete(), 0);
}

PORT_TEST(PlatformTask, KeepsItsLimitWhenItsQueueIsDeleted) {
    const PortQueue queue(1, 1);
    const int ticks = bep_sysClkRateGetEx() / 10;
    const double start = Now();
    std::optional<std::string> result = "none";
    PortTask task("limited", [&] { result = Receive(queue, ticks); });
    LetOthersSettle();
    bep_msgQDeleteEx(queue);
    task.WaitUntilDone();
    EXPECT_EQ(result, std::nullopt);
    EXPECT_GE(Now() - start, 0.1);
}

PORT_TEST(PlatformTask, IsEndedInAReceiveEvenWhenAMessageIsThere) {
    const PortQueue queue(1, 1);
    const PortSemaphore go(false);
    bool returned = false;
    PortTask task("receiving", [&] {
        bep_taskSafeEx();
        TakeSemaphore(go, -1);
        bep_taskUnsafeEx();
        Receive(queue, -1);
        returned = true;
    });
    EXPECT_EQ(Send(queue, "x", 0), 0);
    PortTask deleter("deleter", [&] { EXPECT_EQ(task.Delete(), 0); });
    LetOthersSettle();
    GiveSemaphore(go);
    deleter.WaitUntilDone();
    EXPECT_FALSE(returned);
    EXPECT_EQ(bep_msgQNumMsgsEx(queue), 1);
}

PORT_TEST(PlatformTask, IsNotEndedBetweenSafeAndUnsafe) {
    const PortQueue queue(1, 1);
    const PortSemaphore semaphore(false);
    std::string done;
    PortTask task("protected", [&] {
        bep_taskSafeEx();
        bep_taskSafeEx();
        if (TakeSemaphore(semaphore, -1) == 0) done += "taken ";
        if (!Receive(queue, 1)) done += "waited ";
        bep_taskUnsafeEx();
        const double start = Now();
        if (Sleep(0, 20'000'000) == 0 && Now() - start >= 0.02) done += "slept ";
        bep_taskUnsafeEx();
        if (GiveSemaphore(semaphore) == 0) done += "gave "; // no end point
        Receive(queue, -1);
        done += "went on ";
    });
    LetOthersSettle();
    PortTask deleter("deleter", [&] { EXPECT_EQ(task.Delete(), 0); });
    LetOthersSettle();
    EXPECT_EQ(done, "");
    GiveSemaphore(semaphore);
    deleter.WaitUntilDone();
    EXPECT_EQ(done, "taken waited slept gave ");
    EXPECT_EQ(TakeSemaphore(semaphore, 0), 0);
}

/// A lock that waits for another task when it goes, as destructors may.
struct SlowGuard {
    SlowGuard(uint32_t lock, uint32_t event) : lock_id(lock), event_id(event) { TakeSemaphore(lock, -1); }
    ~SlowGuard() {
        EXPECT_EQ(TakeSemaphore(event_id, -1), 0);
        EXPECT_EQ(Sleep(0, 1), 0);
        GiveSemaphore(lock_id);
    }
    uint32_t lock_id;
    uint32_t event_id;
};

PORT_TEST(PlatformTask, RunsItsDestructorsAndCatchBlocksToTheEnd) {
    const PortSemaphore lock(true);
    const PortSemaphore event(false);
    bool is_caught = false;
    PortTask task("guarded", [&] {
        const SlowGuard guard(lock, event);
        try {
            Sleep(1000000);
        } catch (...) {
            EXPECT_EQ(Sleep(0, 1), 0);
            is_caught = true;
            throw;
        }
    });
    LetOthersSettle();
    EXPECT_EQ(TakeSemaphore(lock, 0), -1);
    PortTask deleter("deleter", [&] { EXPECT_EQ(task.Delete(), 0); });
    LetOthersSettle();
    GiveSemaphore(event);
    deleter.WaitUntilDone();
    EXPECT_TRUE(is_caught);
    EXPECT_EQ(TakeSemaphore(lock, 0), 0);
}

PORT_TEST(PlatformTask, IsDeletedByOneOfTwoOperators) {
    for (int round = 0; round < 50; ++round) {
        PortTask task("wanted", [] { Sleep(1000000); });
        int results[2] = {1, 1};
        PortTask one("one", [&] { results[0] = bep_taskDeleteEx(task.Id()); });
        PortTask two("two", [&] { results[1] = bep_taskDeleteEx(task.Id()); });
        one.WaitUntilDone();
        two.WaitUntilDone();
        ASSERT_EQ(results[0] + results[1], -1);
    }
}

PORT_TEST(PlatformTask, DoesNotWaitForATaskThatIsDeletingIt) {
    for (int round = 0; round < 20; ++round) {
        const PortSemaphore go(false);
        uint32_t ids[2] = {};
        std::atomic<int> results[2] = {{1}, {1}};
        const auto delete_other = [&](int self) {
            TakeSemaphore(go, -1);
            GiveSemaphore(go);
            results[self] = bep_taskDeleteEx(ids[1 - self]);
        };
        PortTask one("one", [&] { delete_other(0); });
        PortTask two("two", [&] { delete_other(1); });
        ids[0] = one.Id();
        ids[1] = two.Id();
        GiveSemaphore(go);
        LetOthersSettle();
        ASSERT_TRUE(results[0] != 1 || results[1] != 1) << "both hang";
        one.Delete();
        two.Delete();
    }
}

PORT_TEST(PlatformTask, SleepsForTheTimeAskedAndRefusesNonsense) {
    const double start = Now();
    EXPECT_EQ(Sleep(0, 30'000'000), 0);
    EXPECT_GE(Now() - start, 0.03);
    EXPECT_EQ(Sleep(0, 0), 0);
    EXPECT_EQ(Sleep(0, 1'000'000'000), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(Sleep(-1, 0), -1);
}

} // namespace
