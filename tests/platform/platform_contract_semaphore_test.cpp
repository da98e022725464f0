// Binary semaphores, on every port.
#include <gtest/gtest.h>

#include "onu_mng_platform/bep.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"

namespace {

PORT_TEST(PlatformSemaphore, IsTakenOnceForAnyNumberOfGives) {
    const PortSemaphore semaphore(true);
    EXPECT_EQ(TakeSemaphore(semaphore, 0), 0);
    EXPECT_EQ(TakeSemaphore(semaphore, 0), -1);
    EXPECT_EQ(GiveSemaphore(semaphore), 0);
    EXPECT_EQ(GiveSemaphore(semaphore), 0);
    EXPECT_EQ(TakeSemaphore(semaphore), 0);
    const int ticks = bep_sysClkRateGetEx() / 20;
    const double start = Now();
    EXPECT_EQ(TakeSemaphore(semaphore, ticks), -1);
    EXPECT_GE(Now() - start, 0.05);
    EXPECT_EQ(bep_semDeleteEx(semaphore), 0);
    const PortSemaphore taken(false);
    EXPECT_EQ(TakeSemaphore(taken, 0), -1);
}

PORT_TEST(PlatformSemaphore, AnswersStaleAndForeignIdsWithAnError) {
    const PortQueue queue(1, 1);
    const PortSemaphore stale(true);
    EXPECT_EQ(bep_semDeleteEx(stale), 0);
    const PortSemaphore reused(true);
    for (const uint32_t id : {0u, ~0u, uint32_t{stale}, uint32_t{queue}, reused + 12345}) {
        EXPECT_EQ(TakeSemaphore(id), -1) << id;
        EXPECT_EQ(GiveSemaphore(id), -1) << id;
        EXPECT_EQ(bep_semDeleteEx(id), -1) << id;
    }
    EXPECT_EQ(TakeSemaphore(reused, 0), 0);
}

PORT_TEST(PlatformSemaphore, LetsOneTaskInAtATime) {
    const PortSemaphore semaphore(true);
    long counter = 0; // no atomic: the semaphore is what is tested
    const PortTasks tasks(4, [&](int) {
        for (int n = 0; n < 5000; ++n) {
            // With and without limit, which are not the same road.
            if (TakeSemaphore(semaphore, n % 2 == 0 ? -1 : 60 * bep_sysClkRateGetEx()) != 0) return;
            ++counter;
            GiveSemaphore(semaphore);
        }
    });
    tasks.WaitUntilDone();
    EXPECT_EQ(counter, 4 * 5000);
}

PORT_TEST(PlatformSemaphore, ServesEveryWaiter) {
    const PortSemaphore gate(false);
    const PortTasks tasks(8, [&](int) {
        if (TakeSemaphore(gate) == 0) GiveSemaphore(gate);
    });
    LetOthersSettle();
    EXPECT_EQ(GiveSemaphore(gate), 0); // one is let in and lets in the next
    tasks.WaitUntilDone();
    EXPECT_EQ(TakeSemaphore(gate, 0), 0);
}

// A waiter that is deleted, or gives up, just when the semaphore is given to it must not take the wake-up of
// the others along.
PORT_TEST(PlatformSemaphore, LosesNoWakeUpWithADeletedWaiter) {
    for (int round = 0; round < 100; ++round) {
        const PortSemaphore semaphore(false);
        PortTask doomed("doomed", [&] { TakeSemaphore(semaphore, round % 4 < 2 ? -1 : round % 3); });
        if (round % 2 == 0) LetOthersSettle();
        int result = 1;
        PortTask patient("patient", [&] { result = TakeSemaphore(semaphore); });
        PortTask giver("giver", [&] { GiveSemaphore(semaphore); });
        doomed.Delete();
        giver.WaitUntilDone();
        GiveSemaphore(semaphore); // in place of the one that `doomed` may have taken
        patient.WaitUntilDone();
        ASSERT_EQ(result, 0);
    }
}

PORT_TEST(PlatformSemaphore, DeletionReleasesWaitersWithALimitAndKeepsTheOthersWaiting) {
    const PortSemaphore semaphore(false);
    int limited_result = 1;
    PortTask limited("limited",
                     [&] { limited_result = TakeSemaphore(semaphore, 1000 * bep_sysClkRateGetEx()); });
    bool went_on = false;
    PortTask unlimited("unlimited", [&] {
        TakeSemaphore(semaphore);
        went_on = true;
    });
    LetOthersSettle();
    EXPECT_EQ(bep_semDeleteEx(semaphore), 0);
    limited.WaitUntilDone();
    EXPECT_EQ(limited_result, -1);
    LetOthersSettle();
    EXPECT_EQ(unlimited.Delete(), 0);
    EXPECT_FALSE(went_on);
}

} // namespace
