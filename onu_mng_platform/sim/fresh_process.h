/// Scenarios in processes of their own.
#ifndef ONU_MNG_PLATFORM_SIM_FRESH_PROCESS_H
#define ONU_MNG_PLATFORM_SIM_FRESH_PROCESS_H

#include <functional>

namespace onu_mng_platform {

/// Runs `scenario` in a copy of this process and returns its result, 0 to 125; 126 when it could not be
/// started and 127 when it died of a signal, after a line on standard error.
///
/// The library's singletons live as long as their process, so what a run leaves in them is there for the next
/// one. A scenario in a copy always finds them as the caller left them: untouched, if the caller never used
/// them. The copy ends as a program does, with the destruction of its statics; its output is the caller's.
/// Called while no run goes on, from a process with one thread.
int RunInFreshProcess(const std::function<int()>& scenario);

} // namespace onu_mng_platform

#endif
