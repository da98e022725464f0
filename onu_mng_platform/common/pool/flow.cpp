// Moves blocks between the map, the depot and the stocks, and shares the cells below the peak among the
// threads. The callers hold the pool's lock, except for Settle(), MakeRoom() and Flush(), which take it.
#include <algorithm>
#include <mutex>

#include "onu_mng_platform/common/pool/core.h"

namespace onu_mng_platform {
namespace {

constexpr uint32_t kFirstBatch = 4; // blocks

/// Returns the most blocks of a class in the depot: 64 KiB, but at least 8 and at most 256 blocks.
uint32_t DepotRoom(uint32_t index) {
    return std::clamp(64 * 1024 / block_class::BytesOf(index), uint32_t{8}, uint32_t{256});
}

} // namespace

/// Changes the state of a block that was removed from a bin to kMoving, so that it belongs to the caller.
/// @return false if the tag shows that the block is not in this bin. Then two threads have returned it at the
///         same instant and both have counted it. This function undoes one of the two counts.
bool Pool::TakeOver(Cell start, const Bin& bin) {
    BlockRecord& record = At(start);
    if (record.Tag().Bits() == bin.TagOf(start).Bits()) {
        record.SetTag(BlockTag(BlockState::kMoving, start));
        return true;
    }
    --returned_;
    spare_ -= bin.cells - kGuardCells;
    returned_twice_ = start;
    return false;
}

Cell Pool::TakeBlock(uint32_t index, uint32_t contents, ThreadStock* stock) {
    Cell start = kNoCell;
    if (index == block_class::kNone) {
        start = map_.Take(contents + kGuardCells);
    } else {
        if (stock != nullptr) start = TakeFromBin(*stock, index);
        if (start == kNoCell) start = TakeFromDepot(index, stock);
        if (start == kNoCell) start = TakeFromMap(index, stock);
    }
    if (start != kNoCell) return start;
    TakeStocksBack(stock);
    return map_.TakeIfAny(contents + kGuardCells);
}

Cell Pool::TakeFromBin(ThreadStock& stock, uint32_t index) {
    Bin& bin = stock.ReadyBin(index);
    while (const uint32_t count = bin.Count()) {
        const Cell start = bin.At(count - 1);
        bin.count.store(count - 1, std::memory_order_release);
        if (start != kNoCell && TakeOver(start, bin)) return start;
    }
    return kNoCell;
}

/// Takes a block of a class, and moves more of them from the depot to the empty bin, up to half of its room.
Cell Pool::TakeFromDepot(uint32_t index, ThreadStock* stock) {
    Shelf& shelf = depot_[index];
    if (shelf.count == 0) return kNoCell;
    const Cell start = shelf.blocks[--shelf.count];
    At(start).SetTag(BlockTag(BlockState::kMoving, start));
    if (stock == nullptr) return start;
    Bin& bin = stock->bins[index];
    const uint32_t more = std::min(shelf.count, bin.room / 2 - 1);
    for (uint32_t count = 0; count < more; ++count) {
        const Cell each = shelf.blocks[--shelf.count];
        At(each).SetTag(bin.TagOf(each));
        bin.Push(count, each);
    }
    return start;
}

/// Takes one block and more blocks for the empty bin. The number doubles each time, so a thread that needs
/// few blocks of a class does not hoard them. The first number is large enough that the first blocks of two
/// threads, which they use again and again, share no cache line.
Cell Pool::TakeFromMap(uint32_t index, ThreadStock* stock) {
    const uint32_t cells = block_class::CellsOf(index);
    const Cell start = map_.Take(cells);
    if (start == kNoCell || stock == nullptr) return start;
    Bin& bin = stock->bins[index];
    const uint32_t batch = std::min(std::max(uint32_t{2} * bin.batch, kFirstBatch), bin.room / 2);
    bin.batch = static_cast<uint16_t>(batch);
    for (uint32_t count = 0; count + 1 < batch; ++count) {
        const Cell more = map_.Take(cells);
        if (more == kNoCell) break;
        if (At(more).Cells() != cells) {
            map_.Release(more);
            break;
        }
        At(more).SetTag(bin.TagOf(more));
        bin.Push(count, more);
    }
    return start;
}

/// Moves a block of the caller's to the depot, or to the map if it has no class or the depot is full.
void Pool::Shelve(Cell start, uint32_t index) {
    if (index == block_class::kNone || depot_[index].count == DepotRoom(index)) return map_.Release(start);
    Shelf& shelf = depot_[index];
    At(start).SetTag(BlockTag::Stocked(start, kNobody, index));
    shelf.blocks[shelf.count++] = start;
}

/// Moves the older half of a full bin to the depot. Called by the owner of the stock.
void Pool::MakeRoom(ThreadStock& stock, uint32_t index) {
    const std::lock_guard<ShortLock> guard(lock_);
    Bin& bin = stock.ReadyBin(index);
    const uint32_t count = bin.Count();
    const uint32_t leaving = count / 2;
    for (uint32_t i = 0; i < leaving; ++i) {
        const Cell start = bin.At(i);
        if (start != kNoCell && TakeOver(start, bin)) Shelve(start, index);
    }
    for (uint32_t i = leaving; i < count; ++i)
        bin.blocks[i - leaving].store(bin.At(i), std::memory_order_relaxed);
    bin.count.store(count - leaving, std::memory_order_release);
}

/// Moves the blocks of a stock to the map. The caller owns the stock or has closed it. The entries become
/// kNoCell and stay counted, because only the owner changes the count.
void Pool::Empty(ThreadStock& stock) {
    for (uint32_t index = 0; index < block_class::kCount; ++index) {
        Bin& bin = stock.bins[index];
        const uint32_t count = bin.count.load(std::memory_order_acquire);
        for (uint32_t i = 0; i < count; ++i) {
            const Cell start = bin.At(i);
            if (start == kNoCell) continue;
            bin.blocks[i].store(kNoCell, std::memory_order_relaxed);
            if (TakeOver(start, bin)) map_.Release(start);
        }
    }
}

/// Closes the open stocks of other threads for which `condition` is true.
template <class Condition>
void Pool::CloseOthers(const ThreadStock* own, Condition condition) {
    bool closed = false;
    ForEachStock([&](ThreadStock& stock) {
        if (&stock == own || !stock.IsOpen() || !condition(stock)) return;
        stock.least.store(PTRDIFF_MAX, std::memory_order_relaxed);
        stock.closed_for = 0;
        closed = true;
    });
    if (closed) AsymmetricBarrier::Heavy();
}

void Pool::TakeStocksBack(const ThreadStock* own) {
    CloseOthers(own, [](const ThreadStock&) { return true; });
    ForEachStock([this](ThreadStock& stock) { Empty(stock); });
    for (Shelf& shelf : depot_) {
        while (shelf.count != 0) {
            const Cell start = shelf.blocks[--shelf.count];
            At(start).SetTag(BlockTag(BlockState::kMoving, start));
            map_.Release(start);
        }
    }
}

void Pool::Flush(unsigned int slot) {
    ThreadStock* const stock = stocks_[slot].load(std::memory_order_acquire);
    if (!stock->HasOwner()) return;
    const std::lock_guard<ShortLock> guard(lock_);
    Empty(*stock);
    for (Bin& bin : stock->bins) {
        bin.count.store(0, std::memory_order_relaxed);
        bin.batch = 0;
    }
    spare_ += stock->Allowed();
    stock->left.store(0, std::memory_order_relaxed);
    stock->withdrawn = 0;
    stock->least.store(PTRDIFF_MAX, std::memory_order_relaxed);
    stock->closed_for = ThreadStock::kClosedFor;
}

void Pool::CountTaken(ThreadStock* stock, uint32_t contents) {
    if (stock == nullptr) {
        ++taken_;
        return Pay(contents, nullptr);
    }
    ThreadStock::Add(stock->taken);
    stock->left.store(stock->left.load(std::memory_order_relaxed) - contents, std::memory_order_relaxed);
    if (!stock->IsOpen() && stock->closed_for < ThreadStock::kClosedFor) ++stock->closed_for;
    Balance(*stock);
}

int Pool::Settle(ThreadStock& stock) {
    const std::lock_guard<ShortLock> guard(lock_);
    Balance(stock);
    return 0;
}

/// Pays for the cells that the owner took beyond its allowance. Then sets the allowance to half of its
/// maximum, or less, because it takes at most half of the spare cells. Called by the owner.
void Pool::Balance(ThreadStock& stock) {
    constexpr ptrdiff_t kGoal = ThreadStock::kMostAllowed / 2;
    ptrdiff_t left = stock.Allowed();
    if (left < 0) {
        Pay(-left, &stock);
        left = 0;
    }
    if (left > kGoal) {
        spare_ += left - kGoal;
        left = kGoal;
    } else {
        left += Draw(std::min(kGoal - left, spare_ / 2));
    }
    stock.withdrawn = 0;
    stock.left.store(left, std::memory_order_relaxed);
    if (stock.closed_for == ThreadStock::kClosedFor) stock.least.store(0, std::memory_order_relaxed);
}

/// Pays from the spare cells, or else from the allowances of other threads, or else by a new peak.
void Pool::Pay(ptrdiff_t cells, const ThreadStock* payer) {
    cells -= Draw(cells);
    if (cells == 0) return;
    WithdrawFromClosed(payer);
    cells -= Draw(cells);
    if (cells == 0) return;
    CloseOthers(payer, [](const ThreadStock& stock) { return stock.Allowed() > 0; });
    WithdrawFromClosed(payer);
    peak_ += cells - Draw(cells);
}

void Pool::WithdrawFromClosed(const ThreadStock* but) {
    ForEachStock([&](ThreadStock& stock) {
        const ptrdiff_t allowed = stock.Allowed();
        if (&stock == but || stock.IsOpen() || allowed <= 0) return;
        stock.withdrawn += allowed;
        spare_ += allowed;
    });
}

/// Takes spare cells, at most `cells`. Returns how many.
ptrdiff_t Pool::Draw(ptrdiff_t cells) {
    const ptrdiff_t drawn = std::clamp(spare_, ptrdiff_t{0}, cells);
    spare_ -= drawn;
    return drawn;
}

} // namespace onu_mng_platform
