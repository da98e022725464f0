// The trace registry against its model.

#include "fuzz/input.h"
#include "tests/support/trace_rules.h"

void TryInput(FuzzInput& input) {
    ChangeAndAskTheRegistry(input);
}
