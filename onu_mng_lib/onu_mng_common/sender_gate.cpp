#include "onu_mng_lib/onu_mng_common/sender_gate.h"

#include <new>

#include "onu_mng_lib/onu_mng_common/clock.h"

namespace {

constexpr int kLookMs = 1; ///< polling period of a waiting task

} // namespace

/// A row of seats. One row is enough for most hosts. More are added when needed and are never freed.
struct SenderGate::Row {
    static constexpr unsigned int kSeats = 64;

    Seat seats[kSeats];
    std::atomic<Row*> next{nullptr};
};

SenderGate::Row SenderGate::first_row;

/// Returns the seat of a task when the task ends.
struct SenderGate::Holder {
    enum class Stage { kNew, kInUse, kGone };

    ~Holder() {
        t_stage = Stage::kGone;
        if (t_seat == nullptr) return;
        // A task that calls exit() inside a section never leaves the section by itself.
        if (t_seat->depth != 0) t_seat->Leave();
        t_seat->depth = 0;
        GiveBack(*t_seat);
    }

    static inline thread_local Stage t_stage = Stage::kNew;
};

SenderGate::Seat* SenderGate::FindSeat() {
    for (Row* row = &first_row;;) {
        for (Seat& seat : row->seats)
            if (!seat.is_taken.load(std::memory_order_relaxed) &&
                !seat.is_taken.exchange(true, std::memory_order_acquire))
                return &seat;
        Row* next = row->next.load(std::memory_order_seq_cst);
        if (next == nullptr) {
            Row* const added = new (std::nothrow) Row;
            if (added == nullptr) return nullptr;
            if (row->next.compare_exchange_strong(next, added, std::memory_order_seq_cst))
                next = added;
            else
                delete added;
        }
        row = next;
    }
}

/// A task keeps its seat until its thread-local `Holder` is destroyed. If a destructor that runs later begins
/// a section, the task gets a seat for that section only (`lent`).
SenderGate::Seat* SenderGate::TakeSeat(bool& lent) {
    lent = Holder::t_stage == Holder::Stage::kGone;
    if (Holder::t_stage == Holder::Stage::kNew) {
        static thread_local Holder holder;
        Holder::t_stage = Holder::Stage::kInUse;
        static_cast<void>(holder);
    }
    t_seat = FindSeat();
    return t_seat;
}

void SenderGate::GiveBack(Seat& seat) {
    t_seat = nullptr;
    seat.is_taken.store(false, std::memory_order_release);
}

bool SenderGate::WaitForOthers(int patience_ms) {
    for (Row* row = &first_row; row != nullptr; row = row->next.load(std::memory_order_seq_cst)) {
        for (Seat& seat : row->seats) {
            const std::uint32_t mark = seat.mark.load(std::memory_order_seq_cst);
            if (mark % 2 == 0 || &seat == t_seat) continue;
            while (seat.mark.load(std::memory_order_acquire) == mark) {
                if (patience_ms == 0) return false;
                if (patience_ms > 0) patience_ms -= kLookMs;
                Clock::Delay(kLookMs);
            }
        }
    }
    return true;
}
