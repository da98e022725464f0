/// The output filter that writes JSON.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_JSON_FILTER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_JSON_FILTER_H

#include "onu_mng_platform/common/cli/line_filter.h"
#include "onu_mng_platform/common/cli/table.h"

namespace onu_mng_platform {

/// Turns a command's text into an array of objects, one at a time as lines come: a row of a table by the names
/// of its columns, a report with one entry by the names in it, an indented name with its value as "name" and
/// "value", a message that starts with "% " as "error", and any other line as "text". The frame of a report is
/// left out. The result is valid whatever the text is, also when memory is short.
class JsonFilter final : public LineFilter {
public:
    using LineFilter::LineFilter;
    bool Finish() override;
    Output Errors() override;
    void Fail() override { Finish(); }

private:
    /// Where in the text the next line stands.
    enum class State : unsigned char {
        kText,
        kTable,        ///< below the header of a table
        kReport,       ///< in a report, before its entries
        kReportTable,  ///< below the header of the entries
        kReportList,   ///< at the only entry
        kBehind,       ///< behind the entries
        kDescriptions, ///< of the columns
        kTail,
    };

    bool Passes(const std::string& line) override;
    State TakeText(std::string_view line);
    State TakeTableRow(std::string_view line);
    State TakeReport(std::string_view line);
    State TakeReportRow(std::string_view line);
    State TakeReportEntry(std::string_view line);
    State TakeBehind(std::string_view line);

    bool HasNumbers(const std::vector<std::string_view>& cells) const;
    bool IsHeaderHeld() const;
    void PutHeld();
    void PutText(std::string_view line);
    void PutRow(const std::vector<std::string_view>& cells, size_t most_digits);
    void PutElement(const std::string& element);
    void CloseEntry();

    State state_ = State::kText;
    std::string held_; ///< a line that may turn out to be a header or the head of a report
    Table table_;
    std::vector<bool> numbers_; ///< in which columns of it the first row has numbers
    bool has_elements_ = false;
    bool is_entry_open_ = false;
    bool is_memory_short_ = false;
};

} // namespace onu_mng_platform

#endif
