// What operators see of the library's commands, at the prompt "olt# ", and of others that take the grammar to
// its corners, at "lab# ".

#include "tests/cli/cli_test_commands.h"
#include "tests/support/transcript.h"

namespace {

class CliTranscriptTest : public testing::TestWithParam<const char*> {};

TEST_P(CliTranscriptTest, ShowsWhatItShowed) {
    cli_test::Install();
    transcript::ExpectScreens(std::string("cli_") + GetParam() + ".txt",
                              {{"olt# ", cli_test::kNode}, {"lab# ", cli_test::kOtherNode}});
}

INSTANTIATE_TEST_SUITE_P(Files, CliTranscriptTest, testing::Values("errors", "help", "filters"),
                         [](const auto& file) { return std::string(file.param); });

} // namespace
