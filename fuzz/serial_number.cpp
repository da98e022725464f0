// The order of identities, and serial numbers and MAC addresses from text, against a second implementation.

#include "fuzz/input.h"
#include "tests/support/identity_rules.h"

void TryInput(FuzzInput& input) {
    CompareTwoOnus(input);
    ConvertIdentity(input.Until('\0'));
}
