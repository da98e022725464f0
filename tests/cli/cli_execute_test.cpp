// install_element() and vty_execute() beyond what a transcript shows.

#include <array>
#include <atomic>
#include <cstring>
#include <new>
#include <thread>

#include <gtest/gtest.h>

#include "onu_mng_platform/common/cli/terminal.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"

namespace {

int Nothing(cmd_element*, vty*, int, char**) {
    return 0;
}

cmd_element Record(const char* syntax, cmd_handler handler, const char* name) {
    return {syntax, handler, nullptr, 0, 0, name};
}

TEST(CliInstallTest, RefusesWhatItCannotParse) {
    std::string many_words = "start";
    for (int i = 0; i < 64; ++i)
        many_words += " w" + std::to_string(i);
    std::string many_groups = "start";
    for (int i = 0; i < 33; ++i)
        many_groups += " {g" + std::to_string(i) + "}*1";
    const char* const wrong[] = {"",
                                 "  ",
                                 "a [",
                                 "a [b",
                                 "a [b|",
                                 "a []",
                                 "a [b|]",
                                 "a <",
                                 "a <>",
                                 "a <1-16",
                                 "a {",
                                 "a {b",
                                 "a {b}",
                                 "a {b}*2",
                                 "a {}*1",
                                 "a {b {c}*1}*1",
                                 "a }*1",
                                 "a ]",
                                 "a b|c",
                                 "a <16-1>",
                                 "a ?",
                                 "a\nb",
                                 "a <99999999999999999999-1> <x> >",
                                 "a [b|b]",
                                 "a [<x>|<1-3>]",
                                 "a {b}*1 {b}*1",
                                 "a {b}*1 b",
                                 "a {<x>}*1 <y>",
                                 "a {[b|c] <x>}*1 {c}*1",
                                 many_words.c_str(),
                                 many_groups.c_str()};
    for (const char* syntax : wrong) {
        static cmd_element record;
        record = Record(syntax, Nothing, "odd");
        LogLines log;
        EXPECT_EQ(install_element(20, &record), -1) << syntax;
        EXPECT_EQ(log.Take(),
                  std::vector<std::string>{"13 command odd not installed: its syntax cannot be parsed"})
            << syntax;
        EXPECT_EQ(record.node, 0U);
    }
    LogLines log;
    cmd_element no_handler = Record("a", nullptr, nullptr);
    cmd_element no_syntax = Record(nullptr, Nothing, nullptr);
    EXPECT_EQ(install_element(20, nullptr), -1);
    EXPECT_EQ(install_element(20, &no_handler), -1);
    EXPECT_EQ(install_element(20, &no_syntax), -1);
    EXPECT_EQ(log.Take().size(), 3U);
}

TEST(CliInstallTest, KeepsTheFirstOfTwoCommandsWithOneSyntax) {
    static cmd_element first = Record("open {[id] <1-9>}*1 {[all|<name>]}*1", Nothing, "first");
    static cmd_element second = Record(first.syntax, Nothing, "second");
    LogLines log;
    EXPECT_EQ(install_element(21, &first), 0);
    EXPECT_EQ(install_element(21, &first), 0);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_EQ(install_element(21, &second), -1);
    EXPECT_EQ(log.Take(),
              std::vector<std::string>{"13 command second not installed: another command has its syntax"});
    EXPECT_EQ(first.node, 21U);
    EXPECT_EQ(first.max_argc, 3U);
    EXPECT_EQ(install_element(22, &second), 0);
}

TEST(CliExecuteTest, HandlersOwnTheirWords) {
    static cmd_element record = Record(
        "copy <from> <to>",
        [](cmd_element* self, vty* terminal, int argc, char** argv) {
            EXPECT_STREQ(self->name, "copy");
            EXPECT_EQ(argc, 2);
            EXPECT_EQ(argv[argc], nullptr);
            EXPECT_EQ(onu_mng_platform::CurrentTerminal(), terminal);
            std::memset(argv[0], '*', std::strlen(argv[0]));
            vty_out(terminal, "%s %s", argv[0], argv[1]);
            return 42;
        },
        "copy");
    ASSERT_EQ(install_element(23, &record), 0);
    CapturedTerminal terminal;
    EXPECT_EQ(vty_execute(terminal, 23, "copy abc def"), 42);
    EXPECT_EQ(terminal.Text(), "*** def");
    EXPECT_EQ(onu_mng_platform::CurrentTerminal(), nullptr);
}

TEST(CliExecuteTest, ACommandMayRunAnother) {
    static cmd_element inner = Record(
        "inner",
        [](cmd_element*, vty* terminal, int, char**) {
            vty_out(terminal, "one\r\ntwo\r\nthree\r\n");
            return 3;
        },
        "inner");
    static cmd_element outer = Record(
        "outer",
        [](cmd_element*, vty* terminal, int, char**) {
            const int result = vty_execute(terminal, 24, "inner | exclude two");
            EXPECT_EQ(onu_mng_platform::CurrentTerminal(), terminal);
            vty_out(terminal, "four");
            return result;
        },
        "outer");
    ASSERT_EQ(install_element(24, &inner), 0);
    ASSERT_EQ(install_element(24, &outer), 0);
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

TEST(CliExecuteTest, ShortMemoryEndsTheCommandOnly) {
    static cmd_element record = Record(
        "greedy", [](cmd_element*, vty*, int, char**) -> int { throw std::bad_alloc(); }, "greedy");
    ASSERT_EQ(install_element(26, &record), 0);
    CapturedTerminal terminal;
    EXPECT_EQ(vty_execute(terminal, 26, "greedy | count"), -1);
    EXPECT_EQ(terminal.Text(), "% Out of memory.\r\n");
    EXPECT_EQ(vty_execute(terminal, 26, "list | include greedy"), 0);
    EXPECT_EQ(terminal.Text(), "  greedy\r\n");
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
    static cmd_element show = Record("show it", Nothing, "show");
    static cmd_element set = Record("set <it>", Nothing, "set");
    ASSERT_EQ(install_element(27, &show), 0);
    ASSERT_EQ(install_element(27, &set), 0);
    CapturedTerminal captured;
    vty* terminal = captured;
    LogLines log;
    EXPECT_EQ(vty_execute(terminal, 27, "set 1"), 0);
    terminal->user = "operator";
    for (const char* line : {"show it", "se\t2 | count", "set", "list", "exit", "s 3"})
        vty_execute(terminal, 27, line);
    EXPECT_EQ(log.Take(), std::vector<std::string>{"12 operator: se 2 | count"});
    const std::string word(950, 'w'); // more than is logged in a line
    vty_execute(terminal, 27, ("set " + std::string(50, ' ') + word).c_str());
    EXPECT_EQ(log.Take(), (std::vector<std::string>{"12 operator: set " + word.substr(0, 895),
                                                    "12 operator:" + word.substr(895)}));
    terminal->may_save = true;
    const std::string save = "show it | sa " + testing::TempDir() + "cli_execute_test.saved";
    EXPECT_EQ(vty_execute(terminal, 27, save.c_str()), 0);
    EXPECT_EQ(log.Take(), std::vector<std::string>{"12 operator: " + save});
}

// Two operators and a late installation; no lock of the parser is held while a command runs.
TEST(CliExecuteTest, TerminalsDoNotDisturbEachOther) {
    static std::atomic<int> running{0};
    static cmd_element meet = Record(
        "meet <who>",
        [](cmd_element*, vty* terminal, int, char** argv) {
            ++running;
            while (running < 2)
                std::this_thread::yield();
            vty_out(terminal, "%s", argv[0]);
            return 0;
        },
        "meet");
    static std::array<std::string, 50> syntaxes;
    static std::array<cmd_element, 50> late;
    ASSERT_EQ(install_element(28, &meet), 0);
    const auto work = [](const std::string& name) {
        CapturedTerminal terminal;
        EXPECT_EQ(vty_execute(terminal, 28, ("meet " + name).c_str()), 0);
        for (int i = 0; i < 200; ++i)
            vty_execute(terminal, 28, ("m " + name).c_str());
        return terminal.Text();
    };
    std::string other;
    std::thread thread([&] { other = work("b"); });
    for (size_t i = 0; i < late.size(); ++i) {
        syntaxes[i] = "late" + std::to_string(i);
        late[i] = Record(syntaxes[i].c_str(), Nothing, "late");
        EXPECT_EQ(install_element(28, &late[i]), 0);
    }
    EXPECT_EQ(work("a"), std::string(201, 'a'));
    thread.join();
    EXPECT_EQ(other, std::string(201, 'b'));
}

} // namespace
