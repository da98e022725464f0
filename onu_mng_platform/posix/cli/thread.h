/// Threads that serve operators.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_THREAD_H
#define ONU_MNG_PLATFORM_POSIX_CLI_THREAD_H

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

#include <pthread.h>

namespace onu_mng_platform {

/// Blocks, while it lives, the signals that are sent to the process; those that a fault of the running code
/// raises still reach the host's handlers.
class SignalShield {
public:
    SignalShield() {
        sigset_t sent;
        sigfillset(&sent);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS})
            sigdelset(&sent, fault);
        pthread_sigmask(SIG_SETMASK, &sent, &before_);
    }
    ~SignalShield() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalShield(const SignalShield&) = delete;
    SignalShield& operator=(const SignalShield&) = delete;

private:
    sigset_t before_{};
};

/// Starts a thread that leaves the process's signals to the host; `name` has at most 15 characters. @return a
/// thread that is not joinable, with errno set, when none could be started. Throws std::bad_alloc.
template <typename Body>
std::thread StartThread(const char* name, Body&& body) {
    const SignalShield shield; // inherited by the thread
    try {
        std::thread thread(std::forward<Body>(body));
        pthread_setname_np(thread.native_handle(), name);
        return thread;
    } catch (const std::system_error& error) {
        errno = error.code().value();
        return std::thread();
    }
}

} // namespace onu_mng_platform

#endif
