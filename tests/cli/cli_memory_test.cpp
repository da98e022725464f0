// The command line when memory is short, wherever it ends.

#include <optional>
#include <string>

#include "onu_mng_platform/common/cli/assist.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/on_board.h"

namespace {

constexpr unsigned int kNode = 50;

int Echo(cmd_element*, vty* terminal, int, char** argv) {
    return vty_out(terminal, "%s %s\r\n", argv[1], argv[3]) > 0 ? 0 : -2;
}

cmd_element late = {"late [one|two] {<1-16>}*1", Echo, "help", 0, 0, "late"};

TEST(CliMemory, LinesFailWholeAndCommandsAreInstalledOrNot) {
    CapturedTerminal terminal;
    int result = 0;
    const auto execute = [&](const char* line) { result = vty_execute(terminal, kNode, line); };
    const struct {
        const char* what;
        std::function<void()> act;
        std::optional<std::string>
            failed; ///< the screen and the result; if not given, "done" or a line that tells
        std::string done;
    } cases[] = {
        {"a line", [=] { execute("take two a-name-that-is-longer-than-a-small-string one 3"); },
         "% Out of memory.\r\n-1", "a-name-that-is-longer-than-a-small-string 3\r\n0"},
        // The line that memory was short for may be lost.
        {"a filter", [=] { execute("take one 1 two 2 | count"); }, {}, "1 line\r\n0"},
        {"JSON", [=] { execute("take one 1 two 2 | json"); }, {}, "[\r\n{\"text\":\"1 2\"}\r\n]\r\n0"},
        {"an installation", [&] { result = install_element(kNode, &late); }, "-1", "0"},
        {"help", [&] { onu_mng_platform::Describe(terminal, kNode, "li"); }, "% Out of memory.\r\n0",
         "  list  the syntax of every command\r\n0"},
        {"completion", [&] { result = onu_mng_platform::Complete(terminal, kNode, "li").insert == "st "; },
         "0", "1"},
    };
    ASSERT_EQ(Install(kNode, "take {[one] <1-9>}*1 {[two] <name>}*1", Echo), 0);
    OnBoard({}, [&](onu_mng_platform::Simulation& board) {
        ulogSetThreshold(16); // keeping a line takes memory
        for (const auto& each : cases) {
            const auto check = [&](bool failed) {
                const std::string seen = terminal.Text() + std::to_string(result);
                const bool is_told = !each.failed && seen.find("Out of memory.") != std::string::npos;
                const std::string& expected = failed && each.failed ? *each.failed : each.done;
                EXPECT_TRUE(seen == expected || (failed && is_told)) << each.what << ": " << seen;
            };
            EXPECT_GT(WithoutMemory(board, each.act, check), 3U) << each.what;
        }
    });
}

} // namespace
