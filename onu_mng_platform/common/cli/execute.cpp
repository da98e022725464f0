// vty_execute(): finds and runs the handler of a line.

#include <algorithm>
#include <cstring>
#include <exception>
#include <new>
#include <optional>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/cli/answer.h"
#include "onu_mng_platform/common/cli/filter.h"
#include "onu_mng_platform/common/log/log.h"

namespace onu_mng_platform {
namespace {

constexpr int kRefused = -1;
constexpr int kCommandLevel = 12;
constexpr int kErrorLevel = 13;
constexpr size_t kLoggedPiece = 900; // characters; with the user's name they fit into a log line
constexpr size_t kMaxCause = 200;

/// The argv of a handler, with the words in a buffer that the handler may change.
class ArgumentBlock {
public:
    explicit ArgumentBlock(const std::vector<std::string_view>& words) {
        for (const std::string_view word : words)
            text_.append(word).push_back('\0');
        char* next = text_.data();
        for (const std::string_view word : words) {
            argv_.push_back(next);
            next += word.size() + 1;
        }
        argv_.push_back(nullptr);
    }

    int argc() const { return static_cast<int>(argv_.size()) - 1; }
    char** argv() { return argv_.data(); }

private:
    std::string text_;
    std::vector<char*> argv_;
};

/// Redirects the output of a terminal through a filter while the object lives.
class FilterScope {
public:
    FilterScope(vty* terminal, OutputFilter* filter) : terminal_(terminal), outer_(terminal->output) {
        if (filter != nullptr) terminal->output = filter->AsOutput();
    }
    ~FilterScope() { terminal_->output = outer_; }
    FilterScope(const FilterScope&) = delete;
    FilterScope& operator=(const FilterScope&) = delete;

private:
    vty* terminal_;
    Output outer_;
};

bool ChangesSomething(const Command& command) {
    constexpr std::string_view kHarmless[] = {"show", "list", "help", "exit"};
    const std::string_view syntax = command.record->syntax;
    const std::string_view first = syntax.substr(0, syntax.find(' '));
    return std::find(std::begin(kHarmless), std::end(kHarmless), first) == std::end(kHarmless);
}

// Called before the command runs, so a line that crashes the board is in the log. Saving a file counts as a
// change. The words are joined by single blanks and cut into pieces, so extra blanks or a long line cannot
// hide a part of the command from the log.
void LogCommand(const vty& terminal, const Command& command, const CommandLine& line) {
    const bool saves = !line.filter.empty() && FilterSaves(line.filter.front().text);
    if (terminal.user.empty() || (!ChangesSomething(command) && !saves)) return;
    std::string text;
    for (const TypedWord& word : line.words)
        text.append(" ").append(word.text);
    if (line.has_filter) text.append(" |");
    for (const TypedWord& word : line.filter)
        text.append(" ").append(word.text);
    for (size_t begin = 0; begin < text.size(); begin += kLoggedPiece)
        ulogPrintf(terminal.log_module, kCommandLevel, "%s:%s\r\n", terminal.user.c_str(),
                   text.substr(begin, kLoggedPiece).c_str());
}

/// Finds the command that the words name. If there is none, prints the reason and returns null.
const Command* Resolve(const Output& output, const std::string& line, const std::vector<TypedWord>& words,
                       Match* match) {
    for (const TypedWord& word : words) {
        if (match->Take(word)) continue;
        AnswerFault(output, line, *match, word);
        return nullptr;
    }
    const Command* command = match->Complete();
    if (command == nullptr) AnswerError(output, "Command incomplete");
    return command;
}

/// Returns the filter of a line if it also formats error messages; else null.
std::unique_ptr<OutputFilter> FilterForErrors(const vty& terminal, const CommandLine& line) {
    if (!line.has_filter) return nullptr;
    Match match(FilterCommands(terminal.may_save));
    const auto fits = [&match](TypedWord word) { return match.Take(word); };
    if (!std::all_of(line.filter.begin(), line.filter.end(), fits)) return nullptr;
    const Command* filter = match.Complete();
    if (filter == nullptr || !FilterTakesErrors(*filter)) return nullptr;
    std::string error;
    return MakeFilter(*filter, {}, terminal.output, &error);
}

/// Creates the filter of a line, unless it exists already. @return false after an error line.
bool ResolveFilter(const vty& terminal, const CommandLine& line, std::unique_ptr<OutputFilter>* filter) {
    if (!line.has_filter || *filter != nullptr) return true;
    Match match(FilterCommands(terminal.may_save));
    const Command* command = Resolve(terminal.output, line.text, line.filter, &match);
    if (command == nullptr) return false;
    const std::string argument(line.filter.back().text);
    std::string error;
    *filter = MakeFilter(*command, argument, terminal.output, &error);
    if (*filter == nullptr) AnswerError(terminal.output, error);
    return *filter != nullptr;
}

// Lets the end of the calling task pass.
std::string CauseOfException() {
    std::string cause = "unknown exception";
    try {
        throw;
    } catch (const std::exception& exception) {
        cause = exception.what();
    } catch (...) {
        bep_passTaskEnd();
    }
    cause.resize(std::min(cause.size(), kMaxCause));
    std::replace_if(cause.begin(), cause.end(), IsControl, ' ');
    return cause;
}

/// Finds and runs the command of a line. @return its result; nothing after an error line.
std::optional<int> ResolveAndRun(vty* terminal, const CommandLine& line, const Output& errors,
                                 std::unique_ptr<OutputFilter>* filter) {
    const auto commands = CommandTable::GetInstance().Find(terminal->node);
    Match match(*commands);
    const Command* command = Resolve(errors, line.text, line.words, &match);
    if (command == nullptr || !ResolveFilter(*terminal, line, filter)) return std::nullopt;
    ArgumentBlock arguments(match.Arguments());
    LogCommand(*terminal, *command, line);
    try {
        const FilterScope scope(terminal, filter->get());
        return command->record->handler(command->record, terminal, arguments.argc(), arguments.argv());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        const std::string cause = CauseOfException();
        LogPort(kErrorLevel, "command %s failed: %s\r\n", command->record->syntax, cause.c_str());
        AnswerError(errors, "Command failed: " + cause);
        return std::nullopt;
    }
}

int Execute(vty* terminal, unsigned int node, const CommandLine& line) {
    if (line.IsEmpty()) return 0;
    const TerminalScope scope(terminal, node);
    std::unique_ptr<OutputFilter> filter = FilterForErrors(*terminal, line);
    const Output errors = filter == nullptr ? terminal->output : filter->Errors();
    std::optional<int> result;
    try {
        result = ResolveAndRun(terminal, line, errors, &filter);
    } catch (const std::bad_alloc&) {
        errors("% Out of memory.\r\n");
    }
    if (filter == nullptr) return result.value_or(kRefused);
    if (result) return filter->Finish() ? *result : kRefused;
    filter->Fail();
    return kRefused;
}

} // namespace
} // namespace onu_mng_platform

extern "C" int vty_execute(vty* terminal, unsigned int node, const char* line) {
    using namespace onu_mng_platform;
    if (terminal == nullptr || line == nullptr) return kRefused;
    try {
        const size_t size = strnlen(line, kMaxLine + 1);
        if (size <= kMaxLine) return Execute(terminal, node, CommandLine(std::string_view(line, size)));
        AnswerError(terminal->output, "Line too long");
    } catch (const std::bad_alloc&) {
        terminal->output("% Out of memory.\r\n");
    }
    return kRefused;
}
