#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_ASYMMETRIC_BARRIER_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_ASYMMETRIC_BARRIER_H

#include <atomic>

namespace onu_mng_platform {

/// A full memory barrier in two halves: a light one for frequent operations and a heavy one for rare
/// operations.
///
/// One thread stores to A, calls Light() and loads B. Another thread stores to B, calls Heavy() and loads A.
/// Then at least one of them sees the store of the other. A and B are atomics.
///
/// If the system has membarrier(2), Heavy() makes all threads of the process execute a barrier, and Light()
/// only keeps the compiler from moving loads and stores. Otherwise both are fences.
class AsymmetricBarrier {
public:
    /// Checks whether the system has membarrier(2). The first call must come before the first Light() and
    /// Heavy(). It takes up to 20 ms, because the kernel registers the process. Later calls do nothing. A
    /// port that never calls it uses fences for both. The simulated board does so: its runs are short, and
    /// one task runs at a time.
    static void Prepare();

    static void Light() {
        if (s_light) {
            std::atomic_signal_fence(std::memory_order_seq_cst);
        } else {
            std::atomic_thread_fence(std::memory_order_seq_cst);
        }
    }

    /// Takes about a microsecond.
    static void Heavy();

private:
    static inline bool s_light = false; // set by Prepare() only
};

} // namespace onu_mng_platform

#endif
