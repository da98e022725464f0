#include "onu_mng_platform/posix/console/terminal_modes.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <termios.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

termios g_kept;                     // constant while g_is_kept
std::atomic<bool> g_is_kept{false}; // lock-free, for signal handlers
std::atomic<const CliEvent*> g_resumed{nullptr};

// TCSANOW does not wait for pending output, which a terminal stopped by Ctrl-S would never take.
void Restore() {
    if (g_is_kept && !IsInBackground()) tcsetattr(STDIN_FILENO, TCSANOW, &g_kept);
}

void SetResumed() {
    const CliEvent* const resumed = g_resumed;
    if (resumed != nullptr) resumed->Set();
}

void Handle(int signal, void (*handler)(int), unsigned int flags) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(flags);
    sigaction(signal, &action, nullptr);
}

bool IsLeftToTheSystem(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_DFL;
}

/// Lets the signal take its default action. Unblocks it first, because a signal that is blocked in its
/// handler would stay pending and call the handler again and again.
void TakeDefaultAction(int signal) {
    Handle(signal, SIG_DFL, 0);
    sigset_t only;
    sigemptyset(&only);
    sigaddset(&only, signal);
    pthread_sigmask(SIG_UNBLOCK, &only, nullptr);
    raise(signal);
}

void OnEnd(int signal) {
    Restore();
    TakeDefaultAction(signal);
}

void OnStop(int signal) {
    const int error = errno;
    Restore();
    TakeDefaultAction(signal); // the process stops here
    Handle(signal, OnStop, SA_NODEFER | SA_RESTART);
    SetResumed();
    errno = error;
}

void OnContinue(int) {
    const int error = errno;
    SetResumed();
    errno = error;
}

} // namespace

bool IsInBackground() {
    const pid_t owner = tcgetpgrp(STDIN_FILENO);
    return owner >= 0 && owner != getpgrp();
}

TerminalModes::TerminalModes(const CliEvent& resumed) {
    static const int registered = std::atexit(Restore);
    (void)registered;
    g_resumed = &resumed;
    if (IsLeftToTheSystem(SIGCONT)) Handle(SIGCONT, OnContinue, SA_RESTART);
    g_is_kept = tcgetattr(STDIN_FILENO, &g_kept) == 0;
}

TerminalModes::~TerminalModes() {
    g_is_kept = false;
    g_resumed = nullptr;
}

void TerminalModes::RestoreOnSignals() {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM})
        if (IsLeftToTheSystem(signal)) Handle(signal, OnEnd, SA_RESETHAND | SA_NODEFER);
    if (IsLeftToTheSystem(SIGTSTP)) Handle(SIGTSTP, OnStop, SA_NODEFER | SA_RESTART);
}

} // namespace onu_mng_platform
