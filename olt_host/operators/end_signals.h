/// The signals that ask a program to end.
#ifndef OLT_HOST_OPERATORS_END_SIGNALS_H
#define OLT_HOST_OPERATORS_END_SIGNALS_H

#include <csignal>

namespace olt_host {

/// Takes SIGTERM, and SIGINT and SIGHUP unless they are ignored, for whoever asks or waits here, instead of
/// the process ending where it stands. Made before other tasks are started, which then leave the signals
/// alone.
class EndSignals {
public:
    EndSignals();

    /// Whether one has come. Stays true.
    bool HasCome();
    /// Returns when one has come.
    void Wait();
    /// Lets them end the process where it stands, from now on.
    void LetThrough() const;

    /// Asks for the end as a signal does. One that comes too late ends nothing. Any task.
    static void Raise();

private:
    sigset_t signals; ///< that others send
    sigset_t awaited; ///< with the one that `Raise` sends, which is never let through
    bool has_come = false;
};

} // namespace olt_host

#endif
