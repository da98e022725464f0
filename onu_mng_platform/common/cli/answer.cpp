#include "onu_mng_platform/common/cli/answer.h"

#include <algorithm>

namespace onu_mng_platform {
namespace {

constexpr std::string_view kIndent = "  ";

// The echoed line must fit into 80 columns. If it wrapped, the caret would be in the wrong place.
constexpr size_t kShownBefore = 56;
constexpr size_t kShown = 74;

std::string_view MessageOf(Fault fault) {
    switch (fault) {
    case Fault::kAmbiguous:
        return "Ambiguous command";
    case Fault::kNotANumber:
        return "Not a number";
    case Fault::kOutOfRange:
        return "Out of range";
    case Fault::kUnknown:
        break;
    }
    return "Unknown command";
}

bool ContinuesCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

size_t Columns(std::string_view text) {
    return text.size() - static_cast<size_t>(std::count_if(text.begin(), text.end(), ContinuesCharacter));
}

void AppendCaret(std::string* answer, std::string_view line, size_t column) {
    const size_t begin = column > kShownBefore ? column - kShownBefore : 0;
    const std::string_view mark = begin > 0 ? "..." : "";
    answer->append(kIndent).append(mark).append(line.substr(begin, kShown)).append("\r\n");
    const size_t blanks = kIndent.size() + mark.size() + Columns(line.substr(begin, column - begin));
    answer->append(blanks, ' ').append("^\r\n");
}

void AppendOptions(std::string* answer, const std::vector<Option>& options) {
    size_t width = 0;
    for (const Option& option : options)
        width = std::max(width, option.text.size());
    for (const Option& option : options) {
        answer->append(kIndent).append(option.text);
        if (!option.help.empty())
            answer->append(width - option.text.size(), ' ').append(kIndent).append(option.help);
        answer->append("\r\n");
    }
}

std::string Message(std::string_view message) {
    return std::string("% ").append(message).append(".\r\n");
}

} // namespace

void AnswerError(const Output& output, std::string_view message) {
    output(Message(message));
}

void AnswerFault(const Output& output, std::string_view line, const Match& match, TypedWord word) {
    std::string answer = Message(MessageOf(match.fault()));
    AppendCaret(&answer, line, word.column);
    if (match.fault() != Fault::kUnknown || match.WantsArgument())
        AppendOptions(&answer, match.Meant(word.text));
    output(answer);
}

void AnswerOptions(const Output& output, const std::vector<Option>& options) {
    std::string answer;
    AppendOptions(&answer, options);
    output(answer);
}

} // namespace onu_mng_platform
