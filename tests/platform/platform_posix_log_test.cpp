// How long log lines wait for a reader of standard error on the port for Linux.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "onu_mng_platform/ulog.h"
#include "tests/support/port_calls.h"

namespace {

constexpr char kText[] = "one of many lines, some of which are lost\r\n";
constexpr char kLost[] = " lines are lost here";

/// Returns the lines in what was read, and the lines that it says were lost.
long CountLines(const std::string& text) {
    long count = 0;
    for (size_t at = 0; (at = text.find(kText, at)) != std::string::npos; ++at)
        ++count;
    for (size_t at = 0; (at = text.find(kLost, at)) != std::string::npos; ++at)
        count += std::stol(text.substr(text.rfind(' ', at - 1)));
    return count;
}

/// Logs for half a second to a pipe that is read slowly; when it `is_foreign`, it may not be opened anew.
/// Exits with 0 when the lines waited no longer than they may in all, and each was read or counted as lost.
[[noreturn]] void LogToASlowReader(bool is_foreign) {
    int ends[2];
    if (pipe(ends) != 0 || fcntl(ends[1], F_SETPIPE_SZ, 4096) < 0) std::_Exit(2);
    dup2(ends[1], STDERR_FILENO);
    constexpr uid_t kNobody = 65534;
    if (is_foreign) fchmod(STDERR_FILENO, 0);
    if (is_foreign && geteuid() == 0 && setuid(kNobody) != 0) std::_Exit(3);
    std::atomic<bool> is_slow{true};
    std::mutex guard;
    std::string text;
    std::thread([&] {
        char data[512];
        for (ssize_t size = 0; (size = read(ends[0], data, sizeof data)) > 0;) {
            if (is_slow) usleep(50000);
            const std::lock_guard<std::mutex> lock(guard);
            text.append(data, static_cast<size_t>(size));
        }
    }).detach();
    double waited = 0;
    long lines = 0;
    const auto log_until = [&](double end, useconds_t pause, const std::function<bool()>& is_done) {
        do {
            const double start = Now();
            ulogPrintf(7, 15, "%s", kText);
            waited += Now() - start;
            ++lines;
            usleep(pause);
        } while (Now() < end && !is_done());
    };
    log_until(Now() + 0.5, 1000, [] { return false; });
    const double waited_for_slow_reader = waited;
    is_slow = false;
    const auto is_counted = [&] {
        const std::lock_guard<std::mutex> lock(guard);
        return CountLines(text) == lines && text.find(kLost) != std::string::npos;
    };
    log_until(Now() + 10, 20000, is_counted); // the next line that is not lost tells how many were
    std::printf("%ld lines, %.3f s inside\n", lines, waited_for_slow_reader);
    std::_Exit(waited_for_slow_reader < 0.25 && is_counted() ? 0 : 1);
}

TEST(PosixLog, WaitsForASlowReaderOnlyAsLongAsAllLinesTogetherMay) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(LogToASlowReader(false), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(LogToASlowReader(true), testing::ExitedWithCode(0), "");
}

// A sink that ends the process: static destructors redirect the log from within it.
TEST(PosixLog, LetsASinkEndTheProcess) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto end_in_sink = [] {
        std::atexit([] { ulogSetSink(nullptr, nullptr); });
        ulogSetSink([](void*, unsigned int, int, const char*) { std::exit(4); }, nullptr);
        ulogPrintf(7, 15, "the last\r\n");
    };
    EXPECT_EXIT(end_in_sink(), testing::ExitedWithCode(4), "");
}

} // namespace
