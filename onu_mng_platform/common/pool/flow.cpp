// How blocks pass between the map, the depot and the threads' stocks.
#include <algorithm>
#include <new>

#include "onu_mng_platform/common/pool/core.h"

namespace onu_mng_platform {

constexpr uint32_t kFirstBatch = 4; // blocks

Pool::ThreadStock* Pool::MakeStock() {
    const unsigned int slot = ThreadSlot();
    if (slot == kNoThreadSlot) return nullptr;
    ThreadStock* stock = stocks_[slot].load(std::memory_order_acquire);
    if (stock == nullptr) stock = new (std::nothrow) ThreadStock;
    stocks_[slot].store(stock, std::memory_order_release);
    unsigned int end = stocks_end_.load(std::memory_order_relaxed);
    while (end <= slot && !stocks_end_.compare_exchange_weak(end, slot + 1, std::memory_order_acq_rel)) {
    }
    return stock;
}

Cell Pool::TakeUnderLock(uint32_t cells, ThreadStock* stock) {
    const uint32_t index = stock_class::Of(cells);
    const std::lock_guard<ShortLock> guard(lock_);
    Cell start = index == stock_class::kNone ? kNoCell : TakeFromDepot(index, stock);
    if (start == kNoCell) start = TakeFromMap(cells, stock);
    if (start != kNoCell) return start;
    TakeStocksBack();
    return map_.TakeIfAny(cells);
}

/// Takes one block of a class and moves as many more as a batch has to `stock`.
Cell Pool::TakeFromDepot(uint32_t index, ThreadStock* stock) {
    const Cell start = Pop(depot_, index);
    if (start == kNoCell || stock == nullptr) return start;
    const uint32_t batch = OwnBlocks::Room(index) / 2;
    for (uint32_t i = 1; i < batch && depot_.Count(index) != 0; ++i) {
        const Cell more = depot_.Pop(index);
        if (more != kNoCell) stock->blocks.Put(index, more);
    }
    return start;
}

/// Takes one block and cuts some more for `stock`: twice as many each time, so that a thread that needs few
/// blocks of a class does not hoard them, but so many that the first blocks of two threads, which each of
/// them takes again and again, share no cache line.
Cell Pool::TakeFromMap(uint32_t cells, ThreadStock* stock) {
    const uint32_t index = stock_class::Of(cells);
    const Cell start = map_.Take(cells);
    if (start == kNoCell || stock == nullptr || index == stock_class::kNone) return start;
    const uint32_t limit = OwnBlocks::Room(index) / 2;
    const uint32_t batch = std::min(std::max(2 * uint32_t{stock->batches[index]}, kFirstBatch), limit);
    stock->batches[index] = static_cast<uint8_t>(batch);
    for (uint32_t i = 1; i < batch; ++i) {
        const Cell more = map_.Take(cells);
        if (more == kNoCell) break;
        const BlockTag tag = map_.At(more).Tag();
        if (tag.Cells() != cells) {
            map_.Release(more);
            break;
        }
        map_.At(more).SetTag(tag.In(BlockState::kStocked));
        stock->blocks.Put(index, more);
    }
    return start;
}

/// Moves a stocked block to the map unless its entry was out of date.
void Pool::Unstock(Cell start, uint32_t index) {
    const BlockTag stocked(BlockState::kStocked, start, stock_class::CellsOf(index));
    if (map_.At(start).Move(stocked, stocked.In(BlockState::kMoving))) map_.Release(start);
}

void Pool::TakeStocksBack() {
    const auto unstock = [this](Cell start, uint32_t index) { Unstock(start, index); };
    ForEachStock([&](ThreadStock& stock) { stock.blocks.TakeBack(unstock); });
    depot_.TakeBack(unstock);
}

void Pool::Flush(unsigned int slot) {
    ThreadStock* const stock = stocks_[slot].load(std::memory_order_acquire);
    if (stock == nullptr) return;
    const std::lock_guard<ShortLock> guard(lock_);
    stock->blocks.TakeBack([this](Cell start, uint32_t index) { Unstock(start, index); });
    meter_.Return(stock->allowance.TakeAll());
    std::fill(std::begin(stock->batches), std::end(stock->batches), uint8_t{0});
}

void Pool::GiveUnderLock(Cell start, BlockTag tag) {
    const uint32_t index = stock_class::Of(tag.Cells());
    const std::lock_guard<ShortLock> guard(lock_);
    if (index == stock_class::kNone || depot_.Count(index) == Depot::Room(index)) {
        map_.At(start).SetTag(tag.In(BlockState::kMoving));
        return map_.Release(start);
    }
    map_.At(start).SetTag(tag.In(BlockState::kStocked));
    depot_.Put(index, start);
}

/// Moves the older half of a class to the depot, and to the map what the depot has no room for.
void Pool::MakeRoom(ThreadStock& stock, uint32_t index) {
    const std::lock_guard<ShortLock> guard(lock_);
    stock.blocks.RemoveOldest(index, OwnBlocks::Room(index) / 2, [&](Cell start) {
        if (depot_.Count(index) < Depot::Room(index)) {
            depot_.Put(index, start);
        } else {
            Unstock(start, index);
        }
    });
}

} // namespace onu_mng_platform
