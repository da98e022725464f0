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

/// Returns the slot of the calling thread: its number among the threads that use pools. Returns kNoThreadSlot
/// if all slots are taken, or if the thread has already given its slot back. When the thread ends,
/// PoolFlushSlot() is called and another thread may get the slot.
inline unsigned int ThreadSlot() {
    return detail::t_slot != detail::kSlotNotAsked ? detail::t_slot : detail::TakeThreadSlot();
}

/// Empties the stocks of a slot in every pool.
void PoolFlushSlot(unsigned int slot);

} // namespace onu_mng_platform

#endif
