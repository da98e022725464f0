#ifndef ONU_MNG_PLATFORM_COMMON_POOL_STOCK_H
#define ONU_MNG_PLATFORM_COMMON_POOL_STOCK_H

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "onu_mng_platform/common/pool/blocks.h"
#include "onu_mng_platform/common/sync/asymmetric_barrier.h"

namespace onu_mng_platform {

/// The classes of blocks that stocks keep. A class is a length in cells: every length up to 32, every fourth
/// up to 132 and every eighth up to 516. The longest class holds 8 KiB and the guard.
namespace block_class {

inline constexpr uint32_t kMaxCells = 516;
inline constexpr uint32_t kCount = (32 - kMinCells + 1) + (132 - 32) / 4 + (kMaxCells - 132) / 8;
inline constexpr uint32_t kNone = BlockTag::kClasses - 1;

constexpr uint32_t StepAt(uint32_t cells) {
    return cells < 32 ? 1 : cells < 132 ? 4 : 8;
}

struct Tables {
    std::array<uint16_t, kCount> cells{};          // length of each class
    std::array<uint8_t, kMaxCells + 1> to_fit{};   // by number of cells: shortest class that holds them
    std::array<uint8_t, kMaxCells + 1> of_exact{}; // by number of cells: class of this length, or kNone
};

constexpr Tables MakeTables() {
    Tables tables;
    uint32_t index = 0;
    for (uint32_t cells = kMinCells, needed = 0; index < kCount; cells += StepAt(cells), ++index) {
        tables.cells[index] = static_cast<uint16_t>(cells);
        for (; needed <= cells; ++needed) {
            tables.to_fit[needed] = static_cast<uint8_t>(index);
            tables.of_exact[needed] = static_cast<uint8_t>(needed == cells ? index : kNone);
        }
    }
    return tables;
}

inline constexpr Tables kTables = MakeTables();
static_assert(kTables.cells[kCount - 1] == kMaxCells && kCount < kNone);

/// Returns the shortest class of at least `cells` cells; kNone if there is none.
constexpr uint32_t ToFit(uint32_t cells) {
    return cells <= kMaxCells ? kTables.to_fit[cells] : kNone;
}
/// Returns the class of exactly `cells` cells; kNone if there is none.
constexpr uint32_t OfExact(uint32_t cells) {
    return cells <= kMaxCells ? kTables.of_exact[cells] : kNone;
}
constexpr uint32_t CellsOf(uint32_t index) {
    return kTables.cells[index];
}
constexpr uint32_t BytesOf(uint32_t index) {
    return CellsOf(index) * kCellBytes;
}

} // namespace block_class

/// The free blocks of one class in a stock.
///
/// Only the owner of the stock changes `count`. Another thread that empties the stock replaces entries by
/// kNoCell.
struct Bin {
    static constexpr uint32_t kMostBlocks = 60;
    static constexpr uint32_t kMostBytes = 8 * 1024;

    std::atomic<uint32_t> count{0};
    uint32_t tag = 0;   ///< Tag of a block in this bin, without the bit of its start cell.
    uint32_t room = 0;  ///< Maximum number of entries. 0 until Init().
    uint16_t cells = 0; ///< Length of the class.
    uint16_t batch = 0; ///< Size of the last batch that was fetched from the map, in blocks.
    std::atomic<Cell>* blocks = nullptr;

    /// Returns the maximum number of entries of a class: 8 KiB of blocks, but at least 4 and at most 60
    /// blocks.
    static constexpr uint32_t RoomOf(uint32_t index) {
        return std::clamp(kMostBytes / block_class::BytesOf(index), uint32_t{4}, kMostBlocks);
    }

    void Init(uint32_t holder, uint32_t index, std::atomic<Cell>* entries) {
        room = RoomOf(index);
        cells = static_cast<uint16_t>(block_class::CellsOf(index));
        tag = BlockTag::Stocked(0, holder, index).Bits();
        blocks = entries;
    }
    BlockTag TagOf(Cell start) const { return BlockTag(tag | (start & 1) << 3); }

    uint32_t Count() const { return count.load(std::memory_order_relaxed); }
    Cell At(uint32_t position) const { return blocks[position].load(std::memory_order_relaxed); }
    /// Adds a block. The caller has already set the tag of the block. The bin must have room, and `old_count`
    /// must be its count.
    void Push(uint32_t old_count, Cell start) {
        blocks[old_count].store(start, std::memory_order_relaxed);
        count.store(old_count + 1, std::memory_order_release);
    }
};

constexpr uint32_t CountEntriesOfAllBins() {
    uint32_t entries = 0;
    for (uint32_t index = 0; index < block_class::kCount; ++index)
        entries += Bin::RoomOf(index);
    return entries;
}
inline constexpr uint32_t kEntriesOfAllBins = CountEntriesOfAllBins();

/// The part of a pool that belongs to one thread: free blocks, and cells that it may take without a new peak.
///
/// The owner takes and returns blocks without a lock and without an atomic exchange. Another thread that
/// needs the blocks or the cells closes the stock under the pool's lock. From then on the owner takes blocks
/// under the lock too. It still returns blocks without it.
///
/// To take a block, the owner first lowers `count` and `left` and then checks whether the stock is open. To
/// close the stock, the other thread first stores `least`, then makes every thread execute a memory barrier,
/// and only then reads `count` and `left`. So either the owner sees that the stock is closed, or the other
/// thread sees that the block and the cells are gone. Neither waits for the other.
struct ThreadStock {
    /// The maximum number of cells that a thread keeps. If it has more, it returns some.
    static constexpr ptrdiff_t kMostAllowed = 4096;
    /// A closed stock opens again after this number of requests by its owner. Otherwise two threads that
    /// compete for the last blocks or cells would close each other's stock at every request.
    static constexpr uint32_t kClosedFor = 256;

    Bin bins[block_class::kCount];

    /// The owner may take `left` - `withdrawn` cells without a new peak. `withdrawn` is 0 in an open stock.
    std::atomic<ptrdiff_t> left{0};
    std::atomic<ptrdiff_t> least{PTRDIFF_MAX}; ///< 0: the stock is open. PTRDIFF_MAX: it is closed.
    std::atomic<unsigned long> taken{0};       ///< Blocks; written by the owner.
    std::atomic<unsigned long> returned{0};    ///< Blocks; written by the owner.
    uint32_t holder = BlockTag::kHolders;      ///< Number of the owner. Never changes.

    // Guarded by the pool's lock.
    uint32_t closed_for = kClosedFor; ///< Requests since the stock was closed.
    ptrdiff_t withdrawn = 0;
    uint32_t entries_used = 0;

    /// Returns a bin, and initialises it at its first use. The caller is the owner and holds the pool's lock.
    Bin& ReadyBin(uint32_t index) {
        Bin& bin = bins[index];
        if (bin.room == 0) {
            bin.Init(holder, index, &entries[entries_used]);
            entries_used += bin.room;
        }
        return bin;
    }

    /// Returns false for the empty stock that stands in for the stock of a thread without one.
    bool HasOwner() const { return holder != BlockTag::kHolders; }

    /// Takes cells, even if it returns false. Called by the owner.
    /// @return false if there were fewer cells or the stock is closed.
    bool Spend(ptrdiff_t cells) {
        const ptrdiff_t now_left = left.load(std::memory_order_relaxed) - cells;
        left.store(now_left, std::memory_order_relaxed);
        AsymmetricBarrier::Light();
        return now_left >= least.load(std::memory_order_acquire);
    }
    /// Gives cells back. Called by the owner.
    /// @return false if the owner now has more than `kMostAllowed`.
    bool Refund(ptrdiff_t cells) {
        const ptrdiff_t now_left = left.load(std::memory_order_relaxed) + cells;
        left.store(now_left, std::memory_order_release);
        return now_left <= kMostAllowed;
    }

    static void Add(std::atomic<unsigned long>& count) {
        count.store(count.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    }

    bool IsOpen() const { return least.load(std::memory_order_relaxed) == 0; }
    ptrdiff_t Allowed() const { return left.load(std::memory_order_acquire) - withdrawn; }

private:
    std::atomic<Cell> entries[kEntriesOfAllBins] = {};
};

} // namespace onu_mng_platform

#endif
