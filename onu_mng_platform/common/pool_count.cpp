// How the pool's totals are kept.
#include "onu_mng_platform/common/pool_core.h"

namespace onu_mng_platform {

/// Pays for a block that was taken from stock with another payment, or none.
void Pool::PayAnew(uint32_t paid, uint32_t contents) {
    const std::lock_guard<std::mutex> guard(lock_);
    meter_.PayBack(size_t{paid} * kCellBytes);
    Pay(size_t{contents} * kCellBytes);
}

void Pool::Pay(size_t bytes) {
    if (meter_.IsShort(bytes) && meter_.Paid() != Used()) CollectPayments(bytes);
    meter_.Pay(bytes);
}

/// Takes payments of stocked blocks back, more than just `bytes` so that the search is seldom repeated.
void Pool::CollectPayments(size_t bytes) {
    constexpr size_t kMore = 16 * 1024;
    const auto collect = [this, bytes](Cell start, uint32_t index) {
        BlockRecord& record = map_.At(start);
        const BlockTag tag = record.Tag();
        if (tag.State() != BlockState::kStockedPaid || !IsStocked(tag, start, index)) return true;
        // Cannot change meanwhile: only a request under the lock takes the block with another payment.
        const uint32_t paid = record.contents.load(std::memory_order_relaxed);
        if (record.Move(tag, tag.In(BlockState::kStocked))) meter_.PayBack(size_t{paid} * kCellBytes);
        return meter_.IsShort(bytes + kMore);
    };
    depot_.ForEach(collect);
    ForEachStock([&](const ThreadStock& stock) {
        if (meter_.IsShort(bytes + kMore)) stock.blocks.ForEach(collect);
    });
}

/// Returns the bytes in live blocks.
size_t Pool::Used() const {
    // Returned blocks first: whatever is counted there was taken before and is counted below.
    size_t returned = shared_counters_.returned.Bytes();
    ForEachStock([&](const ThreadStock& stock) { returned += stock.counters.returned.Bytes(); });
    size_t taken = shared_counters_.taken.Bytes();
    ForEachStock([&](const ThreadStock& stock) { taken += stock.counters.taken.Bytes(); });
    return taken - returned;
}

mpu_stat Pool::Stat() const {
    const std::lock_guard<std::mutex> guard(lock_);
    mpu_stat stat{};
    stat.size = size_;
    stat.used = Used();
    stat.peak = meter_.Peak();
    unsigned long returned = shared_counters_.returned.Requests();
    ForEachStock([&](const ThreadStock& stock) { returned += stock.counters.returned.Requests(); });
    stat.allocs = shared_counters_.taken.Requests();
    ForEachStock([&](const ThreadStock& stock) { stat.allocs += stock.counters.taken.Requests(); });
    stat.blocks = stat.allocs - returned;
    stat.fails = fails_.load(std::memory_order_relaxed);
    return stat;
}

} // namespace onu_mng_platform
