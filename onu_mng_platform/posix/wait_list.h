#ifndef ONU_MNG_PLATFORM_POSIX_WAIT_LIST_H
#define ONU_MNG_PLATFORM_POSIX_WAIT_LIST_H

#include "onu_mng_platform/posix/sleeper.h"

namespace onu_mng_platform {

/// An entry of a wait list, on the stack of the waiting thread.
struct Waiter {
    Waiter(Sleeper& waiting, const void* wait_key) : sleeper(waiting), key(wait_key) {}

    Sleeper& sleeper;
    const void* const key; ///< The object that the thread waits for, if objects share the list.
    Waiter* previous = nullptr;
    Waiter* next = nullptr;
    bool is_waiting = false; ///< True while the entry is in the list.
};

/// Waiting threads, first in first out. A signal removes a thread from the list, so each is signalled once.
///
/// Thread safety: the caller holds the lock that guards the list. Wake-ups may be delivered with or without
/// that lock.
class WaitList {
public:
    void Add(Waiter& waiter) {
        waiter.previous = last_;
        waiter.next = nullptr;
        (last_ != nullptr ? last_->next : first_) = &waiter;
        last_ = &waiter;
        waiter.is_waiting = true;
    }

    /// Removes a waiter if it is in the list.
    void Remove(Waiter& waiter) {
        if (!waiter.is_waiting) return;
        (waiter.previous != nullptr ? waiter.previous->next : first_) = waiter.next;
        (waiter.next != nullptr ? waiter.next->previous : last_) = waiter.previous;
        waiter.is_waiting = false;
    }

    bool IsEmpty() const { return first_ == nullptr; }

    /// Returns the first waiter for `key`; null if there is none.
    Waiter* Find(const void* key) const {
        Waiter* waiter = first_;
        while (waiter != nullptr && waiter->key != key)
            waiter = waiter->next;
        return waiter;
    }

    /// Signals the first waiter for `key`, if any.
    WakeUp SignalFirst(const void* key) {
        Waiter* const waiter = Find(key);
        if (waiter == nullptr) return WakeUp();
        Remove(*waiter);
        return waiter->sleeper.Ring();
    }

    /// Signals all waiters for `key`.
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
