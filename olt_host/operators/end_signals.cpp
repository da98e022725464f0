#include "olt_host/operators/end_signals.h"

#include <ctime>
#include <initializer_list>

#include <unistd.h>

namespace olt_host {

namespace {

constexpr int kOwnSignal = SIGUSR1;

} // namespace

EndSignals::EndSignals() {
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    for (const int number : {SIGINT, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&signals, number); // nohup ignores SIGHUP: keep that
    }
    awaited = signals;
    sigaddset(&awaited, kOwnSignal);
    pthread_sigmask(SIG_BLOCK, &awaited, nullptr);
}

void EndSignals::LetThrough() const {
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

bool EndSignals::HasCome() {
    const timespec at_once{0, 0};
    has_come = has_come || sigtimedwait(&awaited, nullptr, &at_once) > 0;
    return has_come;
}

void EndSignals::Wait() {
    while (!has_come)
        has_come = sigwaitinfo(&awaited, nullptr) > 0;
}

void EndSignals::Raise() {
    kill(getpid(), kOwnSignal);
}

} // namespace olt_host
