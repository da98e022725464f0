/// Handles the signals that ask the program to end.
#ifndef OLT_HOST_OPERATORS_END_SIGNALS_H
#define OLT_HOST_OPERATORS_END_SIGNALS_H

#include <csignal>

namespace olt_host {

/// Blocks SIGTERM, and SIGINT and SIGHUP unless they are ignored, so that the program can end in order when
/// one arrives. Create the object before any other task starts, because tasks inherit the signal mask.
class EndSignals {
public:
    EndSignals();

    /// Returns whether a signal has arrived. Does not block. Stays true.
    bool HasCome();
    /// Blocks until a signal has arrived.
    void Wait();
    /// Unblocks the signals: from now on they end the process at once.
    void LetThrough() const;

    /// Has the same effect as a signal, but none after `LetThrough`. Any task.
    static void Raise();

private:
    sigset_t signals; ///< the signals from outside
    sigset_t awaited; ///< these and the signal of `Raise`, which stays blocked
    bool has_come = false;
};

} // namespace olt_host

#endif
