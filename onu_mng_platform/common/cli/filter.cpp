#include "onu_mng_platform/common/cli/filter.h"

#include <algorithm>
#include <iterator>

#include "onu_mng_platform/common/cli/json_filter.h"
#include "onu_mng_platform/common/cli/line_filter.h"
#include "onu_mng_platform/common/cli/save_filter.h"

namespace onu_mng_platform {
namespace {

// kSave is last, because not every terminal offers it.
enum FilterKind { kInclude, kExclude, kBegin, kCount, kJson, kSave };
cmd_element filters[] = {
    {"include <RE>", nullptr, "only the lines that match\nextended regular expression", 0, 1, "include"},
    {"exclude <RE>", nullptr, "only the lines that do not match\nextended regular expression", 0, 1,
     "exclude"},
    {"begin <RE>", nullptr, "all from the first line that matches\nextended regular expression", 0, 1,
     "begin"},
    {"count", nullptr, "the number of lines", 0, 0, "count"},
    {"json", nullptr, "as an array of JSON objects", 0, 0, "json"},
    {"save <FILE>", nullptr, "into a file of the host\nname of the file", 0, 1, "save"},
};

CommandList MakeCommands(bool may_save) {
    CommandList list;
    const auto end = may_save ? std::end(filters) : filters + kSave;
    for (cmd_element* filter = filters; filter != end; ++filter)
        list.push_back(
            std::make_shared<const Command>(Command{filter, *Syntax::Parse(filter->syntax, filter->help)}));
    return list;
}

/// Returns whether a word of at least `least` characters is a prefix of a name.
bool IsShortFor(std::string_view name, std::string_view word, size_t least = 1) {
    return word.size() >= least && name.substr(0, word.size()) == word;
}

/// Returns whether an expression contains " |" and the name of a filter, either one of the host's or the
/// client's "more".
bool HoldsFilter(std::string_view pattern) {
    constexpr size_t kLeast = 3; // so that an expression may contain " | b"
    for (size_t bar = pattern.find(" |"); bar != pattern.npos; bar = pattern.find(" |", bar + 1)) {
        const size_t begin = std::min(pattern.find_first_not_of(' ', bar + 2), pattern.size());
        const std::string_view word = pattern.substr(begin, pattern.find(' ', begin) - begin);
        const auto is_meant = [word](const cmd_element& filter) {
            return IsShortFor(filter.name, word, kLeast);
        };
        if (std::any_of(std::begin(filters), std::end(filters), is_meant)) return true;
        if (IsShortFor("more", word, kLeast)) return true;
    }
    return false;
}

std::unique_ptr<OutputFilter> MakePatternFilter(PatternFilter::Kind kind, const std::string& pattern,
                                                Output next, std::string* error) {
    if (HoldsFilter(pattern)) {
        *error = "Only one filter at a time";
        return nullptr;
    }
    auto filter = std::make_unique<PatternFilter>(kind, next);
    const char* cause = filter->Compile(pattern);
    if (cause == nullptr) return filter;
    *error = std::string("Invalid regular expression: ") + cause;
    return nullptr;
}

std::unique_ptr<OutputFilter> MakeSaveFilter(const std::string& path, Output next, std::string* error) {
    auto filter = std::make_unique<SaveFilter>(path, next);
    const std::string cause = filter->Open();
    if (cause.empty()) return filter;
    *error = "Cannot save: " + cause;
    return nullptr;
}

void PutInto(void* filter, const char* data, size_t size) {
    static_cast<OutputFilter*>(filter)->Put(std::string_view(data, size));
}

} // namespace

Output OutputFilter::AsOutput() {
    return Output{PutInto, this};
}

const CommandList& FilterCommands(bool may_save) {
    static const CommandList with_save = MakeCommands(true);
    static const CommandList without_save = MakeCommands(false);
    return may_save ? with_save : without_save;
}

bool FilterSaves(std::string_view name) {
    return IsShortFor(filters[kSave].name, name); // no other filter begins with an "s"
}

bool FilterTakesErrors(const Command& filter) {
    return filter.record == &filters[kJson];
}

std::unique_ptr<OutputFilter> MakeFilter(const Command& filter, const std::string& argument, Output next,
                                         std::string* error) {
    switch (static_cast<FilterKind>(filter.record - filters)) {
    case kInclude:
        return MakePatternFilter(PatternFilter::Kind::kInclude, argument, next, error);
    case kExclude:
        return MakePatternFilter(PatternFilter::Kind::kExclude, argument, next, error);
    case kBegin:
        return MakePatternFilter(PatternFilter::Kind::kBegin, argument, next, error);
    case kSave:
        return MakeSaveFilter(argument, next, error);
    case kJson:
        return std::make_unique<JsonFilter>(next);
    case kCount:
        break;
    }
    return std::make_unique<CountFilter>(next);
}

} // namespace onu_mng_platform
