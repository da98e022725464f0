// What the port for Linux promises beyond the contract of every port.
#include <gtest/gtest.h>

#include <grp.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/sync/futex.h"
#include "onu_mng_platform/common/sync/short_lock.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/log_lines.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"

namespace {

PORT_TEST(PosixTask, HasTheNameItWasGivenAsFarAsTheSystemKeepsIt) {
    char name[16] = {};
    PortTask task("OmciUpgExcDetect", [&] { pthread_getname_np(pthread_self(), name, sizeof(name)); });
    task.WaitUntilDone();
    EXPECT_STREQ(name, "OmciUpgExcDetec");
}

struct Stack {
    size_t size = 0;
    size_t guard = 0;
    int sum = 0;
};

void UseTheStack(intptr_t argument, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                 intptr_t, intptr_t) {
    auto& stack = *reinterpret_cast<Stack*>(argument);
    pthread_attr_t attributes;
    pthread_getattr_np(pthread_self(), &attributes);
    pthread_attr_getstacksize(&attributes, &stack.size);
    pthread_attr_getguardsize(&attributes, &stack.guard);
    pthread_attr_destroy(&attributes);
    volatile char asked_for[32768];
    for (size_t i = 0; i < sizeof(asked_for); ++i)
        asked_for[i] = 1;
    stack.sum = asked_for[0] + asked_for[sizeof(asked_for) - 1];
}

PORT_TEST(PosixTask, HasTheWholeStackItAskedForAndAGuardPage) {
    Stack stack;
    const uint32_t task = bep_taskSpawnEx("stack", 100, 8, 32768, UseTheStack,
                                          reinterpret_cast<intptr_t>(&stack), 0, 0, 0, 0, 0, 0, 0, 0, 0);
    LetOthersSettle();
    bep_taskDeleteEx(task);
    EXPECT_GE(stack.size, 32768u);
    EXPECT_GE(stack.guard, 4096u);
    EXPECT_EQ(stack.sum, 2);
}

TEST(PosixTask, RunsAtThePriorityItAskedFor) {
    if (geteuid() != 0) GTEST_SKIP() << "has no right to real-time priorities";
    RunOnPort([] {
        int last = 100;
        for (const unsigned int priority : {0u, 1u, 100u, 200u, 255u, 1000u}) {
            int policy = 0;
            sched_param parameters{};
            PortTask task(
                "priority", [&] { pthread_getschedparam(pthread_self(), &policy, &parameters); }, priority);
            task.WaitUntilDone();
            EXPECT_EQ(policy, SCHED_RR);
            EXPECT_LE(parameters.sched_priority, last);
            last = parameters.sched_priority;
            if (priority == 0) {
                EXPECT_EQ(last, sched_get_priority_max(SCHED_RR));
            }
        }
        EXPECT_EQ(last, sched_get_priority_min(SCHED_RR));
    });
}

/// Runs tasks without the right to their priorities; exits with 0 when they ran and the log said so once.
[[noreturn]] void RunWithoutRights() {
    const rlimit none{0, 0};
    setrlimit(RLIMIT_RTPRIO, &none);
    constexpr uid_t kNobody = 65534;
    if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setuid(kNobody) != 0)) std::_Exit(2);
    std::atomic<int> runs{0};
    LogLines lines;
    for (int i = 0; i < 3; ++i) {
        PortTask task("humble", [&] { ++runs; });
        if (!task.WaitUntilDone()) std::_Exit(3);
    }
    const std::vector<std::string> said = lines.Take();
    std::_Exit(runs == 3 && said.size() == 1 && said[0].substr(0, 3) == "11 " ? 0 : 1);
}

TEST(PosixTask, SaysOnceThatItHasNoRightToItsPriorityAndGoesOn) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(RunWithoutRights(), testing::ExitedWithCode(0), "");
}

PORT_TEST(PosixTask, EndsAloneWhenAnExceptionLeavesIt) {
    LogLines lines;
    const auto run = [&](void (*body)()) {
        PortTask task("failing", body);
        LetOthersSettle();
        EXPECT_EQ(task.Delete(), 0);
        return lines.Take();
    };
    EXPECT_EQ(run([] { throw std::runtime_error("out of luck"); }),
              Lines{"15 Task failing has ended by an exception: out of luck"});
    EXPECT_EQ(run([] { throw 42; }),
              Lines{"15 Task failing has ended by an exception that is no std::exception"});
    EXPECT_EQ(run([] { pthread_exit(nullptr); }), Lines{});
    EXPECT_EQ(run([] { Sleep(1000000); }), Lines{});
}

/// Waits in its destructor.
struct LateWaiter {
    ~LateWaiter() { Receive(queue, 1); }
    uint32_t queue = 0;
};

PORT_TEST(PosixTask, IsNotEndedAnyMoreWhenItsThreadsObjectsGo) {
    const PortQueue queue(1, 1);
    PortTask task("late", [&] {
        static thread_local LateWaiter waiter;
        waiter.queue = queue;
        Sleep(1000000);
    });
    LetOthersSettle();
    EXPECT_EQ(task.Delete(), 0);
}

/// Returns the priority at which the system runs a thread now; a smaller number is a higher one.
int EffectivePriority(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text;
    std::getline(file, text, ')'); // the name may hold blanks
    int priority = 0;
    std::string skipped;
    for (int field = 3; field < 18; ++field)
        file >> skipped;
    file >> priority;
    return priority;
}

/// Has a task of low priority run `hold`, which takes a lock and waits there for `go`, and one of high
/// priority run `want`, which takes the same lock.
void ExpectPriorityIsLent(uint32_t go, const std::function<void()>& hold, const std::function<void()>& want) {
    std::atomic<pid_t> low_thread{0};
    std::atomic<pid_t> high_thread{0};
    PortTask low(
        "low", [&] { low_thread = gettid(), hold(); }, 250);
    LetOthersSettle();
    const int own_priority = EffectivePriority(low_thread);
    PortTask high(
        "high", [&] { high_thread = gettid(), want(); }, 5);
    LetOthersSettle();
    EXPECT_LT(EffectivePriority(low_thread), own_priority);
    EXPECT_EQ(EffectivePriority(low_thread), EffectivePriority(high_thread));
    GiveSemaphore(go);
    EXPECT_TRUE(high.WaitUntilDone());
}

TEST(PosixLocks, LendTheirHolderThePriorityOfATaskThatWaits) {
    if (geteuid() != 0) GTEST_SKIP() << "has no right to real-time priorities";
    RunOnPort([] {
        static uint32_t go = NewSemaphore(false);
        onu_mng_platform::ShortLock lock;
        const auto lock_it = [&](const std::function<void()>& inside) {
            const std::lock_guard<onu_mng_platform::ShortLock> guard(lock);
            inside();
        };
        ExpectPriorityIsLent(
            go, [&] { lock_it([] { TakeSemaphore(go, -1); }); }, [&] { lock_it([] {}); });

        ulogSetSink(
            [](void*, unsigned int, int, const char* text) {
                if (text[0] == 'l') TakeSemaphore(go, -1);
            },
            nullptr);
        ExpectPriorityIsLent(
            go, [] { ulogPrintf(7, 15, "low\r\n"); }, [] { ulogPrintf(7, 15, "high\r\n"); });
        ulogSetSink(nullptr, nullptr);
        bep_semDeleteEx(go);
    });
}

// The system for boards of 32 bits lacks the wide call before 5.1, and all calls look the same on 64.
TEST(PosixFutex, WaitsWithoutTheCallForWideTimesAndNeverSpins) {
    constexpr long kMissing = 100000;
    for (const long narrow_call : {static_cast<long>(SYS_futex), kMissing}) {
        onu_mng_platform::FutexWaiter waiter(kMissing, narrow_call);
        const std::atomic<uint32_t> word{7};
        const double end = Now() + 0.05;
        const timespec deadline{static_cast<time_t>(end), static_cast<long>((end - std::floor(end)) * 1e9)};
        int waits = 0;
        for (; Now() < end; ++waits)
            waiter.Wait(word, 7, &deadline);
        EXPECT_LE(waits, narrow_call == kMissing ? 50 : 2);
        waiter.Wait(word, 8, nullptr); // over at once
    }
}

// An id that somebody still holds must not mean an object of another owner while a system runs.
TEST(PosixIds, StayStaleForLong) {
    const PortSemaphore first_semaphore(true);
    const PortQueue first_queue(1, 1);
    bep_semDeleteEx(first_semaphore);
    bep_msgQDeleteEx(first_queue);
    for (int creation = 0; creation < 1000000; ++creation) {
        const PortSemaphore semaphore(true);
        const PortQueue queue(1, 1);
        ASSERT_NE(semaphore, first_semaphore) << creation;
        ASSERT_NE(queue, first_queue) << creation;
    }
}

// Threads that the port did not start may use it as well; they cannot be ended, so that nothing keeps them
// for ever.
TEST(PosixThread, WaitsLikeATaskButNotForWhatIsGone) {
    const PortQueue queue(1, 1);
    const PortSemaphore semaphore(false);
    std::optional<std::string> received[3] = {"none", "none", "none"};
    std::vector<int> results;
    std::thread thread([&] {
        for (auto& each : received)
            each = Receive(queue, -1);
        results.push_back(TakeSemaphore(semaphore, -1));
        results.push_back(Sleep(0, 1));
    });
    LetOthersSettle();
    Send(queue, "x");
    LetOthersSettle();
    bep_msgQDeleteEx(queue);
    LetOthersSettle();
    bep_semDeleteEx(semaphore);
    thread.join();
    EXPECT_EQ(received[0], "x");
    EXPECT_EQ(received[1], std::nullopt);
    EXPECT_EQ(received[2], std::nullopt);
    EXPECT_EQ(results, (std::vector<int>{-1, 0}));
}

} // namespace
