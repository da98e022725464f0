#ifndef ONU_MNG_PLATFORM_COMMON_POOL_THREAD_H
#define ONU_MNG_PLATFORM_COMMON_POOL_THREAD_H

namespace onu_mng_platform {

inline constexpr unsigned int kMaxThreadSlots = 256;
inline constexpr unsigned int kNoThreadSlot = kMaxThreadSlots;

namespace detail {

inline constexpr unsigned int kSlotNotAsked = kMaxThreadSlots + 1;
inline thread_local unsigned int t_slot = kSlotNotAsked;

unsigned int TakeThreadSlot();

} // namespace detail

/// Returns the calling thread's number among the threads that use pools; it is handed on when the thread
/// ends, after PoolFlushSlot() emptied what stands under it. kNoThreadSlot when all are taken and while the
/// thread's own objects are being destroyed.
inline unsigned int ThreadSlot() {
    return detail::t_slot != detail::kSlotNotAsked ? detail::t_slot : detail::TakeThreadSlot();
}

/// Empties the stocks under a number in every pool.
void PoolFlushSlot(unsigned int slot);

} // namespace onu_mng_platform

#endif
