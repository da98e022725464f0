#ifndef ONU_MNG_PLATFORM_COMMON_POOL_CORE_H
#define ONU_MNG_PLATFORM_COMMON_POOL_CORE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "onu_mng_platform/common/pool_blocks.h"
#include "onu_mng_platform/common/pool_stock.h"
#include "onu_mng_platform/common/pool_thread.h"
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
    struct Counters {
        // Each pair is written by one owner at a time, so that plain additions do.
        std::atomic<unsigned long> taken{0};
        std::atomic<unsigned long> returned{0};
    };
    using OwnBlocks = Stock<32, 8 * 1024>;
    using Depot = Stock<256, 64 * 1024>;
    struct ThreadStock {
        OwnBlocks blocks;
        Counters counters;
        uint8_t batches[stock_class::kCount] = {}; // blocks fetched the last time, doubled each time
    };

    Pool(const char* name, size_t size, std::byte* region, uint32_t cells, BlockRecord* records);

    ThreadStock* OwnStock();
    Cell TakeBlock(uint32_t cells);
    Cell TakeUnderLock(uint32_t cells, uint32_t index, ThreadStock* stock);
    Cell TakeFromDepot(uint32_t index, ThreadStock* stock);
    Cell TakeFromMap(uint32_t cells, uint32_t index, ThreadStock* stock);
    template <class AnyStock>
    Cell PopLive(AnyStock& stock, uint32_t index);
    void TakeStocksBack();

    void GiveBlock(Cell start, BlockTag tag);
    void GiveUnderLock(Cell start, BlockTag tag, uint32_t index);
    void MakeRoom(ThreadStock& stock, uint32_t index);
    void Unstock(Cell start, uint32_t index);

    void* HandOut(Cell start, uint32_t contents, uint32_t site);
    int RefuseState(const void* block, BlockState state) const;
    int RefuseDamaged(const void* block, uint32_t contents, uint32_t site) const;

    std::byte* AddressOf(Cell cell) const { return region_ + size_t{cell - kFirstCell} * kCellBytes; }
    void WriteGuard(Cell cell);
    bool GuardIsIntact(Cell cell) const;

    // Read by every request, written never.
    std::byte* const region_;
    const size_t bytes_; // of the region
    const size_t size_;  // asked for
    char name_[32];

    std::atomic<ThreadStock*> stocks_[kMaxThreadSlots] = {};

    // Written by every request: on a cache line of their own.
    alignas(64) std::atomic<size_t> used_{0};
    std::atomic<size_t> peak_{0};
    std::atomic<unsigned long> fails_{0};

    alignas(64) std::mutex lock_; // guards everything below
    BlockMap map_;
    Depot depot_;
    Counters shared_counters_; // of requests that had no stock
};

} // namespace onu_mng_platform

#endif
