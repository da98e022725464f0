// How long log lines wait for a reader of standard error on the port for Linux.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
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
    std::string text;
    std::thread reader([&] {
        char data[512];
        while (text.find("the end") == std::string::npos) {
            const ssize_t size = read(ends[0], data, sizeof data);
            if (size > 0) text.append(data, static_cast<size_t>(size));
            if (is_slow) usleep(50000);
        }
    });
    const double begin = Now();
    double waited = 0;
    long lines = 0;
    for (; Now() < begin + 0.5; ++lines) {
        const double start = Now();
        ulogPrintf(7, 15, "%s", kText);
        waited += Now() - start;
        usleep(1000);
    }
    is_slow = false;
    for (int unread = 1; unread > 0; usleep(10000))
        ioctl(ends[0], FIONREAD, &unread);
    ulogPrintf(7, 15, "the end\r\n"); // not lost: the pipe is empty
    reader.join();
    const bool is_counted = CountLines(text) == lines && text.find(kLost) != std::string::npos;
    std::printf("%ld lines in 0.5 s, %ld read or counted, %.3f s inside\n", lines, CountLines(text), waited);
    std::_Exit(waited < 0.25 && is_counted ? 0 : 1);
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
