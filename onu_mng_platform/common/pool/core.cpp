// The code that few calls execute: creation, requests that the thread's stock cannot serve, refusals, totals.
#include "onu_mng_platform/common/pool/core.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <mutex>
#include <new>
#include <utility>

#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/sync/asymmetric_barrier.h"

namespace onu_mng_platform {
namespace {

constexpr int kRefusedLevel = 13;

/// Stands in for the stock of a thread without one. Its bins have no room, so nothing is ever written here.
ThreadStock g_no_stock;

/// Returns zeroed memory; null if there is none. Touches each page, so a lack of memory shows here and no
/// request has to wait for a page.
void* Reserve(size_t bytes) {
    constexpr size_t kSmallestPage = 4096;
    void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    for (size_t offset = 0; offset < bytes; offset += kSmallestPage)
        static_cast<volatile char*>(memory)[offset] = 0;
    return memory;
}

void Unreserve(void* memory, size_t bytes) {
    if (memory != nullptr) munmap(memory, bytes);
}

} // namespace

Pool* Pool::Create(const char* name, unsigned int size) {
    const uint32_t cells = std::max((size - 1) / kCellBytes + 1 + kGuardCells, kMinCells);
    if (cells > BlockMap::kMaxCells) return nullptr;
    const size_t bytes = size_t{cells} * kCellBytes;
    // A mapping of its own, so a write past the end of the region does not reach the records.
    void* const region = Reserve(bytes);
    void* const records = region != nullptr ? Reserve(BlockMap::RecordBytes(cells)) : nullptr;
    if (records != nullptr) {
        auto* const pool = new (std::nothrow)
            Pool(name, size, static_cast<std::byte*>(region), cells, static_cast<BlockRecord*>(records));
        if (pool != nullptr) return pool;
    }
    Unreserve(records, BlockMap::RecordBytes(cells));
    Unreserve(region, bytes);
    return nullptr;
}

Pool::Pool(const char* name, size_t size, std::byte* region, uint32_t cells, BlockRecord* records)
    : region_(region), bytes_(size_t{cells} * kCellBytes), size_(size), records_(records) {
    std::snprintf(name_, sizeof(name_), "%s", name == nullptr ? "" : name);
    for (auto& stock : stocks_)
        stock.store(&g_no_stock, std::memory_order_relaxed);
    map_.Init(records, cells);
}

ThreadStock* Pool::MakeStock() {
    const unsigned int slot = ThreadSlot();
    if (slot == kNoThreadSlot) return nullptr;
    ThreadStock* stock = stocks_[slot].load(std::memory_order_acquire);
    if (stock->HasOwner()) return stock;
    stock = new (std::nothrow) ThreadStock;
    if (stock == nullptr) return nullptr;
    stock->holder = slot;
    stocks_[slot].store(stock, std::memory_order_release);
    unsigned int end = stocks_end_.load(std::memory_order_relaxed);
    while (end <= slot && !stocks_end_.compare_exchange_weak(end, slot + 1, std::memory_order_acq_rel)) {
    }
    return stock;
}

/// Takes a block for a site whose number must be searched for.
void* Pool::AllocElsewhere(unsigned int size, const char* file, int line) {
    return AllocFor(size, SiteOf(file, line));
}

/// Undoes what AllocFor() took from the stock, and takes a block under the lock.
///
/// The entry is still in the bin, unless another thread has emptied the stock and stored kNoCell there.
void* Pool::AllocAgain(unsigned int size, uint32_t site) {
    const uint32_t contents = (size - 1) / kCellBytes + 1;
    ThreadStock& stock = *OwnStock();
    Bin& bin = stock.bins[block_class::ToFit(contents + kGuardCells)];
    bin.count.store(bin.Count() + 1, std::memory_order_release);
    stock.left.store(stock.left.load(std::memory_order_relaxed) + contents, std::memory_order_release);
    return AllocSlowly(size, site);
}

void* Pool::AllocSlowly(unsigned int size, uint32_t site) {
    if (size == 0) return nullptr;
    const uint32_t contents = (size - 1) / kCellBytes + 1;
    const uint32_t index = block_class::ToFit(contents + kGuardCells);
    ThreadStock* const stock = OwnStock();
    Cell start = kNoCell;
    Cell twice = kNoCell;
    {
        const std::lock_guard<ShortLock> guard(lock_);
        start = TakeBlock(index, contents, stock);
        if (start != kNoCell) {
            CountTaken(stock, contents);
        } else {
            ++fails_;
        }
        twice = std::exchange(returned_twice_, kNoCell);
    }
    if (twice != kNoCell) RefuseState(OffsetOf(AddressOf(twice)), BlockState::kStocked);
    if (start == kNoCell) return nullptr;
    const uint32_t cells = At(start).Cells();
    const uint32_t exact = block_class::OfExact(cells);
    // Free() may put a block straight into the bin only if the block has the length of the bin's class.
    const uint32_t holder =
        stock != nullptr && exact == index && index != block_class::kNone ? stock->holder : kNobody;
    return HandOut(start, BlockTag::Stocked(start, holder, exact).Live(cells - contents), contents, site);
}

/// Frees a block that another thread took, or whose bin is full, or that belongs to no stock; or refuses it.
int Pool::FreeSlowly(void* block) {
    const size_t offset = OffsetOf(block);
    const Cell start = static_cast<Cell>(offset / kCellBytes) + kFirstCell;
    BlockRecord& record = At(start);
    const BlockTag tag = record.Tag();
    if (offset % kCellBytes != 0 || !tag.StartsAt(start)) return RefuseState(offset, BlockState::kNone);
    if (tag.State() != BlockState::kLive) return RefuseState(offset, tag.State());
    ThreadStock* const stock = OwnStock();
    const uint32_t index = tag.Class();
    if (stock == nullptr || index == block_class::kNone) return FreeUnstocked(start, tag);
    const uint32_t contents = block_class::CellsOf(index) - tag.Slack();
    const std::byte* const guard = AddressOf(start + contents);
    __builtin_prefetch(guard);
    Bin& bin = stock->bins[index];
    if (bin.Count() == bin.room) MakeRoom(*stock, index);
    // Before the guard is read: if another thread frees the block as well, one of the two stops here.
    if (!record.Move(tag, bin.TagOf(start))) return RefuseState(offset, BlockState::kFree);
    if (!GuardIsIntact(guard)) {
        record.SetTag(tag.In(BlockState::kDamaged));
        return RefuseDamaged(offset, contents, record.site.load(std::memory_order_relaxed));
    }
    bin.Push(bin.Count(), start);
    return CountReturned(*stock, contents);
}

int Pool::FreeUnstocked(Cell start, BlockTag tag) {
    BlockRecord& record = At(start);
    const size_t offset = OffsetOf(AddressOf(start));
    if (!record.Move(tag, BlockTag(BlockState::kMoving, start)))
        return RefuseState(offset, BlockState::kFree);
    const uint32_t contents = record.Cells() - tag.Slack();
    if (!GuardIsIntact(AddressOf(start + contents))) {
        record.SetTag(tag.In(BlockState::kDamaged));
        return RefuseDamaged(offset, contents, record.site.load(std::memory_order_relaxed));
    }
    const std::lock_guard<ShortLock> guard(lock_);
    ++returned_;
    spare_ += contents;
    Shelve(start, tag.Class());
    return 0;
}

int Pool::RefuseState(size_t offset, BlockState state) const {
    const char* why = "is free already";
    if (state == BlockState::kNone) why = "is not the start of a block";
    if (state == BlockState::kDamaged) why = "was written past its end and stays out of use";
    LogPort(kRefusedLevel, "Pool %s: refused to free offset %zu, which %s\r\n", name_, offset, why);
    return -1;
}

int Pool::RefuseDamaged(size_t offset, uint32_t contents, uint32_t site) const {
    const Site taken_at = SiteAt(site);
    LogPort(
        kRefusedLevel,
        "Pool %s: refused to free offset %zu, which was written past its end and stays out of use: %u bytes "
        "taken at %s:%d\r\n",
        name_, offset, contents * kCellBytes, taken_at.file, taken_at.line);
    return -1;
}

mpu_stat Pool::Stat() const {
    const std::lock_guard<ShortLock> guard(lock_);
    // Count the returned blocks first. Each was taken earlier, so it is among the taken blocks counted below.
    unsigned long returned = returned_;
    ptrdiff_t unused = spare_;
    ForEachStock([&](const ThreadStock& stock) {
        returned += stock.returned.load(std::memory_order_acquire);
        unused += stock.Allowed();
    });
    mpu_stat stat{};
    stat.size = size_;
    stat.peak = static_cast<size_t>(peak_) * kCellBytes;
    // A request that runs at this moment may be half counted.
    stat.used = static_cast<size_t>(peak_ - std::clamp(unused, ptrdiff_t{0}, peak_)) * kCellBytes;
    stat.allocs = taken_;
    ForEachStock(
        [&](const ThreadStock& stock) { stat.allocs += stock.taken.load(std::memory_order_acquire); });
    stat.blocks = stat.allocs - std::min(returned, stat.allocs);
    stat.fails = fails_;
    return stat;
}

} // namespace onu_mng_platform
