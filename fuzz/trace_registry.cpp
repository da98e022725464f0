// The trace registry against its model.

#include "fuzz/input.h"
#include "tests/support/trace_rules.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    ChangeAndAskTheRegistry(input);
    return 0;
}
