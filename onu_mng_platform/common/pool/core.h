#ifndef ONU_MNG_PLATFORM_COMMON_POOL_CORE_H
#define ONU_MNG_PLATFORM_COMMON_POOL_CORE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "onu_mng_platform/common/pool/blocks.h"
#include "onu_mng_platform/common/pool/meter.h"
#include "onu_mng_platform/common/pool/stock.h"
#include "onu_mng_platform/common/pool/thread.h"
#include "onu_mng_platform/common/sync/short_lock.h"
#include "onu_mng_platform/mpu.h"

namespace onu_mng_platform {

/// One pool: a region, its block map under a lock, a stock of free blocks for each thread that uses it and a
/// depot, under the lock too, through which stocks pass blocks on in batches.
///
/// Most requests end in the caller's own stock without a lock. A stock that runs empty is filled from the
/// depot, else from the map; one that runs over empties its older half into the depot, else into the map.
/// Before a request fails, all stocks and the depot are emptied into the map.
///
/// Thread safety: everything may be called from any thread. A pool is never destroyed.
class Pool {
public:
    /// Returns a new pool; null when memory is short.
    static Pool* Create(const char* name, unsigned int size);

    void* Alloc(unsigned int size, const char* file, int line);
    /// `block` is an address in the region.
    int Free(void* block);

    bool Contains(const void* address) const { return OffsetOf(address) < bytes_; }
    /// Bytes from the start of the region; a number of at least its size when the address lies elsewhere.
    size_t OffsetOf(const void* address) const {
        return static_cast<size_t>(reinterpret_cast<uintptr_t>(address) -
                                   reinterpret_cast<uintptr_t>(region_));
    }

    /// Empties the stock of a thread that has ended.
    void Flush(unsigned int slot);

    const char* Name() const { return name_; }
    mpu_stat Stat() const;
    template <class Visit>
    void ForEachBlock(Visit visit) const {
        map_.ForEach(visit);
    }

private:
    /// Written by one owner at a time, so that nothing dearer than an addition is needed.
    class Counter {
    public:
        void Add() { count_.store(Count() + 1, std::memory_order_release); }
        unsigned long Count() const { return count_.load(std::memory_order_acquire); }

    private:
        std::atomic<unsigned long> count_{0};
    };
    struct Counters {
        Counter taken;
        Counter returned;
    };
    using OwnBlocks = Stock<32, 8 * 1024>;
    using Depot = Stock<256, 64 * 1024>;
    struct ThreadStock {
        OwnBlocks blocks;
        Counters counters;
        Allowance allowance;
        uint8_t batches[stock_class::kCount] = {}; // blocks fetched the last time, doubled each time
    };

    Pool(const char* name, size_t size, std::byte* region, uint32_t cells, BlockRecord* records);

    ThreadStock* OwnStock();
    [[gnu::noinline]] ThreadStock* MakeStock();

    [[gnu::always_inline]] Cell TakeBlock(uint32_t cells, ThreadStock* stock);
    [[gnu::noinline]] Cell TakeUnderLock(uint32_t cells, ThreadStock* stock);
    Cell TakeFromDepot(uint32_t index, ThreadStock* stock);
    Cell TakeFromMap(uint32_t cells, ThreadStock* stock);
    template <class AnyStock>
    [[gnu::always_inline]] Cell Pop(AnyStock& stock, uint32_t index);
    void TakeStocksBack();

    [[gnu::always_inline]] void GiveBlock(Cell start, BlockTag tag, ThreadStock* stock);
    [[gnu::noinline]] void GiveUnderLock(Cell start, BlockTag tag);
    void MakeRoom(ThreadStock& stock, uint32_t index);
    void Unstock(Cell start, uint32_t index);

    [[gnu::always_inline]] void CountTaken(size_t bytes, ThreadStock* stock);
    [[gnu::always_inline]] void CountReturned(size_t bytes, ThreadStock* stock);
    [[gnu::noinline]] void CountTakenWithoutStock(size_t bytes);
    [[gnu::noinline]] void CountReturnedWithoutStock(size_t bytes);
    [[gnu::noinline]] void Replenish(Allowance& allowance, size_t bytes);
    void Pay(size_t bytes);

    void* HandOut(Cell start, uint32_t contents, uint32_t site);
    [[gnu::cold]] int RefuseState(const void* block, BlockState state) const;
    [[gnu::cold]] int RefuseDamaged(const void* block, uint32_t contents, uint32_t site) const;

    template <class Visit>
    void ForEachStock(Visit visit) const;

    std::byte* AddressOf(Cell cell) const { return region_ + size_t{cell - kFirstCell} * kCellBytes; }
    void WriteGuard(Cell cell);
    bool GuardIsIntact(Cell cell) const;

    // Read by every request, written never.
    std::byte* const region_;
    const size_t bytes_; // of the region
    const size_t size_;  // asked for
    char name_[32];

    std::atomic<ThreadStock*> stocks_[kMaxThreadSlots + 2] = {}; // the last two stay null
    std::atomic<unsigned int> stocks_end_{0};                    // behind the last that was ever used
    std::atomic<unsigned long> fails_{0};

    // Apart from what every request reads.
    alignas(64) mutable ShortLock lock_; // guards everything below
    PeakMeter meter_;
    BlockMap map_;
    Depot depot_;
    Counters shared_counters_; // of requests that had no stock
};

/// Returns the calling thread's stock; null when it has none and works under the lock instead.
inline Pool::ThreadStock* Pool::OwnStock() {
    ThreadStock* const stock = stocks_[detail::t_slot].load(std::memory_order_acquire);
    return stock != nullptr ? stock : MakeStock();
}

template <class Visit>
void Pool::ForEachStock(Visit visit) const {
    const unsigned int end = stocks_end_.load(std::memory_order_acquire);
    for (unsigned int slot = 0; slot < end; ++slot) {
        ThreadStock* const stock = stocks_[slot].load(std::memory_order_acquire);
        if (stock != nullptr) visit(*stock);
    }
}

/// Takes a block out of a stock of the caller's; kNoCell when the class is empty.
template <class AnyStock>
inline Cell Pool::Pop(AnyStock& stock, uint32_t index) {
    while (stock.Count(index) != 0) {
        const Cell start = stock.Pop(index);
        if (start == kNoCell) continue;
        const BlockTag stocked(BlockState::kStocked, start, stock_class::CellsOf(index));
        if (map_.At(start).Move(stocked, stocked.In(BlockState::kMoving))) return start;
    }
    return kNoCell;
}

} // namespace onu_mng_platform

#endif
