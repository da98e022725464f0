// The entry points of the fuzzer. Before the first input there is a pool and the log is silent. An expectation that fails
// ends the process, and the fuzzer keeps the input.

#include <gtest/gtest.h>

#include "fuzz/input.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/variants.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    testing::InitGoogleTest();
    GTEST_FLAG_SET(throw_on_failure, true);
    ulogSetSink([](void*, unsigned int, int, const char*) {}, nullptr);
    return InitPool() ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    TryInput(input);
    return 0;
}
