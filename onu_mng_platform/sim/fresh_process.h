/// Runs scenarios in separate processes.
#ifndef ONU_MNG_PLATFORM_SIM_FRESH_PROCESS_H
#define ONU_MNG_PLATFORM_SIM_FRESH_PROCESS_H

#include <functional>

namespace onu_mng_platform {

/// Runs `scenario` in a copy of this process and waits for it.
///
/// The library's singletons live as long as their process, so a run finds the state that an earlier run has
/// left. In a copy, a scenario finds the state of the caller: fresh singletons, if the caller never used
/// them. The copy ends by exit(), which destroys its static objects. It shares the caller's output. The
/// calling process must have one thread and no current run.
/// @return the scenario's result, 0 to 125; 126 if the process could not be started; 127 if it died of a
///         signal, after a line on standard error.
int RunInFreshProcess(const std::function<int()>& scenario);

} // namespace onu_mng_platform

#endif
