/// Output filters that work line by line.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_LINE_FILTER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_LINE_FILTER_H

#include "onu_mng_platform/common/cli/filter.h"
#include "onu_mng_platform/common/cli/pattern.h"

namespace onu_mng_platform {

/// Splits output into lines and forwards those that `Passes` selects, each with CR LF. A line of more than
/// 1023 characters is treated as several lines.
class LineFilter : public OutputFilter {
public:
    explicit LineFilter(Output next) : next_(next) {}
    void Put(std::string_view text) final;
    bool Finish() override;
    Output Errors() override { return next_; }

protected:
    virtual bool Passes(const std::string& line) = 0;

    Output next_;

private:
    void EndLine();

    std::string line_;
};

/// Forwards the lines that match, those that do not match, or all lines from the first match on.
class PatternFilter final : public LineFilter {
public:
    enum class Kind : unsigned char { kInclude, kExclude, kBegin };

    PatternFilter(Kind kind, Output next) : LineFilter(next), kind_(kind) {}

    /// Sets the expression. Must be called first. @return null, or the reason why it cannot be used.
    [[nodiscard]] const char* Compile(const std::string& pattern) { return pattern_.Compile(pattern); }

private:
    bool Passes(const std::string& line) override;

    Pattern pattern_;
    Kind kind_;
    bool has_begun_ = false;
};

/// Prints the number of lines instead of the lines.
class CountFilter final : public LineFilter {
public:
    using LineFilter::LineFilter;
    bool Finish() override;

private:
    bool Passes(const std::string& line) override;

    unsigned long lines_ = 0;
};

} // namespace onu_mng_platform

#endif
