// install_element() and vty_execute() beyond what a transcript shows.

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/cli/terminal.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"
#include "tests/support/temporary_directory.h"

namespace {

int Nothing(cmd_element*, vty*, int, char**) {
    return 0;
}

TEST(CliInstallTest, RefusesWhatItCannotParse) {
    std::string many_words = "start";
    for (int i = 0; i < 64; ++i)
        many_words += " w" + std::to_string(i);
    std::string many_groups = "start";
    for (int i = 0; i < 33; ++i)
        many_groups += " {g" + std::to_string(i) + "}*1";
    const std::string short_ones[] = {"",         "  ",      "a [",    "a [b",    "a [b|",  "a []",
                                      "a [b|]",   "a <",     "a <>",   "a <1-16", "a {",    "a {b",
                                      "a {b}",    "a {b}*2", "a {}*1", "a }*1",   "a ]",    "a b|c",
                                      "a <16-1>", "a ?",     "a\nb",   "a >",     "a [b|b]"};
    const std::string long_ones[] = {"a {b {c}*1}*1", "a [<x>|<1-3>]",         "a {b}*1 {b}*1", "a {b}*1 b",
                                     "a {<x>}*1 <y>", "a {[b|c] <x>}*1 {c}*1", many_words,      many_groups};
    LogLines log;
    const auto refuse = [&](const std::string& syntax) {
        EXPECT_EQ(Install(20, syntax, Nothing), -1) << syntax;
        const std::string line = "13 command " + syntax + " not installed: its syntax cannot be parsed";
        EXPECT_EQ(log.Take(), Lines{line});
    };
    std::for_each(std::begin(short_ones), std::end(short_ones), refuse);
    std::for_each(std::begin(long_ones), std::end(long_ones), refuse);
    cmd_element no_syntax = {nullptr, Nothing, nullptr, 0, 0, nullptr};
    EXPECT_EQ(install_element(20, nullptr), -1);
    EXPECT_EQ(install_element(20, &no_syntax), -1);
    EXPECT_EQ(Install(20, "a", nullptr), -1);
    EXPECT_EQ(log.Take().size(), 3U);
}

TEST(CliInstallTest, KeepsTheFirstOfTwoCommandsWithOneSyntax) {
    static cmd_element first = {"open {[id] <1-9>}*1 {[all|<name>]}*1", Nothing, nullptr, 0, 0, "first"};
    LogLines log;
    EXPECT_EQ(install_element(21, &first), 0);
    EXPECT_EQ(install_element(21, &first), 0);
    EXPECT_EQ(first.node, 21U);
    EXPECT_EQ(first.max_argc, 3U);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_EQ(Install(21, first.syntax, Nothing), -1);
    EXPECT_EQ(log.Take(), Lines{std::string("13 command ") + first.syntax +
                                " not installed: another command has its syntax"});
    EXPECT_EQ(Install(22, first.syntax, Nothing), 0);
}

TEST(CliExecuteTest, HandlersOwnTheirWords) {
    const auto copy = [](cmd_element* self, vty* terminal, int argc, char** argv) {
        EXPECT_STREQ(self->name, "copy <from> <to>");
        EXPECT_EQ(argc, 2);
        EXPECT_EQ(argv[argc], nullptr);
        EXPECT_EQ(onu_mng_platform::CurrentTerminal(), terminal);
        std::memset(argv[0], '*', std::strlen(argv[0]));
        vty_out(terminal, "%s %s", argv[0], argv[1]);
        return 42;
    };
    ASSERT_EQ(Install(23, "copy <from> <to>", copy), 0);
    CapturedTerminal terminal;
    EXPECT_EQ(vty_execute(terminal, 23, "copy abc def"), 42);
    EXPECT_EQ(terminal.Text(), "*** def");
    EXPECT_EQ(onu_mng_platform::CurrentTerminal(), nullptr);
}

TEST(CliExecuteTest, ACommandMayRunAnother) {
    const auto inner = [](cmd_element*, vty* terminal, int, char**) {
        vty_out(terminal, "one\r\ntwo\r\nthree\r\n");
        return 3;
    };
    const auto outer = [](cmd_element*, vty* terminal, int, char**) {
        const int result = vty_execute(terminal, 24, "inner | exclude two");
        EXPECT_EQ(onu_mng_platform::CurrentTerminal(), terminal);
        vty_out(terminal, "four");
        return result;
    };
    ASSERT_EQ(Install(24, "inner", inner) + Install(24, "outer", outer), 0);
    CapturedTerminal terminal;
    EXPECT_EQ(vty_execute(terminal, 24, "outer | exclude three"), 3);
    EXPECT_EQ(terminal.Text(), "one\r\nfour\r\n");
}

TEST(CliExecuteTest, LinesHaveALimit) {
    CapturedTerminal terminal;
    const std::string longest = "! " + std::string(1021, 'x');
    EXPECT_EQ(vty_execute(terminal, 25, longest.c_str()), 0);
    EXPECT_EQ(vty_execute(terminal, 25, (longest + "x").c_str()), -1);
    EXPECT_EQ(terminal.Text(), "% Line too long.\r\n");
    EXPECT_EQ(vty_execute(terminal, 25, nullptr), -1);
    EXPECT_EQ(vty_execute(nullptr, 25, "list"), -1);
    EXPECT_EQ(terminal.Text(), "");
}

int Throw(cmd_element*, vty*, int, char** argv) {
    switch (*argv[0]) {
    case 'm':
        throw std::bad_alloc();
    case 's':
        throw std::runtime_error("no\x1b" + std::string(500, 'x'));
    case 'e':
        throw bep_TaskEnd();
    default:
        throw 42;
    }
}

TEST(CliExecuteTest, AHandlerThatThrowsEndsTheCommandOnly) {
    ASSERT_EQ(Install(26, "throw <what>", Throw), 0);
    CapturedTerminal terminal;
    LogLines log;
    for (const char* line : {"throw memory | count", "throw standard | exclude %", "throw 42 | include x"})
        EXPECT_EQ(vty_execute(terminal, 26, line), -1);
    const std::string what = "no " + std::string(197, 'x');
    EXPECT_EQ(terminal.Text(), "% Out of memory.\r\n% Command failed: " + what +
                                   ".\r\n% Command failed: unknown exception.\r\n");
    const std::string logged = "13 command throw <what> failed: ";
    EXPECT_EQ(log.Take(), (Lines{logged + what, logged + "unknown exception"}));
    EXPECT_THROW(vty_execute(terminal, 26, "throw end | exclude x"), bep_TaskEnd);
    EXPECT_EQ(vty_execute(terminal, 26, "list | include throw"), 0);
    EXPECT_EQ(terminal.Text(), "  throw <what>\r\n");
}

TEST(CliTerminalTest, WritesTextOfAnyLength) {
    CapturedTerminal terminal;
    for (const size_t size : {0U, 1U, 511U, 512U, 513U, 100000U}) {
        const std::string text(size, 'x');
        EXPECT_EQ(vty_out(terminal, "%s", text.c_str()), static_cast<int>(size));
        EXPECT_EQ(terminal.Text(), text);
    }
    EXPECT_EQ(vty_out(nullptr, "x"), -1);
    EXPECT_EQ(vty_create(nullptr, nullptr), nullptr);
    vty_destroy(nullptr);
}

TEST(CliExecuteTest, CommandsThatChangeSomethingAreLogged) {
    ASSERT_EQ(Install(27, "show it", Nothing) + Install(27, "set <it>", Nothing), 0);
    CapturedTerminal captured;
    vty* terminal = captured;
    LogLines log;
    EXPECT_EQ(vty_execute(terminal, 27, "set 1"), 0);
    terminal->user = "operator";
    for (const char* line : {"show it", "se\t2 | count", "set", "list", "exit", "s 3"})
        vty_execute(terminal, 27, line);
    EXPECT_EQ(log.Take(), Lines{"12 operator: se 2 | count"});
    const std::string word(950, 'w'); // more than is logged in a line
    vty_execute(terminal, 27, ("set " + std::string(50, ' ') + word).c_str());
    EXPECT_EQ(log.Take(),
              (Lines{"12 operator: set " + word.substr(0, 895), "12 operator:" + word.substr(895)}));
    terminal->may_save = true;
    const TemporaryDirectory directory;
    const std::string path = directory.path + "/saved";
    EXPECT_EQ(vty_execute(terminal, 27, ("show it | sa " + path).c_str()), 0);
    EXPECT_EQ(log.Take(), Lines{"12 operator: show it | sa " + path});
}

// Two operators and a late installation; no lock of the parser is held while a command runs.
TEST(CliExecuteTest, TerminalsDoNotDisturbEachOther) {
    static std::atomic<int> running{0};
    const auto meet = [](cmd_element*, vty* terminal, int, char** argv) {
        ++running;
        while (running < 2)
            std::this_thread::yield();
        vty_out(terminal, "%s", argv[0]);
        return 0;
    };
    ASSERT_EQ(Install(28, "meet <who>", meet), 0);
    const auto work = [](const std::string& name) {
        CapturedTerminal terminal;
        for (int i = 0; i < 200; ++i)
            EXPECT_EQ(vty_execute(terminal, 28, ("m " + name).c_str()), 0);
        return terminal.Text();
    };
    std::string other;
    std::thread thread([&] { other = work("b"); });
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(Install(28, "late" + std::to_string(i), Nothing), 0);
    EXPECT_EQ(work("a"), std::string(200, 'a'));
    thread.join();
    EXPECT_EQ(other, std::string(200, 'b'));
}

} // namespace
