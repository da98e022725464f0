/// Standard output whose reader may stop reading or exit.
#ifndef OLT_HOST_OPERATORS_STANDARD_OUTPUT_H
#define OLT_HOST_OPERATORS_STANDARD_OUTPUT_H

#include <array>
#include <streambuf>

#include "olt_host/operators/end_signals.h"

namespace olt_host {

/// Replaces the buffer of std::cout while it lives. The process must ignore SIGPIPE.
///
/// If the reader has exited, the remaining output is dropped without an error. If the reader does not read,
/// output waits for it until 2 seconds after an end signal. After that, and on any other write error,
/// std::cout goes bad.
///
/// Only one object may exist at a time. Use it in the task that waits for the signals.
class StandardOutput : public std::streambuf {
public:
    /// `end_signals` must outlive the object.
    explicit StandardOutput(EndSignals& end_signals);
    ~StandardOutput() override;

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    bool WaitForRoom();

    EndSignals& signals;
    std::streambuf* const replaced;
    std::array<char, 4096> buffer; ///< PIPE_BUF: a pipe that is ready for writing accepts as much at once
};

} // namespace olt_host

#endif
