#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_PAUSE_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_PAUSE_H

namespace onu_mng_platform {

/// Leaves the processor's resources to others for some ten nanoseconds, between two looks at a word.
inline void Pause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm__)
    asm volatile("yield");
#endif
}

} // namespace onu_mng_platform

#endif
