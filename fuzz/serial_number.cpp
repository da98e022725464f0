// The order of identities, and serial numbers and MAC addresses from text, against a second implementation.

#include "fuzz/input.h"
#include "tests/support/identity_rules.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    CompareTwoOnus(input);
    ConvertIdentity(input.Until('\0'));
    return 0;
}
