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

/// Returns the first list that has only blocks of at least `cells` cells.
uint32_t BlockMap::FirstListToFit(uint32_t cells) {
    if (cells < kExact) return cells;
    const uint32_t step = 1U << (HighestBit(cells) - kStepBits);
    return ListOf(cells + step - 1);
}

/// Returns the first list from `from` on that is not empty; kLists if there is none.
uint32_t BlockMap::FirstFilledList(uint32_t from) const {
    const uint32_t word = from / 32;
    if (word >= kWords) return kLists;
    const uint32_t here = filled_[word] & (~uint32_t{0} << from % 32);
    if (here != 0) return 32 * word + LowestBit(here);
    const uint32_t later = filled_words_ & (~uint32_t{1} << word);
    if (later == 0) return kLists;
    return 32 * LowestBit(later) + LowestBit(filled_[LowestBit(later)]);
}

/// Returns a free block of at least `cells` cells; kNoCell if none is found. If the only list left also has
/// blocks that are too short, looks at `probes` of its blocks.
Cell BlockMap::FindFit(uint32_t cells, uint32_t probes) const {
    if (cells > cells_) return kNoCell;
    const uint32_t list = FirstFilledList(FirstListToFit(cells));
    if (list < kLists) return heads_[list];
    Cell start = heads_[ListOf(cells)];
    for (uint32_t i = 0; i < probes && start != kNoCell; ++i) {
        if (At(start).Cells() >= cells) return start;
        start = At(start).Next();
    }
    return kNoCell;
}

void BlockMap::AddFree(Cell start, uint32_t cells) {
    const uint32_t list = ListOf(cells);
    const Cell next = heads_[list];
    BlockRecord& record = At(start);
    record.cells.store(cells, std::memory_order_relaxed);
    record.SetNext(next);
    record.SetTag(BlockTag::Free(start, kNoCell));
    if (next != kNoCell) At(next).SetTag(BlockTag::Free(next, start));
    heads_[list] = start;
    filled_[list / 32] |= 1U << list % 32;
    filled_words_ |= 1U << list / 32;
    At(start + cells).cells_before = cells;
}

void BlockMap::RemoveFree(Cell start) {
    const uint32_t list = ListOf(At(start).Cells());
    const Cell next = At(start).Next();
    const Cell previous = At(start).Tag().Previous();
    if (next != kNoCell) At(next).SetTag(BlockTag::Free(next, previous));
    if (previous != kNoCell) {
        At(previous).SetNext(next);
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
    const uint32_t found = At(start).Cells();
    RemoveFree(start);
    uint32_t taken = found;
    if (found - cells >= kMinCells) {
        taken = cells;
        AddFree(start + cells, found - cells);
    }
    At(start + taken).cells_before = taken;
    At(start).SetTag(BlockTag(BlockState::kMoving, start));
    At(start).cells.store(taken, std::memory_order_relaxed);
    return start;
}

void BlockMap::Release(Cell start) {
    uint32_t cells = At(start).Cells();
    const Cell after = start + cells;
    if (At(after).Tag().State() == BlockState::kFree) {
        RemoveFree(after);
        cells += At(after).Cells();
        At(after).SetTag(BlockTag(0));
    }
    const Cell before = start - At(start).cells_before;
    if (before != start && At(before).Tag().State() == BlockState::kFree) {
        RemoveFree(before);
        cells += At(before).Cells();
        At(start).SetTag(BlockTag(0));
        start = before;
    }
    AddFree(start, cells);
}

} // namespace onu_mng_platform
