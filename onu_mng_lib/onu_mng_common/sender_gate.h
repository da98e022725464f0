/// Waits until no task uses an object that is read without a lock.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_SENDER_GATE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_SENDER_GATE_H

#include <atomic>
#include <cstdint>

/// Tracks which tasks are inside a section. A task is inside while it routes a message or lists the modules.
///
/// A task enters and leaves a section without a lock, by a mark in its own cache line. To delete an object, a
/// task first makes it unreachable by a sequentially consistent store and then calls `WaitForOthers`. When
/// that returns true, every other task that could have seen the object has left its section.
///
/// There is one gate for the process. It is usable from before the first static constructor to after the last
/// static destructor.
class SenderGate {
    struct Seat;

public:
    /// Keeps the calling task inside from construction to destruction. Sections of one task nest. Does not
    /// block. The first section of a task may allocate memory.
    class [[nodiscard]] Section {
    public:
        Section() : seat(t_seat != nullptr ? t_seat : TakeSeat(lent)) {
            if (seat != nullptr && seat->depth++ == 0) seat->Enter();
        }
        ~Section() {
            if (seat == nullptr || --seat->depth != 0) return;
            seat->Leave();
            if (lent) GiveBack(*seat);
        }
        Section(const Section&) = delete;
        Section& operator=(const Section&) = delete;

        /// Returns whether the task is inside; false if memory was short.
        bool IsInside() const { return seat != nullptr; }

    private:
        bool lent = false; // initialised before `seat`
        Seat* const seat;
    };

    /// Returns whether the calling task is in a section.
    static bool IsInside() { return t_seat != nullptr && t_seat->depth != 0; }

    /// Waits until every other task that is inside now has left its section. Sections that begin later do not
    /// prolong the wait. An end point of a task (bep.h).
    /// @return true; false if `patience_ms` milliseconds were not enough (negative: waits without limit).
    static bool WaitForOthers(int patience_ms);

private:
    /// The mark of one task.
    struct alignas(64) Seat { // the size of a cache line
        void Enter() { mark.exchange(mark.load(std::memory_order_relaxed) + 1, std::memory_order_seq_cst); }
        void Leave() { mark.store(mark.load(std::memory_order_relaxed) + 1, std::memory_order_release); }

        std::atomic<std::uint32_t> mark{0}; ///< incremented on each entry and exit; odd while inside
        std::atomic<bool> is_taken{false};
        unsigned int depth = 0; ///< number of nested sections; used by the own task only
    };
    struct Row;
    struct Holder;

    static Seat* TakeSeat(bool& lent);
    static Seat* FindSeat();
    static void GiveBack(Seat& seat);

    static Row first_row;
    static inline thread_local Seat* t_seat = nullptr;
};

#endif
