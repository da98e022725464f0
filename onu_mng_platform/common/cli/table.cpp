#include "onu_mng_platform/common/cli/table.h"

#include <algorithm>

namespace onu_mng_platform {
namespace {

bool IsCapital(char c) {
    return c >= 'A' && c <= 'Z';
}

bool IsSmall(char c) {
    return c >= 'a' && c <= 'z';
}

} // namespace

Table Table::Parse(std::string_view line) {
    Table table;
    Span name{0, 0};
    for (const Span word : Words(line)) {
        const bool continues = name.end > 0 && IsSmall(line[word.begin]) && word.begin == name.end + 1;
        if (!continues && !IsCapital(line[word.begin])) return {};
        if (!continues && name.end > 0) table.AddName(line.substr(name.begin, name.end - name.begin), name);
        name = Span{continues ? name.begin : word.begin, word.end};
    }
    if (name.end > 0) table.AddName(line.substr(name.begin, name.end - name.begin), name);
    return table;
}

std::vector<std::string_view> Table::Split(std::string_view line, bool may_lack) const {
    const std::vector<Span> words = Words(line);
    std::vector<std::string_view> cells = SplitByPlace(line, words);
    const auto lacking = std::count(cells.begin(), cells.end(), std::string_view());
    if (!cells.empty() && lacking == 0) return cells;
    if (words.size() == names_.size()) {
        cells.clear();
        for (const Span word : words)
            cells.push_back(line.substr(word.begin, word.end - word.begin));
        return cells;
    }
    if (!may_lack) cells.clear();
    return cells;
}

std::vector<Table::Span> Table::Words(std::string_view line) {
    std::vector<Span> words;
    for (size_t begin = line.find_first_not_of(" \t"); begin < line.size();) {
        const size_t end = std::min(line.find_first_of(" \t", begin), line.size());
        words.push_back(Span{begin, end});
        begin = line.find_first_not_of(" \t", end);
    }
    return words;
}

void Table::AddName(std::string_view name, Span span) {
    std::string unique(name);
    for (int number = 2; std::find(names_.begin(), names_.end(), unique) != names_.end(); ++number)
        unique = std::string(name) + " " + std::to_string(number);
    names_.push_back(std::move(unique));
    spans_.push_back(span);
}

// Returns the first column from `first` on whose name a word is aligned with; npos if there is none.
size_t Table::ColumnOf(Span word, size_t first) const {
    for (size_t i = first; i < spans_.size(); ++i)
        if (word.begin == spans_[i].begin || word.end == spans_[i].end) return i;
    return std::string_view::npos;
}

std::vector<std::string_view> Table::SplitByPlace(std::string_view line,
                                                  const std::vector<Span>& words) const {
    std::vector<std::string_view> cells(names_.size());
    size_t next = 0; // the column after that of the last word
    size_t begin = 0;
    for (const Span word : words) {
        const size_t column = ColumnOf(word, next);
        if (column != std::string_view::npos) {
            next = column + 1;
            begin = word.begin;
        } else if (next == 0) {
            return {};
        }
        cells[next - 1] = line.substr(begin, word.end - begin);
    }
    return cells;
}

} // namespace onu_mng_platform
