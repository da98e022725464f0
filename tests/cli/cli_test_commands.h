/// The commands that the tests of the command line type: the library's, with a handler that tells what it is
/// given, and others that take the grammar to its corners.
#ifndef ONU_MNG_TESTS_CLI_CLI_TEST_COMMANDS_H
#define ONU_MNG_TESTS_CLI_CLI_TEST_COMMANDS_H

#include <string>
#include <vector>

#include "onu_mng_platform/cli.h"

namespace cli_test {

constexpr unsigned int kNode = 7;      ///< of the library's commands
constexpr unsigned int kOtherNode = 8; ///< of the others

/// Installs all, the first time it is called.
void Install();

/// The commands of a node in the order of their installation.
const std::vector<cmd_element>& Commands(unsigned int node);

/// The name of the command that ran in this task since the last call, and the words it was given, which it
/// also printed; empty when none ran.
std::vector<std::string> TakeCall();

} // namespace cli_test

#endif
