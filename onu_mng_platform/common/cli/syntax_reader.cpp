#include "onu_mng_platform/common/cli/syntax_reader.h"

#include <charconv>

namespace onu_mng_platform {
namespace {

// Excludes all characters with a meaning in lines or in syntax strings.
bool IsWordCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_-.:/+").find(c) != std::string_view::npos;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

// "1-16" or "-5--1"; false for anything else, such as "serial-number".
bool ReadRange(std::string_view text, long long* low, long long* high) {
    const char* end = text.data() + text.size();
    const auto [dash, low_error] = std::from_chars(text.data(), end, *low);
    if (low_error != std::errc() || dash == end || *dash != '-') return false;
    const auto [stop, high_error] = std::from_chars(dash + 1, end, *high);
    return high_error == std::errc() && stop == end;
}

} // namespace

bool SyntaxReader::Read() {
    SkipBlanks();
    while (!rest_.empty()) {
        if (!ReadElement()) return false;
        SkipBlanks();
    }
    return !in_group_;
}

bool SyntaxReader::ReadElement() {
    if (Skip("{")) return BeginGroup();
    if (Skip("}")) return EndGroup();
    BeginStep();
    if (Skip("[")) return ReadChoice();
    return ReadWord(false);
}

bool SyntaxReader::ReadChoice() {
    do {
        if (!ReadWord(true)) return false;
    } while (Skip("|"));
    return Skip("]");
}

bool SyntaxReader::ReadWord(bool delivered) {
    SyntaxWord word;
    word.delivered = delivered;
    if (Skip("<")) {
        if (!ReadValue(&word)) return false;
    } else {
        word.text = TakeWhile(IsWordCharacter);
    }
    if (word.text.empty() || ++words_ > Syntax::kMaxWords) return false;
    result_->steps_.back().words.push_back(std::move(word));
    return true;
}

bool SyntaxReader::ReadValue(SyntaxWord* word) {
    const std::string_view name = TakeWhile(IsWordCharacter);
    if (name.empty() || !Skip(">")) return false;
    word->text.append("<").append(name).append(">");
    word->delivered = true;
    const bool is_range = ReadRange(name, &word->low, &word->high);
    word->kind = is_range ? SyntaxWord::Kind::kNumber : SyntaxWord::Kind::kName;
    return !is_range || word->low <= word->high;
}

bool SyntaxReader::BeginGroup() {
    if (in_group_ || groups_ == Syntax::kMaxGroups) return false;
    in_group_ = true;
    group_begin_ = static_cast<unsigned>(result_->steps_.size());
    if (run_end_ != group_begin_) run_begin_ = group_begin_;
    return true;
}

bool SyntaxReader::EndGroup() {
    const auto end = static_cast<unsigned>(result_->steps_.size());
    if (!in_group_ || end == group_begin_ || !Skip("*1")) return false;
    in_group_ = false;
    run_end_ = end;
    result_->steps_[group_begin_].skip = end;
    result_->steps_[group_begin_].group = uint32_t{1} << groups_++;
    // After a group the other groups of its run may follow, in any order.
    result_->steps_.back().next = run_begin_;
    return true;
}

void SyntaxReader::BeginStep() {
    result_->steps_.emplace_back();
    result_->steps_.back().next = static_cast<unsigned>(result_->steps_.size());
}

void SyntaxReader::SkipBlanks() {
    TakeWhile(IsBlank);
}

bool SyntaxReader::Skip(std::string_view expected) {
    if (rest_.substr(0, expected.size()) != expected) return false;
    rest_.remove_prefix(expected.size());
    return true;
}

std::string_view SyntaxReader::TakeWhile(bool (*belongs)(char)) {
    size_t size = 0;
    while (size < rest_.size() && belongs(rest_[size]))
        ++size;
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return taken;
}

} // namespace onu_mng_platform
