#ifndef ONU_MNG_PLATFORM_COMMON_POOL_STOCK_H
#define ONU_MNG_PLATFORM_COMMON_POOL_STOCK_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "onu_mng_platform/common/pool/blocks.h"

namespace onu_mng_platform {

/// The lengths of block that are kept in stock: every one up to 32 cells, every fourth up to 132, which holds
/// 2 KiB and its guard.
namespace stock_class {

inline constexpr uint32_t kFineCells = 32;
inline constexpr uint32_t kStep = 4;
inline constexpr uint32_t kMaxCells = 132;
inline constexpr uint32_t kFine = kFineCells - kMinCells + 1;
inline constexpr uint32_t kCount = kFine + (kMaxCells - kFineCells) / kStep;
inline constexpr uint32_t kNone = kCount;

/// Returns the length that a block of at least `cells` cells gets: that of its class when it has one.
constexpr uint32_t RoundedCells(uint32_t cells) {
    if (cells <= kMinCells) return kMinCells;
    if (cells <= kFineCells || cells > kMaxCells) return cells;
    return (cells + kStep - 1) / kStep * kStep;
}

/// Returns the class of blocks of exactly `cells` cells; kNone when they are not kept in stock.
constexpr uint32_t Of(uint32_t cells) {
    if (cells <= kFineCells) return cells - kMinCells;
    if (cells > kMaxCells || cells % kStep != 0) return kNone;
    return kFine + (cells - kFineCells) / kStep - 1;
}

constexpr uint32_t CellsOf(uint32_t index) {
    return index < kFine ? index + kMinCells : kFineCells + (index - kFine + 1) * kStep;
}

} // namespace stock_class

/// Blocks of each class that were free when they were put in, the last one on top.
///
/// An entry is a hint, not a possession: the block's tag alone says whose it is, and whoever takes an entry
/// out moves the block with a compare-and-swap or drops the entry. A stocked block has at least one entry
/// somewhere, because an entry is dropped only when the block is not stocked at that moment and each block
/// that becomes stocked is entered anew.
///
/// Thread safety: one owner (a thread, or the pool's lock) calls everything but TakeBack() and ForEach(),
/// which any thread may call. RemoveOldest() and TakeBack() run under the pool's lock.
template <uint32_t MaxEntries, uint32_t MaxBytes>
class Stock {
public:
    /// Returns how many blocks of a class fit.
    static uint32_t Room(uint32_t index) { return kRooms.of[index]; }

    uint32_t Count(uint32_t index) const { return counts_[index]; }

    /// Adds a block that is stocked already, so that who takes it back from here finds it so; the class has
    /// room.
    void Put(uint32_t index, Cell cell) {
        const uint16_t count = counts_[index];
        entries_[index][count].store(cell, std::memory_order_release);
        counts_[index] = static_cast<uint16_t>(count + 1);
        if (count == 0) MarkUsed(index);
    }

    /// Removes the entry on top; the class is not empty. kNoCell when it was taken back.
    Cell Pop(uint32_t index) { return entries_[index][--counts_[index]].load(std::memory_order_relaxed); }

    /// Removes the `count` oldest entries, which are handed to `visit(cell)` unless they were taken back.
    template <class Visit>
    void RemoveOldest(uint32_t index, uint32_t count, Visit visit) {
        std::atomic<Cell>* entries = entries_[index];
        for (uint32_t i = 0; i < count; ++i) {
            const Cell cell = entries[i].load(std::memory_order_relaxed);
            if (cell != kNoCell) visit(cell);
        }
        for (uint32_t i = count; i < counts_[index]; ++i) {
            entries[i - count].store(entries[i].load(std::memory_order_relaxed), std::memory_order_relaxed);
        }
        counts_[index] = static_cast<uint16_t>(counts_[index] - count);
    }

    /// Hands all entries to `visit(cell, index)`.
    template <class Visit>
    void TakeBack(Visit visit) {
        const uint64_t used = used_.load(std::memory_order_relaxed);
        for (uint32_t index = 0; index < stock_class::kCount; ++index) {
            if ((used >> index & 1) == 0) continue;
            for (std::atomic<Cell>& entry : entries_[index]) {
                if (entry.load(std::memory_order_relaxed) == kNoCell) continue;
                const Cell cell = entry.exchange(kNoCell, std::memory_order_acquire);
                if (cell != kNoCell) visit(cell, index);
            }
        }
    }

private:
    struct Rooms {
        uint16_t of[stock_class::kCount];
    };
    static constexpr Rooms MakeRooms() {
        Rooms rooms{};
        for (uint32_t i = 0; i < stock_class::kCount; ++i) {
            const uint32_t fitting = MaxBytes / (stock_class::CellsOf(i) * kCellBytes);
            rooms.of[i] = static_cast<uint16_t>(std::clamp(fitting, uint32_t{4}, MaxEntries));
        }
        return rooms;
    }
    static constexpr Rooms kRooms = MakeRooms();

    void MarkUsed(uint32_t index) {
        const uint64_t used = used_.load(std::memory_order_relaxed);
        used_.store(used | uint64_t{1} << index, std::memory_order_relaxed);
    }

    std::atomic<uint64_t> used_{0}; // a bit for each class that ever had an entry
    uint16_t counts_[stock_class::kCount] = {};
    std::atomic<Cell> entries_[stock_class::kCount][MaxEntries] = {};
};

} // namespace onu_mng_platform

#endif
