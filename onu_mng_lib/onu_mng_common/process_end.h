/// The orderly end of the library when the process exits.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_PROCESS_END_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_PROCESS_END_H

/// Arranges that the library ends when the process exits: by the return of main(), or by exit() in any task,
/// even in a hook or a handler. Further calls change nothing.
///
/// Routing is closed first. When the senders are out, the supervision and the modules' tasks end, and then
/// the modules are deleted. This happens in a task of its own, which the exiting task waits for at most 5
/// seconds. If a sender or a handler takes longer, the modules stay as they are and the process exits (one
/// level-13 line).
void ArrangeProcessEnd();

#endif
