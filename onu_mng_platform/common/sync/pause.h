#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_PAUSE_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_PAUSE_H

namespace onu_mng_platform {

/// Pauses a spinning processor core for some ten nanoseconds, to leave resources to its other hardware
/// threads.
inline void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm__)
    asm volatile("yield");
#endif
}

} // namespace onu_mng_platform

#endif
