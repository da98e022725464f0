// How much the port for Linux holds, and how long: until the process has ended.
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/pool_blocks.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"

namespace {

PORT_TEST(PosixPort, HasRoomForAFullSystem) {
    std::vector<uint32_t> semaphores(100000);
    std::vector<uint32_t> queues(4096);
    for (uint32_t& each : semaphores)
        each = NewSemaphore(true);
    for (uint32_t& each : queues)
        each = NewQueue(16, 8);
    std::atomic<int> running{0};
    PortTasks tasks(500, [&](int) { ++running, Receive(queues[0], -1); });
    LetOthersSettle();
    EXPECT_EQ(running, 500);
    tasks.Delete();
    for (const uint32_t each : semaphores) {
        ASSERT_EQ(TakeSemaphore(each, 0), 0);
        ASSERT_EQ(bep_semDeleteEx(each), 0);
    }
    for (const uint32_t each : queues)
        ASSERT_EQ(bep_msgQDeleteEx(each), 0);
}

// More threads than there are stocks: the others work without one.
PORT_TEST(PosixPool, ServesMoreThreadsThanItKeepsStocksFor) {
    const int pool = mpuCreate("crowded", 1 << 20, 1, 0);
    std::vector<void*> many(1000);
    for (void*& block : many)
        block = Take(pool, 48);
    const PortSemaphore gate(false);
    PortTasks tasks(300, [&](int) {
        void* blocks[40];
        for (void*& block : blocks)
            block = Take(pool, 48);
        TakeSemaphore(gate, -1);
        GiveSemaphore(gate);
        for (void* const block : blocks)
            ASSERT_EQ(mpuFree(block), 0);
    });
    LetOthersSettle();
    for (void* const block : many)
        mpuFree(block); // more than a stock holds, so the next task finds some in the depot
    PortTask("late", [&] { mpuFree(Take(pool, 48)); }).WaitUntilDone();
    EXPECT_EQ(StatOf(pool).used, 300u * 40 * 48);
    GiveSemaphore(gate);
    tasks.WaitUntilDone();
    tasks.Delete();
    EXPECT_EQ(StatOf(pool).used, 0u);
    EXPECT_EQ(StatOf(pool).peak, (300u * 40 + 1000) * 48);
    EXPECT_NE(Take(pool, 1 << 20), nullptr);
}

PORT_TEST(PosixPool, HasItsMemoryFromTheStart) {
    constexpr unsigned int kBytes = 1 << 20;
    auto* const block = static_cast<char*>(Take(mpuCreate("resident", kBytes, 1, 0), kBytes));
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t past = reinterpret_cast<uintptr_t>(block) % page;
    std::vector<unsigned char> resident((past + kBytes + page - 1) / page);
    ASSERT_EQ(mincore(block - past, past + kBytes, resident.data()), 0);
    EXPECT_EQ(std::count(resident.begin(), resident.end(), 0), 0);
}

/// Takes another task's stock back after a filter has begun to refuse membarrier(2). Exits with 0.
[[noreturn]] void TakeStockBackWithoutBarrier() {
    alarm(10);
    const int pool = mpuCreate("filtered", 65536, 1, 0);
    const PortSemaphore gate(false);
    const PortTask other("other", [&] {
        for (int again = 0; again < 1000; ++again)
            mpuFree(Take(pool, 48));
        GiveSemaphore(gate);
        pause();
    });
    TakeSemaphore(gate);
    sock_filter steps[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_membarrier, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog filter{4, steps};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) std::_Exit(77);
    std::_Exit(Take(pool, 65536) != nullptr ? 0 : 1);
}

TEST(PosixPool, OutlivesAFilterThatRefusesItsBarrier) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto passes_or_has_no_filters = [](int status) {
        return WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 77);
    };
    EXPECT_EXIT(TakeStockBackWithoutBarrier(), passes_or_has_no_filters, "");
}

/// Uses the port when the process has all but ended, as the library's singletons do.
struct LateUser {
    ~LateUser() {
        const bool good = mpuFree(block) == 0 && StatOf(pool).used == 0 && bep_taskDeleteEx(task) == 0 &&
                          TakeSemaphore(lock, 0) == 0 && bep_semDeleteEx(lock) == 0;
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
    const uint32_t lock = NewSemaphore(true);
    const uint32_t task = bep_taskSpawnEx("late", 100, 8, 32768, WaitForEver, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
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
