#ifndef ONU_MNG_PLATFORM_COMMON_POOL_CORE_H
#define ONU_MNG_PLATFORM_COMMON_POOL_CORE_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "onu_mng_platform/common/pool/blocks.h"
#include "onu_mng_platform/common/pool/sites.h"
#include "onu_mng_platform/common/pool/stock.h"
#include "onu_mng_platform/common/pool/thread.h"
#include "onu_mng_platform/common/sync/short_lock.h"
#include "onu_mng_platform/mpu.h"

namespace onu_mng_platform {

inline constexpr int kMaxPools = 64;
inline constexpr uint32_t kGuardCells = 1;

/// A memory pool: a region of memory, a map of its blocks, a depot, and a stock for each thread that uses the
/// pool.
///
/// A stock has a bin of free blocks for each class of length. Most requests use only the stock of the calling
/// thread and need neither a lock nor an atomic exchange. An empty bin is filled from the depot, or else from
/// the map. A full bin passes its older half to the depot, or else to the map. The depot and the map are used
/// under the pool's lock. Before a request fails, the blocks of all stocks and of the depot go back to the
/// map, where neighbours are joined.
///
/// The peak is exact, although requests have no common counter. It is the sum of the cells in use, the cells
/// that each thread may still take, and the spare cells. A thread that may take no more cells gets spare
/// cells, or else cells of other threads. The peak rises only if there are none.
///
/// A block that is returned twice is refused, with one exception. The thread that took the block returns it
/// with a load and a store of its tag. If another thread returns the block between the two, both calls return
/// 0. The block is then in two bins, but its tag names only one of them. When the entry in the other bin is
/// found, it is dropped and logged. The block is given out twice only if the first thread is interrupted
/// between the load and the store until the block is in use again. An exchange would close this gap, but it
/// costs a third of the speed.
///
/// Thread safety: any thread may call everything. A pool is never destroyed.
class Pool {
public:
    /// Returns a new pool; null when memory is short.
    static Pool* Create(const char* name, unsigned int size);

    void* Alloc(unsigned int size, const char* file, int line);
    /// Returns a block to the pool. `block` is an address in the region, and `offset` is OffsetOf(block).
    int Free(void* block, size_t offset);

    /// Returns the number of bytes from the start of the region to an address in it.
    size_t OffsetOf(const void* address) const {
        return static_cast<size_t>(reinterpret_cast<uintptr_t>(address) -
                                   reinterpret_cast<uintptr_t>(region_));
    }

    /// Moves the blocks of a thread that has ended to the map.
    void Flush(unsigned int slot);

    const char* Name() const { return name_; }
    std::byte* Region() const { return region_; }
    size_t RegionBytes() const { return bytes_; }
    mpu_stat Stat() const;
    template <class Visit>
    void ForEachBlock(Visit visit) const {
        map_.ForEach(visit);
    }

private:
    /// The holder of a block in the depot, and of a live block that does not come from a stock.
    static constexpr uint32_t kNobody = BlockTag::kHolders - 1;
    static_assert(kNoThreadSlot + 1 < kNobody);

    /// The free blocks of one class in the depot.
    struct Shelf {
        uint32_t count = 0;
        Cell blocks[256] = {};
    };

    Pool(const char* name, size_t size, std::byte* region, uint32_t cells, BlockRecord* records);

    ThreadStock* OwnStock();
    ThreadStock* MakeStock();

    [[gnu::always_inline]] void* AllocFor(unsigned int size, uint32_t site);
    void* AllocElsewhere(unsigned int size, const char* file, int line);
    void* AllocAgain(unsigned int size, uint32_t site);
    void* AllocSlowly(unsigned int size, uint32_t site);
    void* HandOut(Cell start, BlockTag live, uint32_t contents, uint32_t site);
    Cell TakeBlock(uint32_t index, uint32_t contents, ThreadStock* stock);
    Cell TakeFromBin(ThreadStock& stock, uint32_t index);
    Cell TakeFromDepot(uint32_t index, ThreadStock* stock);
    Cell TakeFromMap(uint32_t index, ThreadStock* stock);

    int FreeSlowly(void* block);
    int FreeUnstocked(Cell start, BlockTag tag);
    int CountReturned(ThreadStock& stock, uint32_t contents);
    void MakeRoom(ThreadStock& stock, uint32_t index);
    void Shelve(Cell start, uint32_t index);

    bool TakeOver(Cell start, const Bin& bin);
    void Empty(ThreadStock& stock);
    void TakeStocksBack(const ThreadStock* own);
    template <class Condition>
    void CloseOthers(const ThreadStock* own, Condition condition);

    void CountTaken(ThreadStock* stock, uint32_t contents);
    int Settle(ThreadStock& stock);
    void Balance(ThreadStock& stock);
    void Pay(ptrdiff_t cells, const ThreadStock* payer);
    void WithdrawFromClosed(const ThreadStock* but);
    ptrdiff_t Draw(ptrdiff_t cells);

    int RefuseState(size_t offset, BlockState state) const;
    int RefuseDamaged(size_t offset, uint32_t contents, uint32_t site) const;

    template <class Visit>
    void ForEachStock(Visit visit) const;

    BlockRecord& At(Cell cell) const { return records_[cell >> 1]; }
    std::byte* AddressOf(Cell cell) const { return region_ + size_t{cell - kFirstCell} * kCellBytes; }
    static void WriteGuard(std::byte* address);
    static bool GuardIsIntact(const std::byte* address);

    // Constant after construction.
    std::byte* const region_;
    const size_t bytes_; // of the region
    const size_t size_;  // asked for
    BlockRecord* const records_;
    char name_[32];

    std::atomic<ThreadStock*>
        stocks_[kMaxThreadSlots + 2];         // by slot; a thread without a stock has an empty one
    std::atomic<unsigned int> stocks_end_{0}; // one more than the highest slot with a stock

    // In a cache line of its own, because every request reads the members above.
    alignas(64) mutable ShortLock lock_; // guards everything below
    BlockMap map_;
    Shelf depot_[block_class::kCount];
    ptrdiff_t peak_ = 0;         // cells
    ptrdiff_t spare_ = 0;        // cells of the peak that are neither in use nor allowed to a thread
    unsigned long taken_ = 0;    // blocks that threads without a stock took
    unsigned long returned_ = 0; // blocks that did not go back to a stock
    unsigned long fails_ = 0;
    Cell returned_twice_ = kNoCell; // a block that was found to be in two bins; kNoCell once it is logged
};

// The code that most requests execute.

/// A guard depends on its address, so a copy of a block does not make a valid guard.
inline uintptr_t GuardFor(const std::byte* address) {
    return reinterpret_cast<uintptr_t>(address) ^ static_cast<uintptr_t>(0xC3A5'5A3C'96E1'1E69);
}

// Guards are read and written atomically: a thread that returns a block a second time may read a guard while
// the thread that now has the block writes it.
inline void Pool::WriteGuard(std::byte* address) {
    for (uint32_t i = 0; i < kCellBytes / sizeof(uintptr_t); ++i)
        __atomic_store_n(reinterpret_cast<uintptr_t*>(address) + i, GuardFor(address), __ATOMIC_RELAXED);
}

inline bool Pool::GuardIsIntact(const std::byte* address) {
    uintptr_t changed = 0;
    for (uint32_t i = 0; i < kCellBytes / sizeof(uintptr_t); ++i) {
        const auto* const word = reinterpret_cast<const uintptr_t*>(address) + i;
        changed |= __atomic_load_n(word, __ATOMIC_RELAXED) ^ GuardFor(address);
    }
    return changed == 0;
}

inline void* Pool::HandOut(Cell start, BlockTag live, uint32_t contents, uint32_t site) {
    BlockRecord& record = At(start);
    record.site.store(site, std::memory_order_relaxed);
    std::byte* const block = AddressOf(start);
    WriteGuard(block + size_t{contents} * kCellBytes);
    // Last, so that a reader that sees the block live also sees its site and its guard.
    record.SetTag(live);
    return block;
}

// Alloc() and Free() call other functions only in tail position, so they save no registers.

inline void* Pool::Alloc(unsigned int size, const char* file, int line) {
    const uint32_t site = KnownSite(file, line);
    return site != kOtherSite ? AllocFor(size, site) : AllocElsewhere(size, file, line);
}

inline void* Pool::AllocFor(unsigned int size, uint32_t site) {
    const uint32_t contents = (size - 1) / kCellBytes + 1; // for size 0: more cells than any class has
    if (contents + kGuardCells > block_class::kMaxCells) return AllocSlowly(size, site);
    ThreadStock& stock = *stocks_[detail::t_slot].load(std::memory_order_acquire);
    Bin& bin = stock.bins[block_class::kTables.to_fit[contents + kGuardCells]];
    const uint32_t count = bin.Count();
    if (count == 0) return AllocSlowly(size, site);
    bin.count.store(count - 1, std::memory_order_relaxed);
    const Cell start = bin.At(count - 1);
    const BlockTag tag = bin.TagOf(start);
    if (!stock.Spend(contents) || At(start).Tag().Bits() != tag.Bits()) return AllocAgain(size, site);
    ThreadStock::Add(stock.taken);
    return HandOut(start, tag.Live(bin.cells - contents), contents, site);
}

inline int Pool::Free(void* block, size_t offset) {
    const Cell start = static_cast<Cell>(offset / kCellBytes) + kFirstCell;
    BlockRecord& record = records_[offset / (2 * kCellBytes) + kFirstCell / 2];
    const BlockTag tag = record.Tag();
    const unsigned int slot = detail::t_slot;
    if (offset % kCellBytes != 0 || !tag.IsLiveFrom(slot, start)) return FreeSlowly(block);
    ThreadStock& stock = *stocks_[slot].load(std::memory_order_relaxed);
    Bin& bin = stock.bins[tag.Class()];
    const uint32_t contents = bin.cells - tag.Slack();
    const uint32_t count = bin.Count();
    if (count == bin.room || !GuardIsIntact(static_cast<std::byte*>(block) + size_t{contents} * kCellBytes))
        return FreeSlowly(block);
    record.SetTag(bin.TagOf(start));
    bin.Push(count, start);
    return CountReturned(stock, contents);
}

/// Counts a block that went into a bin. Returns 0.
inline int Pool::CountReturned(ThreadStock& stock, uint32_t contents) {
    ThreadStock::Add(stock.returned);
    return stock.Refund(contents) ? 0 : Settle(stock);
}

/// Returns the stock of the calling thread; null if it cannot have one. The thread then works under the lock.
inline ThreadStock* Pool::OwnStock() {
    ThreadStock* const stock = stocks_[detail::t_slot].load(std::memory_order_acquire);
    return stock->HasOwner() ? stock : MakeStock();
}

template <class Visit>
void Pool::ForEachStock(Visit visit) const {
    const unsigned int end = stocks_end_.load(std::memory_order_acquire);
    for (unsigned int slot = 0; slot < end; ++slot) {
        ThreadStock* const stock = stocks_[slot].load(std::memory_order_acquire);
        if (stock->HasOwner()) visit(*stock);
    }
}

/// Returns the pool with an id; null if there is none. Ids are 0, 1, 2, ...
Pool* PoolAt(int pool_id);

} // namespace onu_mng_platform

#endif
