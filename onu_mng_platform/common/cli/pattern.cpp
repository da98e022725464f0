#include "onu_mng_platform/common/cli/pattern.h"

#include <algorithm>

namespace onu_mng_platform {
namespace {

constexpr size_t kMaxSize = 128;
constexpr long kMaxRepetitions = 8; // each "+" may double the size of the compiled expression
constexpr size_t kRenewAfter = 2048;

template <typename Wanted>
bool HasEscaped(const std::string& text, Wanted wanted) {
    for (size_t i = 0; i + 1 < text.size(); ++i)
        if (text[i] == '\\' && wanted(text[++i])) return true;
    return false;
}

bool HasUnescaped(const std::string& text, char wanted) {
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == wanted) return true;
        if (text[i] == '\\') ++i;
    }
    return false;
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

const char* CauseAgainst(const std::string& text) {
    if (text.size() > kMaxSize) return "longer than 128 characters";
    if (std::count(text.begin(), text.end(), '+') > kMaxRepetitions) return "more than 8 +";
    if (HasUnescaped(text, '{')) return "{ } not supported";
    if (HasEscaped(text, IsDigit)) return "back-references not supported";
    return nullptr;
}

} // namespace

const char* Pattern::Compile(const std::string& text) {
    if (const char* cause = CauseAgainst(text)) return cause;
    text_ = text;
    const int error = Renew();
    if (error == 0) return nullptr;
    regerror(error, &regex_, cause_, sizeof cause_);
    return cause_;
}

// Compiles the expression again from time to time, because regexec() caches up to one state per matched
// character and never frees them.
bool Pattern::IsIn(const std::string& line) {
    matched_ += line.size();
    if (matched_ > kRenewAfter && compiled_) Renew();
    return compiled_ && regexec(&regex_, line.c_str(), 0, nullptr, 0) == 0;
}

int Pattern::Renew() {
    Free();
    const int error = regcomp(&regex_, text_.c_str(), REG_EXTENDED | REG_NOSUB);
    compiled_ = error == 0;
    matched_ = 0;
    return error;
}

void Pattern::Free() {
    if (compiled_) regfree(&regex_);
    compiled_ = false;
}

} // namespace onu_mng_platform
