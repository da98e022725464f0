// The log, ticks, the calendar and the text helpers, on every port.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cctype>
#include <cstring>
#include <ctime>
#include <sstream>
#include <string>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/cutil.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/log_lines.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"

namespace {

PORT_TEST(PlatformLog, WritesFromTheThresholdOn) {
    LogLines log;
    ulogSetThreshold(10);
    ulogPrintf(7, 9, "nine\r\n");
    ulogPrintf(7, 10, "%d %s\r\n", 42, "x");
    ulogSetThreshold(12);
    ulogPrintf(7, 11, "eleven\r\n");
    ulogPrintf(7, 12, "twelve\r\n");
    ulogSetThreshold(16);
    ulogPrintf(7, 15, "fifteen\r\n");
    EXPECT_EQ(log.Take(), Lines({"10 42 x", "12 twelve"}));
}

PORT_TEST(PlatformLog, OpensALevelForAModule) {
    LogLines log;
    ulogSetThreshold(10);
    EXPECT_EQ(ulogSetModIgnore(7, 4, 1), 0);
    ulogPrintf(7, 4, "7/4\r\n");
    ulogPrintf(7, 5, "7/5\r\n");
    ulogPrintf(8, 4, "8/4\r\n");
    EXPECT_EQ(log.Take(), Lines{"4 7/4"});
    EXPECT_EQ(ulogSetModIgnore(7, 4, 0), 0);
    EXPECT_EQ(ulogSetModIgnore(7, 4, 0), 0);
    ulogPrintf(7, 4, "7/4\r\n");
    EXPECT_EQ(log.Take(), Lines{});

    EXPECT_EQ(ulogSetModIgnore(7, -1, 1), -1);
    EXPECT_EQ(ulogSetModIgnore(7, 16, 1), -1);
    EXPECT_EQ(ulogSetModIgnore(7, 4, 2), -1);
    for (unsigned int module = 0; module < 16; ++module)
        EXPECT_EQ(ulogSetModIgnore(module, 3, 1), 0);
    EXPECT_EQ(ulogSetModIgnore(16, 3, 1), -1);
    EXPECT_EQ(ulogSetModIgnore(5, 0, 1), 0); // its second level
    EXPECT_EQ(ulogSetModIgnore(5, 3, 0), 0);
    EXPECT_EQ(ulogSetModIgnore(16, 3, 1), -1);
    EXPECT_EQ(ulogSetModIgnore(5, 0, 0), 0);
    EXPECT_EQ(ulogSetModIgnore(16, 3, 1), 0);
    for (unsigned int module = 0; module <= 16; ++module)
        EXPECT_EQ(ulogSetModIgnore(module, 3, 0), 0);
}

PORT_TEST(PlatformLog, CutsLongTextButEndsItsLine) {
    LogLines log;
    for (const size_t size : {1021u, 5000u})
        ulogPrintf(7, 13, "%s\r\n", std::string(size, 'l').c_str());
    EXPECT_EQ(log.Take(), Lines(2, "13 " + std::string(1021, 'l')));
}

PORT_TEST(PlatformLog, DropsLinesOfItsOwnSink) {
    static std::string text;
    ulogSetSink(
        [](void*, unsigned int, int, const char* line) {
            ulogPrintf(1, 15, "from the sink\r\n");
            text += line;
        },
        nullptr);
    ulogPrintf(7, 13, "one\r\n");
    ulogPrintf(7, 13, "%s", std::string(1023, 'l').c_str());
    ulogSetSink(nullptr, nullptr);
    EXPECT_EQ(text, "one\r\n" + std::string(1023, 'l')) << "the longest text is whole";
}

PORT_TEST(PlatformLog, CountsTheLinesThatNobodyCanRead) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const int kept = dup(STDERR_FILENO);
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    close(ends[1]);
    ulogPrintf(7, 13, "to nobody\r\n");
    dup2(kept, STDERR_FILENO);
    close(kept);
    testing::internal::CaptureStderr();
    ulogPrintf(7, 13, "to somebody\r\n");
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("13 0: 1 lines are lost here"), std::string::npos) << told;
    EXPECT_NE(told.find("to somebody\r\n"), std::string::npos) << told;
}

PORT_TEST(PlatformLog, NeverMixesLines) {
    testing::internal::CaptureStderr();
    const PortTasks tasks(4, [](int number) {
        for (int i = 0; i < 250; ++i)
            ulogPrintf(7, 13, "%s\r\n", std::string(40, static_cast<char>('a' + number)).c_str());
    });
    tasks.WaitUntilDone();
    std::istringstream text(testing::internal::GetCapturedStderr());
    int lines = 0;
    for (std::string line; std::getline(text, line); ++lines) {
        const size_t end = line.size() - 41;
        for (size_t i = 0; i < end; ++i) {
            if (std::isdigit(line[i]) != 0) line[i] = '0';
        }
        ASSERT_EQ(line, "0000-00-00 00:00:00.000 00 0: " + std::string(40, line[end]) + "\r");
    }
    EXPECT_EQ(lines, 1000);
}

TEST(PlatformTicks, AreAPositiveConstant) {
    const int ticks = bep_sysClkRateGetEx();
    EXPECT_GT(ticks, 0);
    EXPECT_EQ(bep_sysClkRateGetEx(), ticks);
}

PORT_TEST(PlatformCalendar, TellsTheLocalTime) {
    setenv("TZ", "XYZ-5:30", 1); // five and a half hours ahead
    tzset();
    unsigned short year = 0;
    unsigned char month = 0, day = 0, hour = 0, minute = 0, second = 0;
    timespec before{}, after{};
    clock_gettime(CLOCK_REALTIME, &before);
    ASSERT_EQ(getDateTime(&year, &month, &day, &hour, &minute, &second), 0);
    clock_gettime(CLOCK_REALTIME, &after);
    std::tm date{};
    date.tm_year = year - 1900;
    date.tm_mon = month - 1;
    date.tm_mday = day;
    date.tm_hour = hour;
    date.tm_min = minute;
    date.tm_sec = second;
    const time_t told = timegm(&date) - (5 * 60 + 30) * 60;
    EXPECT_GE(told, before.tv_sec);
    EXPECT_LE(told, after.tv_sec);
    EXPECT_EQ(getDateTime(nullptr, &month, &day, &hour, &minute, &second), -1);
    EXPECT_EQ(getDateTime(&year, &month, &day, &hour, &minute, nullptr), -1);
    unsetenv("TZ");
    tzset();
}

TEST(PlatformText, CopiesSetsAndComparesAndSurvivesNull) {
    char bytes[4] = {1, 2, 3, 4};
    const char other[4] = {9, 8, 7, 6};
    EXPECT_EQ(bep_memCpyEx(bytes, other, 2), bytes);
    EXPECT_EQ(bep_memSetEx(bytes + 2, 0x1FF, 1), bytes + 2);
    const char expected[4] = {9, 8, '\xFF', 4};
    EXPECT_EQ(std::memcmp(bytes, expected, 4), 0);
    EXPECT_EQ(bep_memCpyEx(nullptr, other, 2), nullptr);
    EXPECT_EQ(bep_memCpyEx(bytes, nullptr, 2), bytes);
    EXPECT_EQ(bep_memSetEx(nullptr, 0, 2), nullptr);
    EXPECT_EQ(std::memcmp(bytes, expected, 4), 0);

    EXPECT_EQ(bep_StrLen("abc"), 3u);
    EXPECT_EQ(bep_StrLen(nullptr), 0u);
    EXPECT_EQ(bep_StrNCmp("abc", "abd", 2), 0);
    EXPECT_LT(bep_StrNCmp("abc", "ab\xE9", 3), 0); // as unsigned bytes
    EXPECT_GT(bep_StrNCmp("b", "abc", 3), 0);
    EXPECT_LT(bep_StrNCmp(nullptr, "", 3), 0);
    EXPECT_GT(bep_StrNCmp("", nullptr, 3), 0);
    EXPECT_EQ(bep_StrNCmp(nullptr, nullptr, 3), 0);
}

TEST(PlatformText, ReadsHexadecimalDigits) {
    for (int c = -128; c < 128; ++c) {
        char nibble = 'n';
        const bool is_digit = c > 0 && std::isxdigit(c) != 0;
        ASSERT_EQ(CUtil::ConvertHexChar(static_cast<char>(c), &nibble), is_digit ? 0 : -1) << c;
        const std::string digit(1, static_cast<char>(c));
        ASSERT_EQ(nibble, is_digit ? static_cast<char>(std::stoi(digit, nullptr, 16)) : 'n') << c;
    }
    EXPECT_EQ(CUtil::ConvertHexChar('1', nullptr), -1);
}

TEST(PlatformText, ReadsHexadecimalBytes) {
    struct {
        const char* text;
        unsigned int room;
        int result;
        std::string bytes;
    } const cases[] = {
        {"0aFf", 2, 0, "\x0A\xFF"}, {"0x0aFf", 2, 0, "\x0A\xFF"}, {"0X01", 8, 0, "\x01"}, {"", 8, 0, ""},
        {"0x", 0, 0, ""},           {"0aFf", 1, -1, ""},          {"0aF", 8, -1, ""},     {"0aFg", 8, -1, ""},
        {"0x0x01", 8, -1, ""},      {" 01", 8, -1, ""},
    };
    for (const auto& each : cases) {
        char bytes[8] = {'k', 'k', 'k', 'k', 'k', 'k', 'k', 'k'};
        unsigned int size = each.room;
        EXPECT_EQ(CUtil::CovertHexStringToBytes(each.text, bytes, &size), each.result) << each.text;
        EXPECT_EQ(size, each.result == 0 ? each.bytes.size() : each.room) << each.text;
        std::string expected = each.bytes;
        expected.resize(8, 'k');
        EXPECT_EQ(std::string(bytes, 8), expected) << each.text;
    }
    char byte = 0;
    unsigned int size = 1;
    EXPECT_EQ(CUtil::CovertHexStringToBytes(nullptr, &byte, &size), -1);
    EXPECT_EQ(CUtil::CovertHexStringToBytes("00", nullptr, &size), -1);
    EXPECT_EQ(CUtil::CovertHexStringToBytes("00", &byte, nullptr), -1);
}

} // namespace
