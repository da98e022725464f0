/// What the command line answers in its own words: errors and lists of options.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_ANSWER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_ANSWER_H

#include <string>
#include <string_view>
#include <vector>

#include "onu_mng_platform/common/cli/match.h"
#include "onu_mng_platform/common/cli/terminal.h"

namespace onu_mng_platform {

/// All throw std::bad_alloc, before anything is written. Every line ends in CR LF.

/// "% ", the message and ".".
void AnswerError(const Output& output, std::string_view message);

/// What is wrong with `word`, which `match` has just refused: the message, the line as it was typed with a
/// caret under the word, and what may stand there; of commands that may go on in many ways only the words
/// that the typed one may be short for.
void AnswerFault(const Output& output, std::string_view line, const Match& match, TypedWord word);

/// One line for each option with its help.
void AnswerOptions(const Output& output, const std::vector<Option>& options);

} // namespace onu_mng_platform

#endif
