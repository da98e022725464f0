#include "olt_host/operators/standard_output.h"

#include <cerrno>
#include <iostream>

#include <poll.h>
#include <unistd.h>

namespace olt_host {

namespace {

constexpr int kLookMs = 100;
constexpr int kPatienceMs = 2000;

} // namespace

StandardOutput::StandardOutput(EndSignals& end_signals)
    : signals(end_signals), replaced(std::cout.rdbuf(this)), buffer() {
    setp(buffer.data(), buffer.data() + buffer.size());
}

StandardOutput::~StandardOutput() {
    std::cout.flush();
    const std::ios_base::iostate state = std::cout.rdstate(); // rdbuf() clears it
    std::cout.rdbuf(replaced);
    std::cout.setstate(state);
}

StandardOutput::int_type StandardOutput::overflow(int_type character) {
    if (sync() != 0) return traits_type::eof();
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    return sputc(traits_type::to_char_type(character));
}

int StandardOutput::sync() {
    const char* next = pbase();
    while (next != pptr()) {
        if (!WaitForRoom()) return -1;
        const ssize_t written = write(STDOUT_FILENO, next, static_cast<std::size_t>(pptr() - next));
        if (written < 0 && errno == EPIPE) break;
        if (written < 0 && errno != EINTR && errno != EAGAIN) return -1;
        if (written > 0) next += written;
    }
    setp(buffer.data(), buffer.data() + buffer.size());
    return 0;
}

bool StandardOutput::WaitForRoom() {
    for (int left = kPatienceMs; left > 0; left -= signals.HasCome() ? kLookMs : 0) {
        pollfd room{STDOUT_FILENO, POLLOUT, 0};
        if (poll(&room, 1, kLookMs) > 0) return true;
    }
    return false;
}

} // namespace olt_host
