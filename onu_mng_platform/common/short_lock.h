#ifndef ONU_MNG_PLATFORM_COMMON_SHORT_LOCK_H
#define ONU_MNG_PLATFORM_COMMON_SHORT_LOCK_H

#include <pthread.h>

namespace onu_mng_platform {

/// A lock for a few instructions: whoever finds it taken looks again for about as long as it is held, because
/// sleeping and being woken take a hundred times that, and sleeps after all when the holder was interrupted.
///
/// Usable from before the first static constructor to after the last static destructor.
class ShortLock {
public:
    ShortLock() = default;
    ShortLock(const ShortLock&) = delete;
    ShortLock& operator=(const ShortLock&) = delete;

    void lock() { pthread_mutex_lock(&mutex_); }
    void unlock() { pthread_mutex_unlock(&mutex_); }

private:
#if defined(PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP)
    pthread_mutex_t mutex_ = PTHREAD_ADAPTIVE_MUTEX_INITIALIZER_NP;
#else
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
#endif
};

} // namespace onu_mng_platform

#endif
