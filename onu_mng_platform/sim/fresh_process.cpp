#include "onu_mng_platform/sim/fresh_process.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>
#include <unistd.h>

namespace onu_mng_platform {

namespace {

constexpr int kNotStarted = 126;
constexpr int kKilled = 127;

int ResultOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) return kNotStarted;
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    std::fprintf(stderr, "the scenario's process died of signal %d\n", WTERMSIG(status));
    return kKilled;
}

} // namespace

int RunInFreshProcess(const std::function<int()>& scenario) {
    std::fflush(nullptr); // otherwise both processes would write the buffered output
    const pid_t process = fork();
    if (process == 0) std::exit(scenario());
    return process > 0 ? ResultOf(process) : kNotStarted;
}

} // namespace onu_mng_platform
