#include "onu_mng_platform/common/pool/blocks.h"

namespace onu_mng_platform {
namespace {

uint32_t LowestBit(uint32_t word) {
    return static_cast<uint32_t>(__builtin_ctz(word));
}
uint32_t HighestBit(uint32_t word) {
    return 31 - static_cast<uint32_t>(__builtin_clz(word));
}

} // namespace

uint32_t BlockMap::ListOf(uint32_t cells) {
    if (cells < kExact) return cells;
    const uint32_t doubling = HighestBit(cells);
    const uint32_t step = (cells >> (doubling - kStepBits)) & ((1U << kStepBits) - 1);
    return kExact + ((doubling - 5) << kStepBits) + step;
}

/// Returns the first list all of whose blocks have at least `cells` cells.
uint32_t BlockMap::FirstListToFit(uint32_t cells) {
    if (cells < kExact) return cells;
    const uint32_t step = 1U << (HighestBit(cells) - kStepBits);
    return ListOf(cells + step - 1);
}

/// Returns the first list from `from` on that is not empty; kLists when there is none.
uint32_t BlockMap::FirstFilledList(uint32_t from) const {
    const uint32_t word = from / 32;
    if (word >= kWords) return kLists;
    const uint32_t here = filled_[word] & (~uint32_t{0} << from % 32);
    if (here != 0) return 32 * word + LowestBit(here);
    const uint32_t later = filled_words_ & (~uint32_t{1} << word);
    if (later == 0) return kLists;
    return 32 * LowestBit(later) + LowestBit(filled_[LowestBit(later)]);
}

/// Returns a free block of at least `cells` cells; kNoCell when there is none. Where only one list is left,
/// some of whose blocks are too short, looks at `probes` of them.
Cell BlockMap::FindFit(uint32_t cells, uint32_t probes) const {
    if (cells > cells_) return kNoCell;
    const uint32_t list = FirstFilledList(FirstListToFit(cells));
    if (list < kLists) return heads_[list];
    Cell start = heads_[ListOf(cells)];
    for (uint32_t i = 0; i < probes && start != kNoCell; ++i) {
        if (At(start).Tag().Cells() >= cells) return start;
        start = At(start).site.load(std::memory_order_relaxed);
    }
    return kNoCell;
}

void BlockMap::AddFree(Cell start, uint32_t cells) {
    const uint32_t list = ListOf(cells);
    BlockRecord& record = At(start);
    // Released, so that a view that finds a link finds the tag changed as well.
    record.site.store(heads_[list], std::memory_order_release);
    record.contents.store(kNoCell, std::memory_order_release);
    if (heads_[list] != kNoCell) At(heads_[list]).contents.store(start, std::memory_order_relaxed);
    heads_[list] = start;
    filled_[list / 32] |= 1U << list % 32;
    filled_words_ |= 1U << list / 32;
    record.SetTag(BlockTag(BlockState::kFree, start, cells));
    At(start + cells).cells_before = cells;
}

void BlockMap::RemoveFree(Cell start) {
    const uint32_t list = ListOf(At(start).Tag().Cells());
    const Cell next = At(start).site.load(std::memory_order_relaxed);
    const Cell previous = At(start).contents.load(std::memory_order_relaxed);
    if (next != kNoCell) At(next).contents.store(previous, std::memory_order_relaxed);
    if (previous != kNoCell) {
        At(previous).site.store(next, std::memory_order_relaxed);
        return;
    }
    heads_[list] = next;
    if (next != kNoCell) return;
    filled_[list / 32] &= ~(1U << list % 32);
    if (filled_[list / 32] == 0) filled_words_ &= ~(1U << list / 32);
}

void BlockMap::Init(BlockRecord* records, uint32_t cells) {
    records_ = records;
    cells_ = cells;
    AddFree(kFirstCell, cells);
}

Cell BlockMap::TakeFrom(Cell start, uint32_t cells) {
    if (start == kNoCell) return kNoCell;
    const uint32_t found = At(start).Tag().Cells();
    RemoveFree(start);
    uint32_t taken = found;
    if (found - cells >= kMinCells) {
        taken = cells;
        AddFree(start + cells, found - cells);
    }
    At(start + taken).cells_before = taken;
    At(start).SetTag(BlockTag(BlockState::kMoving, start, taken));
    return start;
}

void BlockMap::Release(Cell start) {
    uint32_t cells = At(start).Tag().Cells();
    const Cell after = start + cells;
    if (At(after).Tag().State() == BlockState::kFree) {
        RemoveFree(after);
        cells += At(after).Tag().Cells();
        At(after).SetTag(BlockTag(0));
    }
    const Cell before = start - At(start).cells_before;
    if (before != start && At(before).Tag().State() == BlockState::kFree) {
        RemoveFree(before);
        cells += At(before).Tag().Cells();
        At(start).SetTag(BlockTag(0));
        start = before;
    }
    AddFree(start, cells);
}

} // namespace onu_mng_platform
