/// Starts the threads that serve operators.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_THREAD_H
#define ONU_MNG_PLATFORM_POSIX_CLI_THREAD_H

#include <cerrno>
#include <csignal>
#include <exception>
#include <system_error>
#include <thread>

#include <pthread.h>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/log/log.h"

namespace onu_mng_platform {

/// Blocks signals while it lives. Signals that the running code itself raises by a fault still reach the
/// host's handlers.
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

/// Runs an action at the end of a scope, even if a handler throws or ends its thread.
template <typename Action>
class Finally {
public:
    explicit Finally(Action action) : action_(action) {}
    ~Finally() { action_(); }
    Finally(const Finally&) = delete;
    Finally& operator=(const Finally&) = delete;

private:
    const Action action_;
};

/// Runs the body of a thread. Logs an exception; lets the end of the thread by pthread_exit() pass.
template <typename Body>
void RunThread(const char* name, Body& body) {
    constexpr int kErrorLevel = 13;
    constexpr char kFormat[] = "thread %s has ended by an exception: %s\r\n";
    try {
        body();
    } catch (const std::exception& exception) {
        LogPort(kErrorLevel, kFormat, name, exception.what());
    } catch (...) {
        bep_passTaskEnd();
        LogPort(kErrorLevel, kFormat, name, "unknown exception");
    }
}

/// Starts a thread that blocks the process's signals, so that the host's threads handle them. `name` is a
/// literal of at most 15 characters. Throws std::bad_alloc.
/// @return the thread; if it could not be started, a thread that is not joinable, with errno set.
template <typename Body>
std::thread StartThread(const char* name, Body&& body) {
    const SignalShield shield; // the thread inherits the signal mask
    try {
        std::thread thread([name, body = std::forward<Body>(body)]() mutable { RunThread(name, body); });
        pthread_setname_np(thread.native_handle(), name);
        return thread;
    } catch (const std::system_error& error) {
        errno = error.code().value();
        return std::thread();
    }
}

} // namespace onu_mng_platform

#endif
