#ifndef ONU_MNG_PLATFORM_POSIX_WAIT_LIST_H
#define ONU_MNG_PLATFORM_POSIX_WAIT_LIST_H

#include "onu_mng_platform/posix/sleeper.h"

namespace onu_mng_platform {

/// A thread in a wait list, on the stack of that thread.
struct Waiter {
    Waiter(Sleeper& who, const void* what) : sleeper(who), key(what) {}

    Sleeper& sleeper;
    const void* const key; ///< What it waits for, where a list serves more than one thing.
    Waiter* previous = nullptr;
    Waiter* next = nullptr;
    bool is_waiting = false; ///< Cleared by whoever signals it.
};

/// Threads that wait, in the order in which they came. Signalling one takes it off the list, so that nobody
/// signals it twice.
///
/// Thread safety: everything runs under the lock that guards the list; the wake-ups returned are delivered
/// after it, or under it.
class WaitList {
public:
    void Add(Waiter& waiter) {
        waiter.previous = last_;
        waiter.next = nullptr;
        (last_ != nullptr ? last_->next : first_) = &waiter;
        last_ = &waiter;
        waiter.is_waiting = true;
    }

    /// Takes a waiter off the list unless that was done before.
    void Remove(Waiter& waiter) {
        if (!waiter.is_waiting) return;
        (waiter.previous != nullptr ? waiter.previous->next : first_) = waiter.next;
        (waiter.next != nullptr ? waiter.next->previous : last_) = waiter.previous;
        waiter.is_waiting = false;
    }

    bool IsEmpty() const { return first_ == nullptr; }

    /// Returns the first that waits for `key`; null when there is none.
    Waiter* Find(const void* key) const {
        Waiter* waiter = first_;
        while (waiter != nullptr && waiter->key != key)
            waiter = waiter->next;
        return waiter;
    }

    /// Signals the first that waits for `key`, if any.
    WakeUp SignalFirst(const void* key) {
        Waiter* const waiter = Find(key);
        if (waiter == nullptr) return WakeUp();
        Remove(*waiter);
        return waiter->sleeper.Ring();
    }

    /// Signals all that wait for `key`.
    void SignalAll(const void* key) {
        while (Find(key) != nullptr)
            SignalFirst(key).Deliver();
    }

private:
    Waiter* first_ = nullptr;
    Waiter* last_ = nullptr;
};

} // namespace onu_mng_platform

#endif
