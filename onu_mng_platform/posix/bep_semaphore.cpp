#include <atomic>
#include <cstdint>
#include <mutex>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/sync/short_lock.h"
#include "onu_mng_platform/posix/slot_table.h"
#include "onu_mng_platform/posix/wait_list.h"

namespace onu_mng_platform {
namespace {

enum State : uint32_t { kNone, kAvailable, kTaken, kTakenAndAwaited };

/// A semaphore is one word with its generation and its state. So a single atomic operation checks the id and
/// takes or gives the semaphore.
constexpr uint32_t Word(uint32_t generation, State state) {
    return generation << 2 | state;
}
constexpr State StateOf(uint32_t word) {
    return static_cast<State>(word & 3);
}
constexpr uint32_t GenerationOf(uint32_t word) {
    return word >> 2;
}

struct Semaphore {
    std::atomic<uint32_t> word{Word(0, kNone)};
    uint32_t next_free = 0;
};

/// The waiting threads of several semaphores, which share the room. While threads wait, their semaphore is
/// marked as awaited, or one of them has been signalled and will mark it again before it sleeps or leaves.
struct alignas(64) WaitRoom {
    ShortLock lock;
    WaitList waiters;
};

constexpr uint32_t kRooms = 256;

// Each state context has a semaphore, so semaphores may be created and deleted as often as ONUs. With this
// number, 268 million are created before an id is reused, at the cost of 512 KiB.
constexpr uint32_t kRestingSemaphores = 65536;

SlotTable<Semaphore, 1024, 256, kRestingSemaphores> g_semaphores;
WaitRoom g_rooms[kRooms];

WaitRoom& RoomOf(const Semaphore& semaphore) {
    return g_rooms[reinterpret_cast<uintptr_t>(&semaphore) / sizeof(Semaphore) % kRooms];
}

/// The result of an attempt to take a semaphore or, if it is not available, to mark it as awaited.
enum class Attempt { kTook, kMarked, kGone };

Attempt TakeOrMark(Semaphore& semaphore, uint32_t generation, State when_taken) {
    uint32_t word = semaphore.word.load(std::memory_order_relaxed);
    for (;;) {
        if (GenerationOf(word) != generation || StateOf(word) == kNone) return Attempt::kGone;
        const bool available = StateOf(word) == kAvailable;
        const uint32_t wanted = Word(generation, available ? when_taken : kTakenAndAwaited);
        if (semaphore.word.compare_exchange_weak(word, wanted, std::memory_order_acquire,
                                                 std::memory_order_relaxed)) {
            return available ? Attempt::kTook : Attempt::kMarked;
        }
    }
}

/// Takes a semaphore that is available.
bool TryTake(Semaphore& semaphore, uint32_t generation) {
    uint32_t available = Word(generation, kAvailable);
    return semaphore.word.compare_exchange_strong(available, Word(generation, kTaken),
                                                  std::memory_order_acquire, std::memory_order_relaxed);
}

/// Waits until the semaphore is taken (0), or until it is deleted or the time is over (-1). Not inlined, so
/// that the fast path saves no registers.
[[gnu::noinline]] int TakeSlowly(Semaphore& semaphore, uint32_t generation, int ticks) {
    const uint32_t word = semaphore.word.load(std::memory_order_relaxed);
    if (GenerationOf(word) != generation || StateOf(word) == kNone) return -1;
    if (ticks == 0 && StateOf(word) != kAvailable) return -1;
    const Deadline deadline(ticks);
    Sleeper& self = Sleeper::Current();
    const auto look = [&] {
        return StateOf(semaphore.word.load(std::memory_order_relaxed)) == kAvailable &&
               TryTake(semaphore, generation);
    };
    if (self.semaphore_patience.Await(look)) return 0;
    WaitRoom& room = RoomOf(semaphore);
    Waiter waiter(self, &semaphore);
    Attempt attempt = Attempt::kMarked;
    std::unique_lock<ShortLock> guard(room.lock);
    for (;;) {
        room.waiters.Remove(waiter);
        // If other threads wait, the mark stays, even if this thread leaves below without the semaphore.
        const State when_taken = room.waiters.Find(&semaphore) != nullptr ? kTakenAndAwaited : kTaken;
        attempt = TakeOrMark(semaphore, generation, when_taken);
        if (attempt != Attempt::kMarked) break;
        self.Prepare();
        if (self.IsToEnd() || deadline.HasPassed()) break;
        room.waiters.Add(waiter);
        guard.unlock();
        self.Sleep(deadline);
        guard.lock();
    }
    guard.unlock();
    if (attempt == Attempt::kTook) return 0;
    if (attempt == Attempt::kMarked) self.EndPoint();
    if (attempt == Attempt::kGone && deadline.IsNever() && self.IsTask()) self.WaitInVain(deadline);
    return -1;
}

/// Gives a semaphore in any state and wakes a waiting thread.
[[gnu::noinline]] int GiveSlowly(Semaphore& semaphore, uint32_t generation) {
    uint32_t word = semaphore.word.load(std::memory_order_relaxed);
    // Stored even if it is available already, so that the next task that takes it sees the writes of this
    // task.
    do {
        if (GenerationOf(word) != generation || StateOf(word) == kNone) return -1;
    } while (!semaphore.word.compare_exchange_weak(word, Word(generation, kAvailable),
                                                   std::memory_order_release, std::memory_order_relaxed));
    if (StateOf(word) != kTakenAndAwaited) return 0;
    WaitRoom& room = RoomOf(semaphore);
    WakeUp wake_up;
    {
        const std::lock_guard<ShortLock> guard(room.lock);
        wake_up = room.waiters.SignalFirst(&semaphore);
    }
    wake_up.Deliver();
    return 0;
}

} // namespace
} // namespace onu_mng_platform

using namespace onu_mng_platform;

extern "C" uint32_t bep_semBCreateEx(int /*options*/, int available, const char* /*file*/, int /*line*/) {
    const uint32_t index = g_semaphores.Acquire();
    if (index == g_semaphores.kNone) return 0;
    Semaphore& semaphore = *g_semaphores.At(index);
    const uint32_t generation = GenerationOf(semaphore.word.load(std::memory_order_relaxed));
    semaphore.word.store(Word(generation, available != 0 ? kAvailable : kTaken), std::memory_order_release);
    return Id(IdKind::kSemaphore, generation, index).Number();
}

extern "C" int bep_semTakeEx(uint32_t sem_id, int ticks, const char* /*file*/, int /*line*/) {
    const Id id(sem_id);
    Semaphore* const semaphore = g_semaphores.Find(id, IdKind::kSemaphore);
    if (semaphore == nullptr) return -1;
    return TryTake(*semaphore, id.Generation()) ? 0 : TakeSlowly(*semaphore, id.Generation(), ticks);
}

extern "C" int bep_semGiveEx(uint32_t sem_id, const char* /*file*/, int /*line*/) {
    const Id id(sem_id);
    Semaphore* const semaphore = g_semaphores.Find(id, IdKind::kSemaphore);
    if (semaphore == nullptr) return -1;
    uint32_t taken = Word(id.Generation(), kTaken);
    const bool is_given = semaphore->word.compare_exchange_strong(
        taken, Word(id.Generation(), kAvailable), std::memory_order_release, std::memory_order_relaxed);
    return is_given ? 0 : GiveSlowly(*semaphore, id.Generation());
}

extern "C" int bep_semDeleteEx(uint32_t sem_id) {
    const Id id(sem_id);
    Semaphore* const semaphore = g_semaphores.Find(id, IdKind::kSemaphore);
    if (semaphore == nullptr) return -1;
    uint32_t word = semaphore->word.load(std::memory_order_relaxed);
    const uint32_t gone = Word(Id::NextGeneration(id.Generation()), kNone);
    do {
        if (GenerationOf(word) != id.Generation() || StateOf(word) == kNone) return -1;
    } while (!semaphore->word.compare_exchange_weak(word, gone, std::memory_order_acq_rel,
                                                    std::memory_order_relaxed));
    {
        WaitRoom& room = RoomOf(*semaphore);
        const std::lock_guard<ShortLock> guard(room.lock);
        room.waiters.SignalAll(semaphore);
    }
    g_semaphores.Release(id.Index());
    return 0;
}
