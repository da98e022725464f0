/// Output filters that work line by line.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_LINE_FILTER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_LINE_FILTER_H

#include "onu_mng_platform/common/cli/filter.h"
#include "onu_mng_platform/common/cli/pattern.h"

namespace onu_mng_platform {

/// Puts lines together and passes on those it is told to, each ended by CR LF. A line longer than 1023
/// characters is treated as several.
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

/// The lines that match, those that do not, or all from the first that does.
class PatternFilter final : public LineFilter {
public:
    enum class Kind : unsigned char { kInclude, kExclude, kBegin };

    PatternFilter(Kind kind, Output next) : LineFilter(next), kind_(kind) {}

    /// Takes the expression, before anything else. @return null, or the cause why it cannot be used.
    const char* Compile(const std::string& pattern) { return pattern_.Compile(pattern); }

private:
    bool Passes(const std::string& line) override;

    Pattern pattern_;
    Kind kind_;
    bool has_begun_ = false;
};

/// The number of lines instead of the lines.
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
