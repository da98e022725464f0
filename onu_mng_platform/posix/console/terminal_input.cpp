#include "onu_mng_platform/posix/console/terminal_input.h"

#include <cerrno>
#include <chrono>
#include <iterator>
#include <thread>

#include <poll.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

constexpr int kPause = 1000; // ms

pollfd Input(const CliEvent* event) {
    return pollfd{event == nullptr ? -1 : event->descriptor(), POLLIN, 0};
}

} // namespace

TerminalInput::Event TerminalInput::Wait(char* byte) {
    pollfd ready[] = {{STDIN_FILENO, POLLIN, 0}, Input(stop_), Input(redraw_), Input(&resumed_)};
    for (;;) {
        if (poll(ready, std::size(ready), -1) < 0) {
            if (errno != EINTR) std::this_thread::sleep_for(std::chrono::milliseconds(kPause));
            continue;
        }
        if (ready[1].revents != 0) return Event::kEnd;
        if (IsAway()) return AwaitForeground() ? Event::kResumed : Event::kEnd;
        if (ready[3].revents != 0) {
            resumed_.Clear();
            return Event::kResumed;
        }
        if (ready[2].revents != 0) return Event::kRedraw;
        if (ready[0].revents != 0 && Read(byte)) return Event::kByte;
        if (is_cut_) return Event::kEnd;
    }
}

/// In raw mode no key ends the input, so the end of input means that the terminal has disappeared.
bool TerminalInput::Read(char* byte) {
    const ssize_t size = read(STDIN_FILENO, byte, 1);
    const bool may_go_on = size < 0 && (errno == EINTR || errno == EAGAIN || IsAway());
    is_cut_ = size != 1 && !may_go_on;
    return size == 1;
}

bool TerminalInput::AwaitForeground() {
    while (IsAway()) {
        pollfd ready[] = {Input(stop_), Input(&resumed_)};
        poll(ready, std::size(ready), kPause);
        if (ready[0].revents != 0) return false;
        resumed_.Clear();
    }
    return true;
}

} // namespace onu_mng_platform
