// What every target needs before its first input: a pool, a silent log, and expectations that end the process, for
// which the fuzzer keeps the input.

#include <gtest/gtest.h>

#include "onu_mng_platform/ulog.h"
#include "tests/support/variants.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    testing::InitGoogleTest();
    GTEST_FLAG_SET(throw_on_failure, true);
    ulogSetSink([](void*, unsigned int, int, const char*) {}, nullptr);
    return InitPool() ? 0 : 1;
}
