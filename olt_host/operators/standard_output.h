/// Standard output whose reader may hang or be gone.
#ifndef OLT_HOST_OPERATORS_STANDARD_OUTPUT_H
#define OLT_HOST_OPERATORS_STANDARD_OUTPUT_H

#include <array>
#include <streambuf>

#include "olt_host/operators/end_signals.h"

namespace olt_host {

/// While it lives, std::cout writes through it, in a process that ignores SIGPIPE: a reader that is gone has
/// seen enough, and the rest is dropped. A reader that takes nothing is waited for until an end signal has
/// come, and 2 seconds more. Then, and when output cannot be written, std::cout goes bad.
///
/// One at a time, of the task that waits for the signals.
class StandardOutput : public std::streambuf {
public:
    /// `end_signals` outlives it.
    explicit StandardOutput(EndSignals& end_signals);
    ~StandardOutput() override;

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    bool WaitForRoom();

    EndSignals& signals;
    std::streambuf* const replaced;
    std::array<char, 4096> buffer; ///< what a pipe that has any room takes at once
};

} // namespace olt_host

#endif
