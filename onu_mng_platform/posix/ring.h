#ifndef ONU_MNG_PLATFORM_POSIX_RING_H
#define ONU_MNG_PLATFORM_POSIX_RING_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {

/// The messages of a queue: a ring of cells of equal size. Each cell starts with a mark and the message's
/// length.
///
/// Thread safety: Put() and Count() require `put_lock`, Get() and HasMessage() require `take_lock`, so a
/// sender and a receiver do not block each other. Install() and Discard() require both locks, `put_lock`
/// first.
///
/// A thread that holds one lock and finds no message, or no room, may miss a change in progress at the other
/// end. A thread that holds both does not.
class Ring {
public:
    ShortLock& put_lock() { return put_lock_; }
    ShortLock& take_lock() { return take_lock_; }

    /// Allocates memory for Install(). Returns null if memory is short. Requires no lock.
    static std::unique_ptr<char[]> NewCells(uint32_t capacity, uint32_t message_size) {
        if (message_size > kMaxBytes - 2 * sizeof(Cell)) return nullptr;
        const size_t stride = Stride(message_size);
        if (capacity > kMaxBytes / stride) return nullptr;
        std::unique_ptr<char[]> cells(new (std::nothrow) char[capacity * stride]);
        for (uint32_t index = 0; cells != nullptr && index < capacity; ++index)
            new (cells.get() + index * stride) Cell;
        return cells;
    }
    void Install(std::unique_ptr<char[]> cells, uint32_t capacity, uint32_t message_size) {
        cells_ = std::move(cells);
        stride_ = Stride(message_size);
        capacity_ = capacity;
        message_size_ = message_size;
        put_ = taken_seen_ = 0;
        taken_.store(0, std::memory_order_relaxed);
    }
    /// Returns the memory, so that the caller can free it without a lock.
    std::unique_ptr<char[]> Discard() { return std::move(cells_); }

    uint32_t MessageSize() const { return message_size_; }
    uint32_t Count() const { return Distance(taken_.load(std::memory_order_relaxed), put_); }

    /// Returns false if the ring is full. `size` must be at most MessageSize().
    bool Put(const char* message, uint32_t size) {
        if (!HasRoom()) return false;
        Cell& cell = CellAt(put_);
        cell.size = size;
        std::memcpy(cell.Message(), message, size);
        cell.mark.store(MarkOf(put_), std::memory_order_release);
        put_ = Next(put_);
        return true;
    }
    bool HasRoom() {
        if (Distance(taken_seen_, put_) < capacity_) return true;
        taken_seen_ = taken_.load(std::memory_order_acquire);
        return Distance(taken_seen_, put_) < capacity_;
    }

    bool HasMessage() const {
        const uint32_t position = taken_.load(std::memory_order_relaxed);
        return CellAt(position).mark.load(std::memory_order_acquire) == MarkOf(position);
    }
    /// Removes the oldest message and copies at most `room` bytes of it. Returns the number of bytes copied;
    /// -1 if there is no message.
    int Get(char* buffer, uint32_t room) {
        if (!HasMessage()) return -1;
        const uint32_t position = taken_.load(std::memory_order_relaxed);
        Cell& cell = CellAt(position);
        const uint32_t size = std::min(cell.size, room);
        std::memcpy(buffer, cell.Message(), size);
        taken_.store(Next(position), std::memory_order_release);
        return static_cast<int>(size);
    }

private:
    struct Cell {
        std::atomic<uint32_t> mark{0}; // MarkOf() the position of the last message in this cell
        uint32_t size = 0;

        char* Message() { return reinterpret_cast<char*>(this + 1); }
    };
    static constexpr size_t kMaxBytes = std::numeric_limits<int32_t>::max();
    static constexpr size_t kCacheLine = 64;

    static size_t Stride(uint32_t message_size) {
        return (sizeof(Cell) + message_size + sizeof(Cell) - 1) / sizeof(Cell) * sizeof(Cell);
    }

    // Positions count to twice the capacity before they wrap. So a full ring differs from an empty one, and
    // the mark of a message differs from that of the previous message in the same cell.
    static uint32_t MarkOf(uint32_t position) { return position + 1; }
    uint32_t Next(uint32_t position) const { return position + 1 == 2 * capacity_ ? 0 : position + 1; }
    uint32_t Distance(uint32_t from, uint32_t to) const {
        return to >= from ? to - from : to + 2 * capacity_ - from;
    }
    Cell& CellAt(uint32_t position) const {
        const size_t index = position < capacity_ ? position : position - capacity_;
        return *reinterpret_cast<Cell*>(cells_.get() + index * stride_);
    }

    std::unique_ptr<char[]> cells_;
    size_t stride_ = 0;
    uint32_t capacity_ = 0;
    uint32_t message_size_ = 0;

    // Senders and receivers use separate cache lines.
    alignas(kCacheLine) ShortLock put_lock_;
    uint32_t put_ = 0;        // position of the next message to be put
    uint32_t taken_seen_ = 0; // the senders' last copy of `taken_`
    alignas(kCacheLine) ShortLock take_lock_;
    std::atomic<uint32_t> taken_{0}; // position of the next message to be taken
};

} // namespace onu_mng_platform

#endif
