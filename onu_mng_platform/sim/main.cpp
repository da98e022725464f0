#include <cstdio>
#include <cstdlib>

#include "onu_mng_platform/sim/simulation.h"
#include "onu_mng_platform/ulog.h"

using namespace onu_mng_platform;

// Runs a whole program on the board. The linker redirects the start of the program to this function (--wrap),
// and the program's main() becomes the host's start-up task.

extern "C" {
int __real_main(int argc, char** argv);
int __wrap_main(int argc, char** argv);
}

namespace {

std::uint64_t SeedFromEnvironment() {
    const char* seed = std::getenv("ONU_MNG_SEED");
    return seed != nullptr ? std::strtoull(seed, nullptr, 0) : 1;
}

} // namespace

int __wrap_main(int argc, char** argv) {
    int status = EXIT_FAILURE;
    Simulation board(SeedFromEnvironment());
    const SimResult& result = board.Run([&] {
        ulogSetSink(nullptr, nullptr); // the program's log lines go to standard error
        status = __real_main(argc, argv);
    });
    if (result.Ok()) return status;
    std::fprintf(stderr, "%s\n", result.report.c_str());
    return EXIT_FAILURE;
}
