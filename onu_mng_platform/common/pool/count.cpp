// How the pool's totals are kept.
#include <algorithm>

#include "onu_mng_platform/common/pool/core.h"

namespace onu_mng_platform {

/// Pays for a request that its thread's allowance was too small for: from what there is to spare, else from
/// the other threads' allowances, else by a new peak.
void Pool::Pay(size_t bytes) {
    size_t missing = bytes - meter_.Draw(bytes);
    if (missing == 0) return;
    ForEachStock([this](ThreadStock& stock) { meter_.Return(stock.allowance.TakeAll()); });
    missing -= meter_.Draw(missing);
    meter_.Raise(missing);
}

/// Pays `bytes` and brings an allowance to half of what it may hold, as far as that makes no new peak.
void Pool::Replenish(Allowance& allowance, size_t bytes) {
    const std::lock_guard<ShortLock> guard(lock_);
    meter_.Return(allowance.TakeAll());
    Pay(bytes);
    allowance.Add(meter_.Draw(Allowance::kMost / 2));
}

void Pool::CountTakenWithoutStock(size_t bytes) {
    const std::lock_guard<ShortLock> guard(lock_);
    shared_counters_.taken.Add();
    Pay(bytes);
}

void Pool::CountReturnedWithoutStock(size_t bytes) {
    const std::lock_guard<ShortLock> guard(lock_);
    shared_counters_.returned.Add();
    meter_.Return(bytes);
}

mpu_stat Pool::Stat() const {
    const std::lock_guard<ShortLock> guard(lock_);
    // Returned blocks first: whatever is counted there was taken before and is counted below.
    unsigned long returned = shared_counters_.returned.Count();
    size_t unused = meter_.Spare();
    ForEachStock([&](const ThreadStock& stock) {
        returned += stock.counters.returned.Count();
        unused += stock.allowance.Bytes();
    });
    mpu_stat stat{};
    stat.size = size_;
    stat.peak = meter_.Peak();
    // Requests that run meanwhile may be seen in part.
    stat.used = stat.peak - std::min(unused, stat.peak);
    stat.allocs = shared_counters_.taken.Count();
    ForEachStock([&](const ThreadStock& stock) { stat.allocs += stock.counters.taken.Count(); });
    stat.blocks = stat.allocs - returned;
    stat.fails = fails_.load(std::memory_order_relaxed);
    return stat;
}

} // namespace onu_mng_platform
