#include "tests/support/port_fixture.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <memory>
#include <string>

#include "onu_mng_platform/bep.h"
#include "tests/support/port_task.h"

namespace {

constexpr int kWatchdogSeconds = 100;

/// Returns the state letter of a thread of this process, 'S' when it sleeps; '\0' when it is gone.
char StateOf(const std::string& thread) {
    std::ifstream file("/proc/self/task/" + thread + "/stat");
    std::string line;
    std::getline(file, line);
    // The name before it is in parentheses and may hold any character.
    const size_t end = line.rfind(") ");
    return end == std::string::npos ? '\0' : line[end + 2];
}

bool AllOthersSleep() {
    const std::string own = std::to_string(gettid());
    const std::unique_ptr<DIR, int (*)(DIR*)> threads(opendir("/proc/self/task"), closedir);
    while (const dirent* const entry = readdir(threads.get())) {
        const std::string thread = entry->d_name;
        if (thread[0] == '.' || thread == own) continue;
        const char state = StateOf(thread);
        if (state != 'S' && state != '\0') return false;
    }
    return true;
}

} // namespace

void RunOnPort(const std::function<void()>& body) {
    PortTask task("test", body);
    if (task.WaitUntilDone(kWatchdogSeconds * bep_sysClkRateGetEx())) return;
    std::fprintf(stderr, "%s hangs\n", testing::UnitTest::GetInstance()->current_test_info()->name());
    std::abort();
}

void LetOthersSettle() {
    // Leaves the processor between the looks, also to threads without a real-time priority.
    constexpr timespec kMoment{0, 100'000};
    // Twice in a row: a task that was just about to be woken is seen by the second look.
    for (int quiet = 0; quiet < 2;) {
        clock_nanosleep(CLOCK_MONOTONIC, 0, &kMoment, nullptr);
        quiet = AllOthersSleep() ? quiet + 1 : 0;
    }
}
