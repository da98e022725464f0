// The operator's end of the CLI's socket: whatever a host answers.

#include <gtest/gtest.h>

#include <algorithm>

#include <sys/socket.h>

#include "fuzz/input.h"
#include "onu_mng_platform/posix/cli/client.h"
#include "tests/support/temporary_directory.h"

namespace {

using namespace onu_mng_platform;

bool MaySteer(char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\r' && c != '\n';
}

void ExpectHarmless(const std::string& text) {
    EXPECT_EQ(std::count_if(text.begin(), text.end(), MaySteer), 0) << text;
}

} // namespace

void TryInput(FuzzInput& input) {
    static const TemporaryDirectory directory;
    static const std::string path = directory.path + "/host";
    static CliListener listener;
    static const CliStatus is_open = listener.Open(path);
    EXPECT_EQ(is_open, CliStatus::kOk);
    CliClient client;
    if (client.Connect(path) != CliStatus::kOk) return;
    CliPeer peer{};
    const Descriptor host = listener.Accept(&peer);
    const unsigned int order = input.Below(16);
    const std::string answer = input.Rest();
    (void)!write(host.get(), answer.data(), answer.size());
    shutdown(host.get(), SHUT_WR);

    std::string printed;
    for (unsigned int step = 0; step < 4; ++step) {
        if ((order >> step & 1) != 0) {
            ExpectHarmless(client.Describe("show "));
            const Completion completion = client.Complete("show ");
            EXPECT_EQ(completion.insert.find_first_of("\t\r\n"), std::string::npos);
            ExpectHarmless(completion.insert);
        } else if (step % 2 == 0) {
            client.Run("show\nall", [&printed](std::string_view text) { printed += text; });
        } else {
            std::string farewell;
            ExpectHarmless(client.Prompt(&farewell).value_or(std::string()));
            ExpectHarmless(farewell);
        }
    }
    ExpectHarmless(printed);
}
