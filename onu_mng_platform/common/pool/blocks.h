#ifndef ONU_MNG_PLATFORM_COMMON_POOL_BLOCKS_H
#define ONU_MNG_PLATFORM_COMMON_POOL_BLOCKS_H

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace onu_mng_platform {

/// The number of a 16-byte cell of a region, 0 meaning none. A block is a run of at least two cells.
using Cell = uint32_t;

inline constexpr Cell kNoCell = 0;
inline constexpr Cell kFirstCell = 2;
inline constexpr uint32_t kCellBytes = 16;
inline constexpr uint32_t kMinCells = 2;

enum class BlockState : uint32_t {
    kNone,    ///< No block starts here.
    kFree,    ///< In a free list. The only state that is entered and left under the pool's lock alone.
    kStocked, ///< Free as well, but kept in one piece for the next request of its size.
    kMoving,  ///< Belongs to the thread that is just taking it or giving it back.
    kLive,    ///< Belongs to a caller; `site` and `contents` of the record say whose and how much.
    kDamaged, ///< Written past its end: never handed out again.
};

/// State, place and length of a block in one word, so that one compare-and-swap says whose it is. Whoever
/// moves a block out of kStocked or kLive owns it; nobody else changes its length meanwhile.
class BlockTag {
public:
    constexpr explicit BlockTag(uint32_t bits) : bits_(bits) {}
    constexpr BlockTag(BlockState state, Cell start, uint32_t cells)
        : bits_(cells << 4 | (start & 1) << 3 | static_cast<uint32_t>(state)) {}

    constexpr uint32_t Bits() const { return bits_; }
    constexpr BlockState State() const { return static_cast<BlockState>(bits_ & 7); }
    constexpr uint32_t Cells() const { return bits_ >> 4; }
    /// True when the block starts at `cell`, one of the two cells that share a record.
    constexpr bool StartsAt(Cell cell) const {
        return State() != BlockState::kNone && (bits_ >> 3 & 1) == (cell & 1);
    }
    constexpr Cell Start(size_t record) const { return static_cast<Cell>(2 * record) | (bits_ >> 3 & 1); }
    constexpr BlockTag In(BlockState state) const {
        return BlockTag((bits_ & ~uint32_t{7}) | static_cast<uint32_t>(state));
    }

private:
    uint32_t bits_;
};

/// What is known of the block that starts in one of two neighbouring cells. It lies outside the region, where
/// a caller that writes past the end of a block does not reach it.
struct BlockRecord {
    std::atomic<uint32_t> tag;
    uint32_t cells_before;          ///< Length of the block in front; guarded by the pool's lock.
    std::atomic<uint32_t> site;     ///< From kLive on: who took it. Free: the next block of its list.
    std::atomic<uint32_t> contents; ///< From kLive on: cells asked for. Free: the previous block of its list.

    BlockTag Tag() const { return BlockTag(tag.load(std::memory_order_acquire)); }
    void SetTag(BlockTag value) { tag.store(value.Bits(), std::memory_order_release); }
    /// Moves the block from exactly `from` to `to`; false when it was not in `from`.
    bool Move(BlockTag from, BlockTag to) {
        uint32_t expected = from.Bits();
        return tag.compare_exchange_strong(expected, to.Bits(), std::memory_order_acq_rel,
                                           std::memory_order_relaxed);
    }
};

/// A block as it was at some moment.
struct BlockView {
    BlockTag tag;
    uint32_t site;     ///< As in the record; has a meaning for a live or damaged block only.
    uint32_t contents; ///< Likewise.
};

/// The blocks of one region: free ranges in lists by size with a bitmap over them, split when they are taken
/// and joined with their neighbours when they come back, each in bounded time.
///
/// Thread safety: Take() and Release() run under the pool's lock; records may be read by anyone at any time.
class BlockMap {
public:
    static constexpr uint32_t kMaxCells = (1U << 28) - 1;

    /// Bytes of zeroed memory that Init() needs for the records of a region of `cells` cells.
    static size_t RecordBytes(uint32_t cells) { return RecordCount(cells) * sizeof(BlockRecord); }

    void Init(BlockRecord* records, uint32_t cells);

    /// Takes a block of `cells` cells, or of one more when that one would be left over; it is kMoving.
    /// @return its first cell; kNoCell when no free range was found that is long enough. A long enough one may
    ///         be missed if it is less than a sixteenth longer than needed and there are many like it.
    Cell Take(uint32_t cells) { return TakeFrom(FindFit(cells, kFewProbes), cells); }

    /// As Take(), but misses none. Looks at each free range of nearly the needed length.
    Cell TakeIfAny(uint32_t cells) { return TakeFrom(FindFit(cells, cells_), cells); }

    /// Makes a block free that nobody else can reach (kMoving).
    void Release(Cell start);

    BlockRecord& At(Cell cell) const { return records_[cell >> 1]; }

    /// Calls `visit(view)` for each block. Exact while no other thread uses the pool. Otherwise each block is
    /// seen as it was at some moment of the walk, and one that changes at that moment is left out.
    template <class Visit>
    void ForEach(Visit visit) const {
        for (size_t i = 0; i < RecordCount(cells_); ++i) {
            const BlockRecord& record = records_[i];
            const BlockTag tag = record.Tag();
            if (tag.State() == BlockState::kNone) continue;
            // Acquired, so that the tag is looked at again afterwards.
            const BlockView view{tag, record.site.load(std::memory_order_acquire),
                                 record.contents.load(std::memory_order_acquire)};
            if (record.Tag().Bits() == tag.Bits()) visit(view);
        }
    }

private:
    // Lists of one length each up to kExact cells, then kSteps lists for every doubling.
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
