// A host for scripts: serves the tests' commands at the socket that its argument names, and on its console
// when it has one, until it is told to stop or the console is left.

#include <csignal>
#include <cstdio>

#include <unistd.h>

#include "onu_mng_platform/posix/cli_server.h"
#include "onu_mng_platform/posix/console/cli_console.h"
#include "tests/cli_test_commands.h"

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    sigset_t stop;
    sigemptyset(&stop);
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&stop, number);
    pthread_sigmask(SIG_BLOCK, &stop, nullptr);

    cli_test::Install();
    onu_mng_platform::CliServer server;
    const auto status = server.Start(argv[1], cli_test::kNode, "olt# ");
    if (status != onu_mng_platform::CliStatus::kOk) {
        std::fprintf(stderr, "cli_test_host: %s\n", TextOf(status).c_str());
        return 1;
    }
    std::puts("serving");
    onu_mng_platform::CliConsole console;
    console.Start(cli_test::kNode, "console# ", {0, [] { kill(getpid(), SIGTERM); }});
    int number = 0;
    sigwait(&stop, &number);
    console.Stop();
    server.Stop();

    return 0;
}
