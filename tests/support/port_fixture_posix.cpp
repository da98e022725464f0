#include "tests/support/port_fixture.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "onu_mng_platform/bep.h"
#include "tests/support/port_task.h"

namespace {

constexpr int kWatchdogSeconds = 100;

/// The state of a thread according to the system. `switches` holds its counts of context switches.
struct ThreadState {
    bool sleeps = false;
    std::string switches;
};
bool operator==(const ThreadState& a, const ThreadState& b) {
    return a.sleeps == b.sleeps && a.switches == b.switches;
}

ThreadState StateOf(const std::string& thread) {
    std::ifstream file("/proc/self/task/" + thread + "/status");
    ThreadState state{true, ""}; // if the thread has just ended
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("State:", 0) == 0) state.sleeps = line.find('S', 6) != std::string::npos;
        if (line.find("ctxt_switches:") != std::string::npos) state.switches += line;
    }
    return state;
}

/// Returns the states of all threads except the caller's.
std::map<std::string, ThreadState> LookAtOthers() {
    const std::string own = std::to_string(gettid());
    std::map<std::string, ThreadState> others;
    const std::unique_ptr<DIR, int (*)(DIR*)> threads(opendir("/proc/self/task"), closedir);
    while (const dirent* const entry = readdir(threads.get())) {
        const std::string thread = entry->d_name;
        if (thread[0] != '.' && thread != own) others[thread] = StateOf(thread);
    }
    return others;
}

bool AllSleep(const std::map<std::string, ThreadState>& threads) {
    return std::all_of(threads.begin(), threads.end(), [](const auto& each) { return each.second.sleeps; });
}

} // namespace

void RunOnPort(const std::function<void()>& body) {
    PortTask task("test", body);
    if (!task.HasStarted()) FAIL() << "bep_semBCreateEx() or bep_taskSpawnEx() gives nothing: start there";
    if (task.WaitUntilDone(kWatchdogSeconds * bep_sysClkRateGetEx())) return;
    std::fprintf(stderr, "%s hangs\n", testing::UnitTest::GetInstance()->current_test_info()->name());
    std::abort();
}

void LetOthersSettle() {
    // Sleeps between two samples, so that threads without a real-time priority can run.
    constexpr timespec kMoment{0, 100'000};
    // If all threads sleep in two samples without a context switch in between, all slept at the same time.
    for (auto before = LookAtOthers();;) {
        clock_nanosleep(CLOCK_MONOTONIC, 0, &kMoment, nullptr);
        auto now = LookAtOthers();
        if (AllSleep(now) && now == before) return;
        before = std::move(now);
    }
}
