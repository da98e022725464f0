// What the port for Linux promises beyond the contract of every port.
#include <gtest/gtest.h>

#include <grp.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/log_lines.h"
#include "tests/support/pool_blocks.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"

namespace {

/// Starts a task with the smallest stack that a service asks for.
uint32_t Spawn(const char* name, unsigned int priority, bep_task_entry entry, void* argument) {
    return bep_taskSpawnEx(name, priority, 8, 32768, entry, reinterpret_cast<intptr_t>(argument), 0, 0, 0, 0,
                           0, 0, 0, 0, 0);
}

TEST(PosixTask, HasTheNameItWasGivenAsFarAsTheSystemKeepsIt) {
    RunOnPort([] {
        char name[16] = {};
        PortTask task("OmciUpgExcDetect", [&] { pthread_getname_np(pthread_self(), name, sizeof(name)); });
        task.WaitUntilDone();
        EXPECT_STREQ(name, "OmciUpgExcDetec");
    });
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

TEST(PosixTask, HasTheWholeStackItAskedForAndAGuardPage) {
    RunOnPort([] {
        Stack stack;
        const uint32_t task = Spawn("stack", 100, UseTheStack, &stack);
        LetOthersSettle();
        bep_taskDeleteEx(task);
        EXPECT_GE(stack.size, 32768u);
        EXPECT_GE(stack.guard, 4096u);
        EXPECT_EQ(stack.sum, 2);
    });
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

TEST(PosixTask, EndsAloneWhenAnExceptionLeavesIt) {
    RunOnPort([] {
        LogLines lines;
        PortTask task("failing", [] { throw std::runtime_error("out of luck"); });
        LetOthersSettle();
        EXPECT_EQ(lines.Take(),
                  std::vector<std::string>{"15 Task failing has ended by an exception: out of luck"});
        EXPECT_EQ(task.Delete(), 0);
    });
}

TEST(PosixTask, DoesNotWaitForATaskThatIsDeletingIt) {
    RunOnPort([] {
        for (int round = 0; round < 20; ++round) {
            const uint32_t go = bep_semBCreateEx(2, 0, __FILE__, __LINE__);
            uint32_t ids[2] = {};
            std::atomic<int> results[2] = {{1}, {1}};
            const auto delete_other = [&](int self) {
                bep_semTakeEx(go, -1, __FILE__, __LINE__);
                bep_semGiveEx(go, __FILE__, __LINE__);
                results[self] = bep_taskDeleteEx(ids[1 - self]);
            };
            PortTask one("one", [&] { delete_other(0); });
            PortTask two("two", [&] { delete_other(1); });
            ids[0] = one.Id();
            ids[1] = two.Id();
            bep_semGiveEx(go, __FILE__, __LINE__);
            LetOthersSettle();
            ASSERT_TRUE(results[0] != 1 || results[1] != 1) << "both hang";
            one.Delete();
            two.Delete();
            bep_semDeleteEx(go);
        }
    });
}

// Threads that the port did not start may use it as well; they cannot be ended, so that nothing keeps them
// for ever.
TEST(PosixThread, WaitsLikeATaskButNotForWhatIsGone) {
    const uint32_t queue = bep_msgQCreateEx(1, 1, 0, __FILE__, __LINE__);
    const uint32_t semaphore = bep_semBCreateEx(2, 0, __FILE__, __LINE__);
    char byte = 0;
    std::vector<int> results;
    std::thread thread([&] {
        results.push_back(bep_msgQReceiveEx(queue, &byte, 1, -1, __FILE__, __LINE__));
        results.push_back(bep_msgQReceiveEx(queue, &byte, 1, -1, __FILE__, __LINE__));
        results.push_back(bep_msgQReceiveEx(queue, &byte, 1, -1, __FILE__, __LINE__));
        results.push_back(bep_semTakeEx(semaphore, -1, __FILE__, __LINE__));
        const timespec moment{0, 1};
        results.push_back(nanosleep(&moment, nullptr));
    });
    LetOthersSettle();
    bep_msgQSendEx(queue, "x", 1, 0, 1, __FILE__, __LINE__);
    LetOthersSettle();
    bep_msgQDeleteEx(queue);
    LetOthersSettle();
    bep_semDeleteEx(semaphore);
    thread.join();
    EXPECT_EQ(results, (std::vector<int>{1, -1, -1, -1, 0}));
}

TEST(PosixPort, HasRoomForAFullSystem) {
    RunOnPort([] {
        std::vector<uint32_t> semaphores(100000);
        std::vector<uint32_t> queues(4096);
        for (uint32_t& each : semaphores)
            each = bep_semBCreateEx(2, 1, __FILE__, __LINE__);
        for (uint32_t& each : queues)
            each = bep_msgQCreateEx(16, 8, 0, __FILE__, __LINE__);
        std::vector<std::unique_ptr<PortTask>> tasks;
        std::atomic<int> running{0};
        for (int i = 0; i < 500; ++i) {
            tasks.push_back(std::make_unique<PortTask>("one of many", [&] {
                ++running;
                char byte = 0;
                bep_msgQReceiveEx(queues[0], &byte, 1, -1, __FILE__, __LINE__);
            }));
        }
        LetOthersSettle();
        EXPECT_EQ(running, 500);
        tasks.clear();
        for (const uint32_t each : semaphores) {
            ASSERT_EQ(bep_semTakeEx(each, 0, __FILE__, __LINE__), 0);
            ASSERT_EQ(bep_semDeleteEx(each), 0);
        }
        for (const uint32_t each : queues)
            ASSERT_EQ(bep_msgQDeleteEx(each), 0);
    });
}

// More threads than there are stocks: the others work without one.
TEST(PosixPool, ServesMoreThreadsThanItKeepsStocksFor) {
    RunOnPort([] {
        const int pool = mpuCreate("crowded", 1 << 20, 1, 0);
        const uint32_t gate = bep_semBCreateEx(2, 0, __FILE__, __LINE__);
        std::vector<std::unique_ptr<PortTask>> tasks;
        for (int i = 0; i < 300; ++i) {
            tasks.push_back(std::make_unique<PortTask>("crowd", [&] {
                void* blocks[40];
                for (void*& block : blocks)
                    block = Take(pool, 48);
                bep_semTakeEx(gate, -1, __FILE__, __LINE__);
                bep_semGiveEx(gate, __FILE__, __LINE__);
                for (void* const block : blocks) {
                    EXPECT_EQ(mpuFree(block), 0);
                }
            }));
        }
        LetOthersSettle();
        EXPECT_EQ(StatOf(pool).used, 300u * 40 * 48);
        bep_semGiveEx(gate, __FILE__, __LINE__);
        for (const auto& task : tasks)
            task->WaitUntilDone();
        tasks.clear();
        EXPECT_EQ(StatOf(pool).used, 0u);
        EXPECT_EQ(StatOf(pool).peak, 300u * 40 * 48);
        EXPECT_NE(Take(pool, 1 << 20), nullptr);
        bep_semDeleteEx(gate);
    });
}

/// Uses the port when the process has all but ended, as the library's singletons do.
struct LateUser {
    ~LateUser() {
        const bool good = mpuFree(block) == 0 && StatOf(pool).used == 0 && bep_taskDeleteEx(task) == 0 &&
                          bep_semTakeEx(lock, 0, __FILE__, __LINE__) == 0 && bep_semDeleteEx(lock) == 0;
        ulogPrintf(1, 15, "late\r\n");
        if (!good) std::_Exit(1);
    }
    static void WaitForEver(intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                            intptr_t, intptr_t) {
        const timespec long_time{1000000, 0};
        nanosleep(&long_time, nullptr);
    }
    const int pool = mpuCreate("late", 4096, 1, 0);
    void* const block = Take(pool, 16);
    const uint32_t lock = bep_semBCreateEx(2, 1, __FILE__, __LINE__);
    const uint32_t task = Spawn("late", 100, WaitForEver, nullptr);
};

TEST(PosixPort, IsUsableInStaticDestructors) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            static const LateUser late_user;
            std::exit(0);
        },
        testing::ExitedWithCode(0), "late");
}

} // namespace
