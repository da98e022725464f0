#include "onu_mng_platform/common/pool/thread.h"

#include <atomic>

namespace onu_mng_platform {
namespace {

std::atomic<bool> g_taken[kMaxThreadSlots];

using detail::t_slot;

/// Takes a slot for the thread and gives it back when the thread ends. Separate from `t_slot`, which has no
/// destructor and can be read without a check.
struct Lease {
    Lease() {
        t_slot = kNoThreadSlot;
        for (unsigned int slot = 0; slot < kMaxThreadSlots; ++slot) {
            if (g_taken[slot].load(std::memory_order_relaxed)) continue;
            if (g_taken[slot].exchange(true, std::memory_order_acquire)) continue;
            t_slot = slot;
            return;
        }
    }

    ~Lease() {
        const unsigned int slot = t_slot;
        t_slot = kNoThreadSlot;
        if (slot == kNoThreadSlot) return;
        PoolFlushSlot(slot);
        g_taken[slot].store(false, std::memory_order_release);
    }
};

} // namespace

unsigned int detail::TakeThreadSlot() {
    static thread_local Lease lease;
    return t_slot;
}

} // namespace onu_mng_platform
