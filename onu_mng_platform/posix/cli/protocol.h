/// The conversation between operators and the host over the CLI's socket, a Unix domain stream socket.
///
/// A request is a line ended by LF; a CR before it does not count. Requests are answered one after the other,
/// in their order. By hand (`nc -U PATH`) the requests are
///
///     show system env        runs the line; its output is followed by the prompt
///     show ?                 tells what may come next, then the prompt
///
/// and for programs
///
///     @run LINE              runs the line
///     @describe LINE         what may come next behind LINE, which may end in a blank or in half a word
///     @complete LINE         in a line of its own what TAB appends to LINE, then one line for each choice
///     @prompt                the host's prompt, without a line end
///
/// whose output is followed by kEndOfAnswer, the result as a decimal number (that of vty_execute() for
/// "@run", else 0; -1 for a verb that is none), after "exit" kExit, and LF. Output has no control characters
/// but TAB, CR and LF: others are replaced by ".", so that nothing that an ONU sends can steer the operator's
/// terminal or end an answer.
///
/// The host closes the connection after "exit", when it was silent for the idle limit, and when its output
/// is not read. A line that was not ended when the operator went is not run.
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
