/// Prints the command line's own messages: errors and lists of options.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_ANSWER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_ANSWER_H

#include <string>
#include <string_view>
#include <vector>

#include "onu_mng_platform/common/cli/match.h"
#include "onu_mng_platform/common/cli/terminal.h"

namespace onu_mng_platform {

/// All functions may throw std::bad_alloc, before they print anything. Every line ends in CR LF.

/// Prints "% ", the message and ".".
void AnswerError(const Output& output, std::string_view message);

/// Explains why `match` has just refused `word`: prints the message, the typed line with a caret under the
/// word, and the options. For an ambiguous word only the matching keywords are listed. For an unknown word
/// the options are listed only if all of them are arguments.
void AnswerFault(const Output& output, std::string_view line, const Match& match, TypedWord word);

/// Prints one line for each option, with its help.
void AnswerOptions(const Output& output, const std::vector<Option>& options);

} // namespace onu_mng_platform

#endif
