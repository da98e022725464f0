/// Threads that serve operators.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_THREAD_H
#define ONU_MNG_PLATFORM_POSIX_CLI_THREAD_H

#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>

#include <pthread.h>

namespace onu_mng_platform {

/// Starts a thread that takes none of the process's signals, which are the host's; `name` has at most 15
/// characters. @return a thread that is not joinable, with errno set, when none could be started.
template <typename Body>
std::thread StartThread(const char* name, Body&& body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread;
    try {
        thread = std::thread(std::forward<Body>(body));
        pthread_setname_np(thread.native_handle(), name);
    } catch (const std::system_error& error) {
        errno = error.code().value();
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

} // namespace onu_mng_platform

#endif
