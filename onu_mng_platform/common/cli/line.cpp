#include "onu_mng_platform/common/cli/line.h"

#include <algorithm>

namespace onu_mng_platform {

CommandLine::CommandLine(std::string_view line) : text(line) {
    std::replace_if(text.begin(), text.end(), IsControl, ' ');
    const std::string_view all = text;
    for (size_t begin = all.find_first_not_of(' '); begin < all.size();) {
        const size_t end = std::min(all.find(' ', begin), all.size());
        AddWord(TypedWord{all.substr(begin, end - begin), begin});
        begin = all.find_first_not_of(' ', end);
    }
}

bool CommandLine::IsEmpty() const {
    if (words.empty()) return !has_filter;
    const char first = words.front().text.front();
    return first == '!' || first == '#';
}

TypedWord CommandLine::TakeUnfinishedWord() {
    std::vector<TypedWord>& last = has_filter ? filter : words;
    const TypedWord nothing{{}, text.size()};
    if (text.empty() || text.back() == ' ' || last.empty()) return nothing;
    const TypedWord word = last.back();
    last.pop_back();
    return word;
}

void CommandLine::AddWord(TypedWord word) {
    if (!has_filter && word.text.front() == '|') {
        has_filter = true;
        word.text.remove_prefix(1);
        word.column += 1;
        if (word.text.empty()) return;
    }
    if (!has_filter) {
        words.push_back(word);
    } else if (filter.size() < 2) {
        filter.push_back(word);
    } else {
        const size_t begin = filter.back().column;
        filter.back().text = std::string_view(text).substr(begin, word.column + word.text.size() - begin);
    }
}

} // namespace onu_mng_platform
