#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <new>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/sync/short_lock.h"
#include "onu_mng_platform/posix/slot_table.h"
#include "onu_mng_platform/posix/wait_list.h"

namespace onu_mng_platform {
namespace {

/// The messages of a queue: a ring of cells, each with the length of its message in front.
class Ring {
public:
    /// Returns false when memory is short.
    bool Reserve(uint32_t capacity, uint32_t message_size) {
        constexpr size_t kAlign = alignof(uint32_t);
        const size_t stride = (sizeof(uint32_t) + message_size + kAlign - 1) / kAlign * kAlign;
        if (capacity > kMaxBytes / stride) return false;
        cells_.reset(new (std::nothrow) char[capacity * stride]);
        stride_ = stride;
        capacity_ = capacity;
        message_size_ = message_size;
        first_ = count_ = 0;
        return cells_ != nullptr;
    }
    void Discard() {
        cells_.reset();
        count_ = 0;
    }

    uint32_t Count() const { return count_; }
    uint32_t MessageSize() const { return message_size_; }

    bool Put(const char* message, uint32_t size) {
        if (count_ == capacity_) return false;
        const uint32_t room = capacity_ - first_;
        char* const cell = CellAt(count_ < room ? first_ + count_ : count_ - room);
        std::memcpy(cell, &size, sizeof(size));
        std::memcpy(cell + sizeof(size), message, size);
        ++count_;
        return true;
    }

    /// Returns the number of bytes copied; -1 when there is no message.
    int Get(char* buffer, uint32_t room) {
        if (count_ == 0) return -1;
        const char* const cell = CellAt(first_);
        uint32_t size = 0;
        std::memcpy(&size, cell, sizeof(size));
        size = std::min(size, room);
        std::memcpy(buffer, cell + sizeof(size), size);
        if (++first_ == capacity_) first_ = 0;
        --count_;
        return static_cast<int>(size);
    }

private:
    static constexpr size_t kMaxBytes = std::numeric_limits<int32_t>::max();

    char* CellAt(uint32_t index) const { return cells_.get() + index * stride_; }

    std::unique_ptr<char[]> cells_;
    size_t stride_ = 0;
    uint32_t capacity_ = 0;
    uint32_t message_size_ = 0;
    uint32_t first_ = 0;
    uint32_t count_ = 0;
};

struct Queue {
    ShortLock lock; // guards the rest
    bool exists = false;
    uint32_t generation = 0;
    Ring ring;
    WaitList receivers;
    WaitList senders;
    uint32_t next_free = 0; // the table's

    bool Is(Id id) const { return exists && generation == id.Generation(); }
    bool Was(Id id) const { return Id::IsEarlier(id.Generation(), generation); }
};

SlotTable<Queue, 64, 1024, 1024> g_queues;

Queue* FindQueue(uint32_t queue_id) {
    return g_queues.Find(Id(queue_id), IdKind::kQueue);
}

enum class Outcome { kDone, kNotYet, kRefused, kGone };

/// Puts a message and says whom to wake; the queue's lock is held.
Outcome TrySend(Queue& queue, Id id, const char* message, uint32_t size, WakeUp* wake_up) {
    if (!queue.Is(id)) return Outcome::kGone;
    if (size > queue.ring.MessageSize()) return Outcome::kRefused;
    if (!queue.ring.Put(message, size)) return Outcome::kNotYet;
    *wake_up = queue.receivers.SignalFirst(&queue.receivers);
    return Outcome::kDone;
}

/// Takes a message and says whom to wake; the queue's lock is held.
Outcome TryReceive(Queue& queue, Id id, char* buffer, uint32_t room, int* size, WakeUp* wake_up) {
    if (!queue.Is(id)) return Outcome::kGone;
    *size = queue.ring.Get(buffer, room);
    if (*size < 0) return Outcome::kNotYet;
    *wake_up = queue.senders.SignalFirst(&queue.senders);
    return Outcome::kDone;
}

/// Attempts anew each time `list` is signalled. A task whose queue disappears meanwhile stays until it is
/// ended or its deadline passes.
template <class Attempt>
Outcome Wait(Queue& queue, WaitList& list, int ticks, Attempt attempt) {
    const Deadline deadline(ticks);
    Sleeper& self = Sleeper::Current();
    Waiter waiter(self, &list);
    Outcome outcome = Outcome::kNotYet;
    std::unique_lock<ShortLock> guard(queue.lock);
    for (;;) {
        list.Remove(waiter);
        outcome = attempt();
        if (outcome != Outcome::kNotYet) break;
        self.Prepare();
        if (self.IsToEnd() || deadline.HasPassed()) break;
        list.Add(waiter);
        guard.unlock();
        self.Sleep(deadline);
        guard.lock();
    }
    guard.unlock();
    if (outcome == Outcome::kNotYet) self.EndPoint();
    if (outcome == Outcome::kGone && self.IsTask()) self.WaitInVain(deadline);
    return outcome;
}

/// Attempts once, and waits only when that says kNotYet and the caller has time.
template <class Attempt>
Outcome AttemptOrWait(Queue& queue, WaitList& list, int ticks, Attempt attempt) {
    {
        const std::lock_guard<ShortLock> guard(queue.lock);
        const Outcome outcome = attempt();
        if (outcome != Outcome::kNotYet || ticks == 0) return outcome;
    }
    return Wait(queue, list, ticks, attempt);
}

/// Keeps a task that asks without limit for messages of a queue that is gone from asking again and again.
void StayIfGone(Queue& queue, Id id, int ticks) {
    Sleeper& self = Sleeper::Current();
    if (ticks >= 0 || !self.IsTask()) return;
    {
        const std::lock_guard<ShortLock> guard(queue.lock);
        if (!queue.Was(id)) return;
    }
    self.WaitInVain(Deadline(ticks));
}

} // namespace
} // namespace onu_mng_platform

using namespace onu_mng_platform;

extern "C" uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int /*options*/, const char* /*file*/,
                                     int /*line*/) {
    if (max_msgs <= 0 || msg_size <= 0) return 0;
    const uint32_t index = g_queues.Acquire();
    if (index == g_queues.kNone) return 0;
    Queue& queue = *g_queues.At(index);
    const std::lock_guard<ShortLock> guard(queue.lock);
    queue.exists = queue.ring.Reserve(static_cast<uint32_t>(max_msgs), static_cast<uint32_t>(msg_size));
    if (queue.exists) return Id(IdKind::kQueue, queue.generation, index).Number();
    g_queues.Release(index);
    return 0;
}

extern "C" int bep_msgQSendEx(uint32_t queue_id, const char* buf, unsigned int len, int ticks,
                              int /*priority*/, const char* /*file*/, int /*line*/) {
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr || buf == nullptr || len == 0) return -1;
    WakeUp wake_up;
    const Outcome outcome = AttemptOrWait(*queue, queue->senders, ticks,
                                          [&] { return TrySend(*queue, Id(queue_id), buf, len, &wake_up); });
    wake_up.Deliver();
    return outcome == Outcome::kDone ? 0 : -1;
}

extern "C" int bep_msgQReceiveEx(uint32_t queue_id, char* buf, unsigned int len, int ticks,
                                 const char* /*file*/, int /*line*/) {
    Sleeper::Current().EndPoint();
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr || buf == nullptr || len == 0) return -1;
    WakeUp wake_up;
    int size = -1;
    const Outcome outcome = AttemptOrWait(*queue, queue->receivers, ticks, [&] {
        return TryReceive(*queue, Id(queue_id), buf, len, &size, &wake_up);
    });
    wake_up.Deliver();
    if (outcome == Outcome::kGone) StayIfGone(*queue, Id(queue_id), ticks);
    return outcome == Outcome::kDone ? size : -1;
}

extern "C" int bep_msgQNumMsgsEx(uint32_t queue_id) {
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr) return 0;
    const std::lock_guard<ShortLock> guard(queue->lock);
    return queue->Is(Id(queue_id)) ? static_cast<int>(queue->ring.Count()) : 0;
}

extern "C" int bep_msgQDeleteEx(uint32_t queue_id) {
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr) return -1;
    {
        const std::lock_guard<ShortLock> guard(queue->lock);
        if (!queue->Is(Id(queue_id))) return -1;
        queue->exists = false;
        queue->generation = Id::NextGeneration(queue->generation);
        queue->ring.Discard();
        queue->receivers.SignalAll(&queue->receivers);
        queue->senders.SignalAll(&queue->senders);
    }
    g_queues.Release(Id(queue_id).Index());
    return 0;
}
