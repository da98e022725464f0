// How long log lines wait for a reader of standard error on the port for Linux.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
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

/// Logs 300 lines to a pipe that is not read, and then reads it. When it `is_foreign`, it may not be opened anew.
/// Exits with 0 when the lines waited, but no longer than they may in all, and each was read or counted as lost.
[[noreturn]] void LogToASlowReader(bool is_foreign) {
    int ends[2];
    if (pipe(ends) != 0 || fcntl(ends[1], F_SETPIPE_SZ, 4096) < 0) std::_Exit(2);
    dup2(ends[1], STDERR_FILENO);
    constexpr uid_t kNobody = 65534;
    if (is_foreign) fchmod(STDERR_FILENO, 0);
    if (is_foreign && geteuid() == 0 && setuid(kNobody) != 0) std::_Exit(3);
    long lines = 0;
    const auto log = [&lines] {
        ulogPrintf(7, 15, "%s", kText);
        ++lines;
    };
    const double begin = Now();
    double waited = 0;
    while (lines < 300) {
        const double start = Now();
        log();
        waited += Now() - start;
        usleep(1000);
    }
    const bool has_waited = waited > 0.02 && waited < 0.2 + (Now() - begin) / 10;
    std::mutex guard;
    std::string text;
    std::thread([&] {
        char data[512];
        for (ssize_t size = 0; (size = read(ends[0], data, sizeof data)) > 0;) {
            const std::lock_guard<std::mutex> lock(guard);
            text.append(data, static_cast<size_t>(size));
        }
    }).detach();
    bool is_counted = false;
    for (const double end = Now() + 10; !is_counted && Now() < end;) {
        log(); // the next line that is not lost tells how many were
        usleep(20000);
        const std::lock_guard<std::mutex> lock(guard);
        is_counted = CountLines(text) == lines && text.find(kLost) != std::string::npos;
    }
    std::printf("%ld lines, %.3f s inside\n", lines, waited);
    std::fflush(stdout);
    std::_Exit(has_waited && is_counted ? 0 : 1);
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
