#include "onu_mng_platform/common/pool/core.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/pool/sites.h"

namespace onu_mng_platform {
namespace {

constexpr uint32_t kGuardCells = 1;
constexpr int kRefusedLevel = 13;

/// A guard differs from place to place, so that a copied block does not forge one.
uint64_t GuardFor(const std::byte* address) {
    return reinterpret_cast<uintptr_t>(address) ^ 0xC3A5'5A3C'96E1'1E69;
}

/// Returns zeroed memory, null when there is none. Its pages are there already, so that a board that is short
/// of them shows it here and no request waits for one.
void* Reserve(size_t bytes) {
    constexpr size_t kSmallestPage = 4096;
    void* const memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) return nullptr;
    for (size_t offset = 0; offset < bytes; offset += kSmallestPage)
        static_cast<volatile char*>(memory)[offset] = 0;
    return memory;
}

void Release(void* memory, size_t bytes) {
    if (memory != nullptr) munmap(memory, bytes);
}

} // namespace

Pool* Pool::Create(const char* name, unsigned int size) {
    const uint32_t cells = std::max((size - 1) / kCellBytes + 1 + kGuardCells, kMinCells);
    if (cells > BlockMap::kMaxCells) return nullptr;
    const size_t bytes = size_t{cells} * kCellBytes;
    // Apart, so that no write past the end of the region reaches the records.
    void* const region = Reserve(bytes);
    void* const records = region != nullptr ? Reserve(BlockMap::RecordBytes(cells)) : nullptr;
    if (records != nullptr) {
        auto* const pool = new (std::nothrow)
            Pool(name, size, static_cast<std::byte*>(region), cells, static_cast<BlockRecord*>(records));
        if (pool != nullptr) return pool;
    }
    Release(records, BlockMap::RecordBytes(cells));
    Release(region, bytes);
    return nullptr;
}

Pool::Pool(const char* name, size_t size, std::byte* region, uint32_t cells, BlockRecord* records)
    : region_(region), bytes_(size_t{cells} * kCellBytes), size_(size) {
    std::snprintf(name_, sizeof(name_), "%s", name == nullptr ? "" : name);
    map_.Init(records, cells);
}

/// Returns a moving block of at least `cells` cells; kNoCell when there is none.
inline Cell Pool::TakeBlock(uint32_t cells, ThreadStock* stock) {
    const uint32_t index = stock_class::Of(cells);
    if (stock == nullptr || index == stock_class::kNone) return TakeUnderLock(cells, stock);
    const Cell start = Pop(stock->blocks, index);
    return start != kNoCell ? start : TakeUnderLock(cells, stock);
}

inline void Pool::CountTaken(size_t bytes, ThreadStock* stock) {
    if (stock == nullptr) return CountTakenWithoutStock(bytes);
    stock->counters.taken.Add();
    if (!stock->allowance.Spend(bytes)) Replenish(stock->allowance, bytes);
}

inline void Pool::CountReturned(size_t bytes, ThreadStock* stock) {
    if (stock == nullptr) return CountReturnedWithoutStock(bytes);
    stock->counters.returned.Add();
    if (!stock->allowance.Add(bytes)) Replenish(stock->allowance, 0);
}

inline void* Pool::HandOut(Cell start, uint32_t contents, uint32_t site) {
    BlockRecord& record = map_.At(start);
    record.contents.store(contents, std::memory_order_relaxed);
    record.site.store(site, std::memory_order_relaxed);
    WriteGuard(start + contents);
    // Last, so that whoever finds a live block finds all that belongs to it.
    record.SetTag(record.Tag().In(BlockState::kLive));
    return AddressOf(start);
}

void* Pool::Alloc(unsigned int size, const char* file, int line) {
    if (size == 0) return nullptr;
    const uint32_t contents = (size - 1) / kCellBytes + 1;
    const uint32_t cells = stock_class::RoundedCells(contents + kGuardCells);
    ThreadStock* const stock = OwnStock();
    const Cell start = TakeBlock(cells, stock);
    if (start == kNoCell) {
        fails_.fetch_add(1, std::memory_order_relaxed);
        return nullptr;
    }
    CountTaken(size_t{contents} * kCellBytes, stock);
    return HandOut(start, contents, SiteOf(file, line));
}

/// Makes a moving block free for others.
inline void Pool::GiveBlock(Cell start, BlockTag tag, ThreadStock* stock) {
    const uint32_t index = stock_class::Of(tag.Cells());
    if (stock == nullptr || index == stock_class::kNone) return GiveUnderLock(start, tag);
    if (stock->blocks.Count(index) == OwnBlocks::Room(index)) MakeRoom(*stock, index);
    map_.At(start).SetTag(tag.In(BlockState::kStocked));
    stock->blocks.Put(index, start);
}

int Pool::Free(void* block) {
    const size_t offset = OffsetOf(block);
    const Cell start = static_cast<Cell>(offset / kCellBytes) + kFirstCell;
    BlockRecord& record = map_.At(start);
    const BlockTag tag = record.Tag();
    if (offset % kCellBytes != 0 || !tag.StartsAt(start)) return RefuseState(block, BlockState::kNone);
    // Of two tasks that free the block at once only one gets past here.
    if (tag.State() != BlockState::kLive || !record.Move(tag, tag.In(BlockState::kMoving))) {
        return RefuseState(block, tag.State());
    }
    const uint32_t contents = record.contents.load(std::memory_order_relaxed);
    if (!GuardIsIntact(start + contents)) {
        record.SetTag(tag.In(BlockState::kDamaged));
        return RefuseDamaged(block, contents, record.site.load(std::memory_order_relaxed));
    }
    ThreadStock* const stock = OwnStock();
    CountReturned(size_t{contents} * kCellBytes, stock);
    GiveBlock(start, tag, stock);
    return 0;
}

int Pool::RefuseState(const void* block, BlockState state) const {
    const char* why = "is free already";
    if (state == BlockState::kNone) why = "is not the start of a block";
    if (state == BlockState::kDamaged) why = "was written past its end and stays out of use";
    LogPort(kRefusedLevel, "Pool %s: refused to free offset %zu, which %s\r\n", name_, OffsetOf(block), why);
    return -1;
}

int Pool::RefuseDamaged(const void* block, uint32_t contents, uint32_t site) const {
    const Site taken_at = SiteAt(site);
    LogPort(
        kRefusedLevel,
        "Pool %s: refused to free offset %zu, which was written past its end and stays out of use: %u bytes "
        "taken at %s:%d\r\n",
        name_, OffsetOf(block), contents * kCellBytes, taken_at.file, taken_at.line);
    return -1;
}

void Pool::WriteGuard(Cell cell) {
    std::byte* const address = AddressOf(cell);
    const uint64_t guard[2] = {GuardFor(address), GuardFor(address)};
    std::memcpy(address, guard, sizeof(guard));
}

bool Pool::GuardIsIntact(Cell cell) const {
    const std::byte* const address = AddressOf(cell);
    uint64_t guard[2];
    std::memcpy(guard, address, sizeof(guard));
    return guard[0] == GuardFor(address) && guard[1] == GuardFor(address);
}

} // namespace onu_mng_platform
