#ifndef ONU_MNG_PLATFORM_COMMON_POOL_BLOCKS_H
#define ONU_MNG_PLATFORM_COMMON_POOL_BLOCKS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace onu_mng_platform {

/// The number of a 16-byte cell of a region. 0 is none. A block is a run of at least two cells.
using Cell = uint32_t;

inline constexpr Cell kNoCell = 0;
inline constexpr Cell kFirstCell = 2;
inline constexpr uint32_t kCellBytes = 16;
inline constexpr uint32_t kMinCells = 2;

enum class BlockState : uint32_t {
    kNone,    ///< No block starts here.
    kFree,    ///< In a free list of the map.
    kMoving,  ///< Belongs to the thread that takes or returns it.
    kStocked, ///< In a stock or in the depot, for the next request of its class.
    kLive,    ///< Belongs to a caller.
    kDamaged, ///< Written past its end. Never handed out again.
};

/// The state of a block, in one word.
///
/// | bits  | kFree                          | kStocked, kLive, kDamaged                       |
/// |-------|--------------------------------|-------------------------------------------------|
/// | 0-2   | state                          | state                                           |
/// | 3     | lowest bit of the start cell   | the same                                        |
/// | 4-12  | previous block in its list     | holder: the stock it is in or was taken from    |
/// | 13-19 |                                | class                                           |
/// | 20-31 |                                | slack: cells that the caller did not ask for    |
class BlockTag {
public:
    static constexpr uint32_t kHolders = 1U << 9;
    static constexpr uint32_t kClasses = 1U << 7;

    constexpr explicit BlockTag(uint32_t bits) : bits_(bits) {}
    constexpr BlockTag(BlockState state, Cell start)
        : bits_(static_cast<uint32_t>(state) | (start & 1) << 3) {}

    static constexpr BlockTag Free(Cell start, Cell previous) {
        return BlockTag(BlockTag(BlockState::kFree, start).bits_ | previous << 4);
    }
    static constexpr BlockTag Stocked(Cell start, uint32_t holder, uint32_t block_class) {
        return BlockTag(BlockTag(BlockState::kStocked, start).bits_ | holder << 4 | block_class << 13);
    }
    /// Returns the tag of this stocked block after it was taken.
    constexpr BlockTag Live(uint32_t slack) const {
        return BlockTag((bits_ ^ (static_cast<uint32_t>(BlockState::kStocked) ^
                                  static_cast<uint32_t>(BlockState::kLive))) |
                        slack << 20);
    }

    constexpr uint32_t Bits() const { return bits_; }
    constexpr BlockState State() const { return static_cast<BlockState>(bits_ & 7); }
    /// Returns whether the block starts at `cell`, one of the two cells that share a record.
    constexpr bool StartsAt(Cell cell) const {
        return State() != BlockState::kNone && (bits_ >> 3 & 1) == (cell & 1);
    }
    /// True for a live block that starts at `cell` and was taken from the stock `holder`.
    constexpr bool IsLiveFrom(uint32_t holder, Cell cell) const {
        return (bits_ & 0x1FFF) == Stocked(cell, holder, 0).Live(0).bits_;
    }
    constexpr Cell Start(size_t record) const { return static_cast<Cell>(2 * record) | (bits_ >> 3 & 1); }
    constexpr Cell Previous() const { return bits_ >> 4; }
    constexpr uint32_t Class() const { return bits_ >> 13 & (kClasses - 1); }
    constexpr uint32_t Slack() const { return bits_ >> 20; }
    constexpr BlockTag In(BlockState state) const {
        return BlockTag((bits_ & ~uint32_t{7}) | static_cast<uint32_t>(state));
    }

private:
    uint32_t bits_;
};

/// The record of the block that starts in one of two neighbouring cells. Records lie outside of the region,
/// so a write past the end of a block does not reach them.
///
/// The state decides which thread may change the tag. kFree: the holder of the pool's lock. kStocked: the
/// owner of the stock, or a thread that closed the stock and holds the lock. kMoving: the thread that moves
/// the block. kLive: any thread that returns the block. If the block comes from the thread's own stock, the
/// thread stores the new tag. Otherwise it exchanges the tag.
struct BlockRecord {
    std::atomic<uint32_t> tag;
    std::atomic<uint32_t> cells; ///< Length; changed under the pool's lock.
    uint32_t cells_before;       ///< Length of the block in front; guarded by the pool's lock.
    std::atomic<uint32_t> site;  ///< Live: the site that took it. Free: the next block in its list.

    BlockTag Tag() const { return BlockTag(tag.load(std::memory_order_acquire)); }
    void SetTag(BlockTag value) { tag.store(value.Bits(), std::memory_order_release); }
    /// Replaces the tag `from` by `to`. False if the tag is not `from`.
    bool Move(BlockTag from, BlockTag to) {
        uint32_t expected = from.Bits();
        return tag.compare_exchange_strong(expected, to.Bits(), std::memory_order_acq_rel,
                                           std::memory_order_relaxed);
    }
    uint32_t Cells() const { return cells.load(std::memory_order_relaxed); }
    Cell Next() const { return site.load(std::memory_order_relaxed); }
    /// Stores with release order. If a view reads the link as a site, it then also sees that the tag has
    /// changed.
    void SetNext(Cell next) { site.store(next, std::memory_order_release); }
};

/// A block at one moment.
struct BlockView {
    BlockTag tag;
    uint32_t cells;
    uint32_t site; ///< Of a live or damaged block; otherwise meaningless.
};

/// The map of the blocks of a region. Free blocks are in lists by length, with a bitmap of the lists that are
/// not empty. A block that is longer than needed is split when it is taken. A block that comes back is joined
/// with its free neighbours. Both operations take bounded time.
///
/// Thread safety: taking and releasing run under the pool's lock. Any thread may read records at any time.
class BlockMap {
public:
    static constexpr uint32_t kMaxCells = (1U << 28) - 1;

    /// Bytes of zeroed memory that Init() needs for the records of a region of `cells` cells.
    static size_t RecordBytes(uint32_t cells) { return RecordCount(cells) * sizeof(BlockRecord); }

    void Init(BlockRecord* records, uint32_t cells);

    /// Takes a block of `cells` cells, or of one more if a single cell would be left over. Its state is
    /// kMoving.
    /// @return its first cell; kNoCell if no free block was found that is long enough. If there are many free
    ///         blocks of about the needed length, a block that is less than a sixteenth longer may be missed.
    Cell Take(uint32_t cells) { return TakeFrom(FindFit(cells, kFewProbes), cells); }

    /// Does the same as Take(), but misses no block: it looks at every free block of about this length.
    Cell TakeIfAny(uint32_t cells) { return TakeFrom(FindFit(cells, cells_), cells); }

    /// Makes a block free. Its state is kMoving.
    void Release(Cell start);

    BlockRecord& At(Cell cell) const { return records_[cell >> 1]; }

    /// Calls `visit(view)` for each block. If other threads use the pool at the same time, each block is seen
    /// at a different moment, and a block that changes at that moment is left out.
    template <class Visit>
    void ForEach(Visit visit) const {
        for (size_t i = 0; i < RecordCount(cells_); ++i) {
            const BlockRecord& record = records_[i];
            const BlockTag tag = record.Tag();
            if (tag.State() == BlockState::kNone) continue;
            // Acquire order, so the second load of the tag comes after these loads.
            const BlockView view{tag, record.cells.load(std::memory_order_acquire),
                                 record.site.load(std::memory_order_acquire)};
            if (record.Tag().Bits() == tag.Bits()) visit(view);
        }
    }

private:
    // One list for each length up to kExact cells. From there on, 16 lists for each doubling.
    static constexpr uint32_t kExact = 32;
    static constexpr uint32_t kStepBits = 4;
    static constexpr uint32_t kLists = kExact + (28 - 5) * (1 << kStepBits);
    static constexpr uint32_t kWords = (kLists + 31) / 32;
    static constexpr uint32_t kFewProbes = 64;

    static size_t RecordCount(uint32_t cells) { return (kFirstCell + cells) / 2 + 1; }
    static uint32_t ListOf(uint32_t cells);
    static uint32_t FirstListToFit(uint32_t cells);

    uint32_t FirstFilledList(uint32_t from) const;
    Cell FindFit(uint32_t cells, uint32_t probes) const;
    Cell TakeFrom(Cell start, uint32_t cells);
    void AddFree(Cell start, uint32_t cells);
    void RemoveFree(Cell start);

    BlockRecord* records_ = nullptr;
    uint32_t cells_ = 0;
    Cell heads_[kLists] = {};
    uint32_t filled_[kWords] = {}; // a bit for each list that is not empty
    uint32_t filled_words_ = 0;    // a bit for each word of `filled_` that is not 0
};

} // namespace onu_mng_platform

#endif
