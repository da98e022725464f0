#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/sync/short_lock.h"
#include "onu_mng_platform/posix/ring.h"
#include "onu_mng_platform/posix/slot_table.h"
#include "onu_mng_platform/posix/wait_list.h"

namespace onu_mng_platform {
namespace {

/// The threads that wait at one end of a queue. A waiting thread enters the list and then checks the queue
/// again, under both locks of the ring. A thread that changes the queue under one of these locks then checks
/// the list. So at least one of the two sees the other, whichever takes the lock first.
class WaitRoom {
public:
    void Enter(Waiter& waiter) {
        const std::lock_guard<ShortLock> guard(lock_);
        list_.Add(waiter);
        is_empty_.store(false, std::memory_order_relaxed);
    }

    void Leave(Waiter& waiter) {
        const std::lock_guard<ShortLock> guard(lock_);
        list_.Remove(waiter);
        is_empty_.store(list_.IsEmpty(), std::memory_order_relaxed);
    }

    void SignalOne() {
        if (!is_empty_.load(std::memory_order_relaxed)) Signal().Deliver();
    }
    void SignalAll() {
        while (!is_empty_.load(std::memory_order_relaxed))
            Signal().Deliver();
    }

private:
    WakeUp Signal() {
        const std::lock_guard<ShortLock> guard(lock_);
        const WakeUp wake_up = list_.SignalFirst(nullptr);
        is_empty_.store(list_.IsEmpty(), std::memory_order_relaxed);
        return wake_up;
    }

    ShortLock lock_; // guards the list
    WaitList list_;
    std::atomic<bool> is_empty_{true};
};

struct Queue {
    // See Word(); changed under both locks of the ring.
    std::atomic<uint32_t> word{0};
    uint32_t next_free = 0; // used by the slot table
    Ring ring;
    WaitRoom receivers;
    WaitRoom senders;

    static constexpr uint32_t Word(uint32_t generation, bool exists) {
        return generation << 1 | (exists ? 1U : 0U);
    }
    bool Is(Id id) const { return word.load(std::memory_order_relaxed) == Word(id.Generation(), true); }
    bool Was(Id id) const { return Id::IsEarlier(id.Generation(), Generation()); }
    uint32_t Generation() const { return word.load(std::memory_order_relaxed) >> 1; }
};

/// Holds both locks of a queue.
class QueueGuard {
public:
    explicit QueueGuard(Queue& queue) : put_(queue.ring.put_lock()), take_(queue.ring.take_lock()) {}

private:
    const std::lock_guard<ShortLock> put_;
    const std::lock_guard<ShortLock> take_;
};

SlotTable<Queue, 64, 1024, 1024> g_queues;

Queue* FindQueue(uint32_t queue_id) {
    return g_queues.Find(Id(queue_id), IdKind::kQueue);
}

enum class Outcome { kDone, kNotYet, kRefused, kGone };

/// A pending send.
struct Sending {
    Queue& queue;
    const Id id;
    const char* const message;
    const uint32_t size;

    WaitRoom& Room() const { return queue.senders; }

    bool IsWorthwhile() const {
        const QueueGuard guard(queue);
        return !queue.Is(id) || queue.ring.HasRoom();
    }
    Outcome Attempt() {
        {
            const std::lock_guard<ShortLock> guard(queue.ring.put_lock());
            if (!queue.Is(id)) return Outcome::kGone;
            if (size > queue.ring.MessageSize()) return Outcome::kRefused;
            if (!queue.ring.Put(message, size)) return Outcome::kNotYet;
        }
        queue.receivers.SignalOne();
        return Outcome::kDone;
    }
};

/// A pending receive.
struct Receiving {
    Queue& queue;
    const Id id;
    char* const buffer;
    const uint32_t room;
    int size = -1; // bytes copied

    WaitRoom& Room() const { return queue.receivers; }

    bool IsWorthwhile() const {
        const QueueGuard guard(queue);
        return !queue.Is(id) || queue.ring.HasMessage();
    }
    Outcome Attempt() {
        {
            const std::lock_guard<ShortLock> guard(queue.ring.take_lock());
            if (!queue.Is(id)) return Outcome::kGone;
            size = queue.ring.Get(buffer, room);
            if (size < 0) return Outcome::kNotYet;
        }
        queue.senders.SignalOne();
        return Outcome::kDone;
    }
};

/// Repeats a call until it is done or the deadline has passed. After every sleep the thread attempts the call
/// before it returns or ends. Otherwise it could use up a signal, and another thread would sleep although it
/// could go on.
template <class Call>
Outcome AttemptUntil(Call& call, const Deadline& deadline) {
    Sleeper& self = Sleeper::Current();
    Outcome outcome = Outcome::kNotYet;
    const auto look = [&] {
        outcome = call.Attempt();
        return outcome != Outcome::kNotYet;
    };
    if (self.queue_patience.Await(look)) return outcome;
    Waiter waiter(self, nullptr);
    for (;;) {
        self.Prepare();
        call.Room().Enter(waiter);
        if (!call.IsWorthwhile() && !self.IsToEnd() && !deadline.HasPassed()) self.Sleep(deadline);
        call.Room().Leave(waiter);
        if (look()) return outcome;
        self.EndPoint();
        if (deadline.HasPassed()) return Outcome::kNotYet;
    }
}

/// Attempts a call, and waits if it cannot be done yet and `ticks` allows it. If the queue is deleted
/// meanwhile, a task stays here until it is deleted or its deadline has passed.
template <class Call>
Outcome AttemptOrWait(Call& call, int ticks) {
    const Outcome first = call.Attempt();
    if (first != Outcome::kNotYet || ticks == 0) return first;
    const Deadline deadline(ticks);
    const Outcome outcome = AttemptUntil(call, deadline);
    if (outcome != Outcome::kGone) return outcome;
    call.Room().SignalOne(); // the signal may belong to a thread that waits for a new queue in this slot
    if (Sleeper::Current().IsTask()) Sleeper::Current().WaitInVain(deadline);
    return outcome;
}

/// Blocks a task that receives without a time limit from a deleted queue. Otherwise a receive loop would
/// spin.
void StayIfGone(const Queue& queue, Id id, int ticks) {
    Sleeper& self = Sleeper::Current();
    if (ticks < 0 && self.IsTask() && queue.Was(id)) self.WaitInVain(Deadline(ticks));
}

} // namespace
} // namespace onu_mng_platform

using namespace onu_mng_platform;

extern "C" uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int /*options*/, const char* /*file*/,
                                     int /*line*/) {
    if (max_msgs <= 0 || msg_size <= 0) return 0;
    const auto capacity = static_cast<uint32_t>(max_msgs);
    const auto message_size = static_cast<uint32_t>(msg_size);
    std::unique_ptr<char[]> cells = Ring::NewCells(capacity, message_size);
    if (cells == nullptr) return 0;
    const uint32_t index = g_queues.Acquire();
    if (index == g_queues.kNone) return 0;
    Queue& queue = *g_queues.At(index);
    const QueueGuard guard(queue);
    queue.ring.Install(std::move(cells), capacity, message_size);
    const uint32_t generation = queue.Generation();
    queue.word.store(Queue::Word(generation, true), std::memory_order_relaxed);
    return Id(IdKind::kQueue, generation, index).Number();
}

extern "C" int bep_msgQSendEx(uint32_t queue_id, const char* buf, unsigned int len, int ticks,
                              int /*priority*/, const char* /*file*/, int /*line*/) {
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr || buf == nullptr || len == 0) return -1;
    Sending call{*queue, Id(queue_id), buf, len};
    return AttemptOrWait(call, ticks) == Outcome::kDone ? 0 : -1;
}

extern "C" int bep_msgQReceiveEx(uint32_t queue_id, char* buf, unsigned int len, int ticks,
                                 const char* /*file*/, int /*line*/) {
    Sleeper::Current().EndPoint();
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr || buf == nullptr || len == 0) return -1;
    Receiving call{*queue, Id(queue_id), buf, len};
    const Outcome outcome = AttemptOrWait(call, ticks);
    if (outcome == Outcome::kGone) StayIfGone(*queue, Id(queue_id), ticks);
    return outcome == Outcome::kDone ? call.size : -1;
}

extern "C" int bep_msgQNumMsgsEx(uint32_t queue_id) {
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr) return 0;
    const std::lock_guard<ShortLock> guard(queue->ring.put_lock());
    return queue->Is(Id(queue_id)) ? static_cast<int>(queue->ring.Count()) : 0;
}

extern "C" int bep_msgQDeleteEx(uint32_t queue_id) {
    const Id id(queue_id);
    Queue* const queue = FindQueue(queue_id);
    if (queue == nullptr) return -1;
    std::unique_ptr<char[]> cells; // freed after the locks are released
    {
        const QueueGuard guard(*queue);
        if (!queue->Is(id)) return -1;
        queue->word.store(Queue::Word(Id::NextGeneration(id.Generation()), false), std::memory_order_relaxed);
        cells = queue->ring.Discard();
    }
    queue->receivers.SignalAll();
    queue->senders.SignalAll();
    g_queues.Release(id.Index());
    return 0;
}
