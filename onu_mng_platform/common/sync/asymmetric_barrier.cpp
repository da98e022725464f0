#include "onu_mng_platform/common/sync/asymmetric_barrier.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <mutex>

namespace onu_mng_platform {
namespace {

#ifdef SYS_membarrier
// The values of linux/membarrier.h, which older systems do not have.
constexpr int kPrivateExpedited = 1 << 3;
constexpr int kRegisterPrivateExpedited = 1 << 4;

bool Command(int command) {
    return syscall(SYS_membarrier, command, 0, 0) == 0;
}

/// Makes all threads of the process execute a barrier. Registers the process if the system asks for that.
bool PassAll() {
    return Command(kPrivateExpedited) || (Command(kRegisterPrivateExpedited) && Command(kPrivateExpedited));
}
#else
bool PassAll() {
    return false;
}
#endif

} // namespace

void AsymmetricBarrier::Prepare() {
    static std::once_flag once;
    std::call_once(once, [] { s_light = PassAll(); });
}

void AsymmetricBarrier::Heavy() {
    std::atomic_thread_fence(std::memory_order_seq_cst);
    if (!s_light || PassAll()) return;
    // The call is refused since Prepare(), by a seccomp filter for example. Every processor completes its
    // pending stores far sooner than within a millisecond.
    timespec rest{0, 1'000'000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

} // namespace onu_mng_platform
