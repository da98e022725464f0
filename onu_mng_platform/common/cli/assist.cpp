#include "onu_mng_platform/common/cli/assist.h"

#include <algorithm>
#include <new>

#include "onu_mng_platform/common/cli/answer.h"
#include "onu_mng_platform/common/cli/filter.h"

namespace onu_mng_platform {
namespace {

/// A line that is still being typed. Its last word is treated as incomplete.
class UnfinishedLine {
public:
    UnfinishedLine(const vty& terminal, unsigned int node, std::string_view line)
        : line_(line), last_(line_.TakeUnfinishedWord()), commands_(CommandTable::GetInstance().Find(node)),
          match_(line_.has_filter ? FilterCommands(terminal.may_save) : *commands_),
          wrong_(TakeAll(line_.has_filter ? line_.filter : line_.words)) {}

    /// The first word that is not valid where it was typed; null if there is none.
    const TypedWord* wrong() const { return wrong_; }

    const std::string& text() const { return line_.text; }
    const Match& match() const { return match_; }
    TypedWord last() const { return last_; }

    std::vector<Option> Options() const {
        std::vector<Option> options = match_.Next(last_.text);
        if (!last_.text.empty() || match_.Complete() == nullptr) return options;
        if (!line_.has_filter) options.push_back(Option{"|", "filter the output", true});
        options.push_back(Option{"<cr>", {}, true});
        return options;
    }

    /// Matches the last word as if it were complete. @return whether it is valid.
    bool TakeLast() { return match_.Take(last_); }

private:
    const TypedWord* TakeAll(const std::vector<TypedWord>& words) {
        const auto refused = [this](TypedWord word) { return !match_.Take(word); };
        const auto found = std::find_if(words.begin(), words.end(), refused);
        return found == words.end() ? nullptr : &*found;
    }

    CommandLine line_;
    TypedWord last_;
    std::shared_ptr<const CommandList> commands_;
    Match match_;
    const TypedWord* wrong_;
};

void DescribeLine(const vty& terminal, unsigned int node, std::string_view text) {
    UnfinishedLine line(terminal, node, text);
    if (line.wrong() != nullptr)
        return AnswerFault(terminal.output, line.text(), line.match(), *line.wrong());
    const std::vector<Option> options = line.Options();
    if (options.empty() && !line.TakeLast())
        return AnswerFault(terminal.output, line.text(), line.match(), line.last());
    AnswerOptions(terminal.output, options);
}

size_t CommonSize(std::string_view a, std::string_view b) {
    return static_cast<size_t>(
        std::mismatch(a.begin(), a.begin() + std::min(a.size(), b.size()), b.begin()).first - a.begin());
}

Completion CompleteLine(const vty& terminal, unsigned int node, std::string_view text) {
    const UnfinishedLine line(terminal, node, text);
    Completion completion;
    if (line.wrong() != nullptr) return completion;
    for (const Option& option : line.match().Next(line.last().text))
        if (!option.is_value) completion.choices.emplace_back(option.text);
    if (completion.choices.empty()) return completion;

    std::string_view common = completion.choices.front();
    for (const std::string& choice : completion.choices)
        common = common.substr(0, CommonSize(common, choice));
    completion.insert = common.substr(line.last().text.size());
    if (completion.choices.size() > 1) return completion;
    completion.insert += ' ';
    completion.choices.clear();
    return completion;
}

} // namespace

void Describe(vty* terminal, unsigned int node, std::string_view line) {
    try {
        DescribeLine(*terminal, node, line.substr(0, kMaxLine));
    } catch (const std::bad_alloc&) {
        terminal->output("% Out of memory.\r\n");
    }
}

Completion Complete(const vty* terminal, unsigned int node, std::string_view line) {
    try {
        return CompleteLine(*terminal, node, line.substr(0, kMaxLine));
    } catch (const std::bad_alloc&) {
        return {};
    }
}

} // namespace onu_mng_platform
