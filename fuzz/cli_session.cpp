// The host's end of the CLI's socket: whatever an operator sends, in whatever pieces.

#include <gtest/gtest.h>

#include <algorithm>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>

#include "fuzz/input.h"
#include "onu_mng_platform/posix/cli/protocol.h"
#include "onu_mng_platform/posix/cli/session.h"
#include "tests/cli/cli_test_commands.h"

namespace {

using namespace onu_mng_platform;

/// What has come.
std::string Receive(int descriptor) {
    std::string text;
    char data[4096];
    for (ssize_t size = 0; (size = recv(descriptor, data, sizeof data, MSG_DONTWAIT)) > 0;)
        text.append(data, static_cast<std::size_t>(size));
    return text;
}

bool MaySteer(char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\r' && c != '\n' && c != kEndOfAnswer;
}

/// Serves what is there and reads the answers. @return how many requests of programs were answered.
int Serve(CliSession& session, int operator_end, std::string* answer) {
    session.Serve(POLLIN);
    int answers = 0;
    while (session.TakeRequest()) {
        session.Run();
        session.Serve(POLLOUT);
        *answer += Receive(operator_end);
        ++answers;
    }
    return answers;
}

} // namespace

void TryInput(FuzzInput& input) {
    cli_test::Install();
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends) != 0) return;
    const Descriptor operator_end(ends[1]);
    const CliSessionSettings settings{cli_test::kOtherNode, "olt# ", 0, {}, {}};
    const CliEvent wake;
    CliSession session(Descriptor(ends[0]), "operator", settings, &wake);
    std::string answer;
    int requests = 0;
    while (!input.IsOver() && session.Ending() == nullptr) {
        const std::string piece = input.Bytes(1 + input.Below(4000));
        (void)!write(operator_end.get(), piece.data(), piece.size());
        requests += Serve(session, operator_end.get(), &answer);
    }
    shutdown(operator_end.get(), SHUT_WR);
    requests += Serve(session, operator_end.get(), &answer);
    EXPECT_NE(session.Ending(), nullptr);
    EXPECT_EQ(std::count_if(answer.begin(), answer.end(), MaySteer), 0);
    EXPECT_LE(std::count(answer.begin(), answer.end(), kEndOfAnswer), requests);
}
