#ifndef ONU_MNG_PLATFORM_POSIX_SLOT_TABLE_H
#define ONU_MNG_PLATFORM_POSIX_SLOT_TABLE_H

#include <atomic>
#include <cstdint>
#include <mutex>
#include <new>

#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {

enum class IdKind : uint32_t { kQueue = 1, kSemaphore = 2, kTask = 3 };

/// The id of an object: its kind, the index of its slot, and the slot's generation. The generation
/// distinguishes the object from earlier ones in the same slot. Never 0.
class Id {
public:
    static constexpr uint32_t kIndexBits = 18;
    static constexpr uint32_t kGenerationBits = 12;

    constexpr explicit Id(uint32_t number) : number_(number) {}
    constexpr Id(IdKind kind, uint32_t generation, uint32_t index)
        : number_(static_cast<uint32_t>(kind) << (kIndexBits + kGenerationBits) | generation << kIndexBits |
                  index) {}

    constexpr uint32_t Number() const { return number_; }
    constexpr IdKind Kind() const { return static_cast<IdKind>(number_ >> (kIndexBits + kGenerationBits)); }
    constexpr uint32_t Generation() const { return number_ >> kIndexBits & kLastGeneration; }
    constexpr uint32_t Index() const { return number_ & ((1U << kIndexBits) - 1); }

    static constexpr uint32_t NextGeneration(uint32_t generation) {
        return (generation + 1) & kLastGeneration;
    }
    /// Returns whether `generation` is earlier than `now`. Generations wrap around, so the answer is right
    /// only for the last 2047 generations.
    static constexpr bool IsEarlier(uint32_t generation, uint32_t now) {
        const uint32_t age = (now - generation) & kLastGeneration;
        return age != 0 && age <= kLastGeneration / 2;
    }

private:
    static constexpr uint32_t kLastGeneration = (1U << kGenerationBits) - 1;

    uint32_t number_;
};

/// Slots for the objects of one kind. The memory grows with their number and is never freed, so a look-up
/// needs no lock and accepts any id at any time. The slots themselves check which id is valid.
///
/// `Slot` needs a default constructor and a member `uint32_t next_free`, which the table uses. A released
/// slot is reused only after `Resting` further releases. A stale id therefore becomes valid again after
/// `Resting` times 4096 objects at the earliest; choose a large `Resting` for small objects that are created
/// often. If slots or memory are short, the slot that was released first is reused earlier.
///
/// Thread safety: any thread may call everything, even in static constructors and destructors.
template <class Slot, uint32_t ChunkSize, uint32_t MaxChunks, uint32_t Resting>
class SlotTable {
public:
    static constexpr uint32_t kNone = ~uint32_t{0};
    static_assert(ChunkSize * MaxChunks <= 1U << Id::kIndexBits, "an id has room for any index");

    /// Returns the slot with an index; null if it has never been used.
    Slot* At(uint32_t index) {
        if (index >= ChunkSize * MaxChunks) return nullptr;
        Slot* const chunk = chunks_[index / ChunkSize].load(std::memory_order_acquire);
        return chunk == nullptr ? nullptr : chunk + index % ChunkSize;
    }

    /// Returns the slot of an id of `kind`; null for any other number.
    Slot* Find(Id id, IdKind kind) { return id.Kind() == kind ? At(id.Index()) : nullptr; }

    /// Returns the index of a free slot; kNone if slots or memory are short.
    uint32_t Acquire() {
        const std::lock_guard<ShortLock> guard(lock_);
        if (free_ > Resting) return TakeFree();
        const uint32_t fresh = TakeFresh();
        return fresh == kNone && free_ > 0 ? TakeFree() : fresh;
    }

    void Release(uint32_t index) {
        const std::lock_guard<ShortLock> guard(lock_);
        Used(index).next_free = kNone;
        (free_ == 0 ? first_free_ : Used(last_free_).next_free) = index;
        last_free_ = index;
        ++free_;
    }

private:
    Slot& Used(uint32_t index) {
        return chunks_[index / ChunkSize].load(std::memory_order_relaxed)[index % ChunkSize];
    }

    uint32_t TakeFree() {
        const uint32_t index = first_free_;
        first_free_ = Used(index).next_free;
        --free_;
        return index;
    }

    uint32_t TakeFresh() {
        if (fresh_ == ChunkSize * MaxChunks) return kNone;
        std::atomic<Slot*>& chunk = chunks_[fresh_ / ChunkSize];
        if (chunk.load(std::memory_order_relaxed) == nullptr) {
            Slot* const slots = new (std::nothrow) Slot[ChunkSize];
            if (slots == nullptr) return kNone;
            chunk.store(slots, std::memory_order_release);
        }
        return fresh_++;
    }

    std::atomic<Slot*> chunks_[MaxChunks] = {};
    ShortLock lock_; // guards the rest
    uint32_t fresh_ = 0;
    uint32_t free_ = 0;
    uint32_t first_free_ = kNone;
    uint32_t last_free_ = kNone;
};

} // namespace onu_mng_platform

#endif
