#include "olt_host/operators/end_signals.h"

#include <ctime>
#include <initializer_list>

#include <unistd.h>

namespace olt_host {

EndSignals::EndSignals() {
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    for (const int number : {SIGINT, SIGHUP}) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN) sigaddset(&signals, number); // else as nohup wants it
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void EndSignals::LetThrough() const {
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

bool EndSignals::HasCome() {
    const timespec at_once{0, 0};
    has_come = has_come || sigtimedwait(&signals, nullptr, &at_once) > 0;
    return has_come;
}

void EndSignals::Wait() {
    while (!has_come)
        has_come = sigwaitinfo(&signals, nullptr) > 0;
}

void EndSignals::Raise() {
    kill(getpid(), SIGTERM);
}

} // namespace olt_host
