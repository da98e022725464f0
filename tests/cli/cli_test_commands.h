/// The commands that the tests of the command line type: the library's, whose handlers are replaced by one
/// that tells what it was given, and some that have what the library's grammar does not.
#ifndef ONU_MNG_TESTS_CLI_CLI_TEST_COMMANDS_H
#define ONU_MNG_TESTS_CLI_CLI_TEST_COMMANDS_H

#include <string>
#include <vector>

#include "onu_mng_platform/cli.h"

namespace cli_test {

/// Where Install() puts the library's commands, and where the others.
constexpr unsigned int kNode = 7;
constexpr unsigned int kOtherNode = 8;

/// Installs all, the first time it is called. Their handler prints, quoted, the words it was given, behind
/// the command's name, and keeps the words for TakeCall().
void Install();

/// The commands of a node in the order of their installation.
const std::vector<cmd_element>& Commands(unsigned int node);

/// The name of the command that ran in this task since the last call and the words it was given; empty when
/// none did.
std::vector<std::string> TakeCall();

} // namespace cli_test

#endif
