/// The protocol between operators and the host on the CLI's Unix domain stream socket.
///
/// A request is a line that ends in LF; a CR before it is ignored. The host answers requests in order, one at
/// a time. There are requests to type by hand (`nc -U PATH`):
///
///     show system env        runs the line; the prompt follows the output
///     show ?                 lists the possible next words, then the prompt
///
/// and requests for programs:
///
///     @run LINE              runs the line
///     @describe LINE         lists the possible next words; LINE may end in a blank or in a partial word
///     @complete LINE         returns the text that TAB appends to LINE, then one line for each choice
///     @prompt                returns the host's prompt, without a line end
///
/// After the output of a program's request follow kEndOfAnswer, the result as a decimal number, kExit if the
/// line was "exit", and LF. The result is that of vty_execute() for "@run", -1 for an unknown verb, and 0
/// otherwise. In the output all control characters except TAB, CR and LF are replaced by ".", so data from an
/// ONU can neither control the operator's terminal nor end an answer.
///
/// The host closes the connection after "exit", after a silence of the idle limit, and if the operator does
/// not read its output. An incomplete last line is not run.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_PROTOCOL_H
#define ONU_MNG_PLATFORM_POSIX_CLI_PROTOCOL_H

#include <string_view>

namespace onu_mng_platform {

constexpr char kEndOfAnswer = '\x04';
constexpr std::string_view kExit = " exit";

constexpr std::string_view kRunVerb = "@run ";
constexpr std::string_view kDescribeVerb = "@describe ";
constexpr std::string_view kCompleteVerb = "@complete ";
constexpr std::string_view kPromptVerb = "@prompt";

} // namespace onu_mng_platform

#endif
