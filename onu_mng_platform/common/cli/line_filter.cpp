#include "onu_mng_platform/common/cli/line_filter.h"

#include <algorithm>

namespace onu_mng_platform {
namespace {

constexpr size_t kMaxFilteredLine = 1023;

} // namespace

void LineFilter::Put(std::string_view text) {
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const size_t taken = std::min(std::min(end, text.size()), kMaxFilteredLine - line_.size());
        line_.append(text.substr(0, taken));
        text.remove_prefix(taken);
        if (taken == end) text.remove_prefix(1);
        if (taken == end || line_.size() == kMaxFilteredLine) EndLine();
    }
}

bool LineFilter::Finish() {
    if (!line_.empty()) EndLine();
    return true;
}

void LineFilter::EndLine() {
    while (!line_.empty() && line_.back() == '\r')
        line_.pop_back();
    if (Passes(line_)) next_(line_.append("\r\n"));
    line_.clear();
}

bool PatternFilter::Passes(const std::string& line) {
    if (has_begun_) return true;
    const bool matches = pattern_.IsIn(line);
    has_begun_ = matches && kind_ == Kind::kBegin;
    return matches != (kind_ == Kind::kExclude);
}

bool CountFilter::Finish() {
    LineFilter::Finish();
    next_(std::to_string(lines_).append(lines_ == 1 ? " line\r\n" : " lines\r\n"));
    return true;
}

bool CountFilter::Passes(const std::string&) {
    ++lines_;
    return false;
}

} // namespace onu_mng_platform
