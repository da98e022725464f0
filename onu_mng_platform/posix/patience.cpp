#include "onu_mng_platform/posix/patience.h"

#include <atomic>
#include <ctime>

namespace onu_mng_platform {
namespace {

std::atomic<uint32_t> g_pauses{20};
std::atomic<uint32_t> g_yields{50};

} // namespace

void Patience::Set(uint32_t pauses, uint32_t yields) {
    g_pauses.store(pauses, std::memory_order_relaxed);
    g_yields.store(yields, std::memory_order_relaxed);
}

uint32_t Patience::Pauses() {
    return g_pauses.load(std::memory_order_relaxed);
}

uint32_t Patience::Yields() {
    return g_yields.load(std::memory_order_relaxed);
}

int64_t Patience::NowNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

void Patience::AskPolicy() {
    const int policy = sched_getscheduler(0);
    policy_ = policy == SCHED_RR || policy == SCHED_FIFO ? Policy::kRealTime : Policy::kOrdinary;
}

} // namespace onu_mng_platform
