/// The output filter that writes JSON.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_JSON_FILTER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_JSON_FILTER_H

#include "onu_mng_platform/common/cli/line_filter.h"
#include "onu_mng_platform/common/cli/table.h"

namespace onu_mng_platform {

/// Converts a command's text to an array of JSON objects, line by line:
///
/// - a row of a table becomes an object with the column names;
/// - a report with one entry becomes an object with the names in the report;
/// - an indented name with a value becomes "name" and "value";
/// - a message that starts with "% " becomes "error";
/// - any other line becomes "text".
///
/// The frame of a report is left out. The result is valid JSON for any text, even if memory is short.
class JsonFilter final : public LineFilter {
public:
    using LineFilter::LineFilter;
    bool Finish() override;
    Output Errors() override;
    void Fail() override { Finish(); }

private:
    /// The position of the next line in the text.
    enum class State : unsigned char {
        kText,
        kTable,        ///< after the header of a table
        kReport,       ///< in a report, before its entries
        kReportTable,  ///< after the header of the entries
        kReportList,   ///< in the only entry
        kBehind,       ///< after the entries
        kDescriptions, ///< in the descriptions of the columns
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
    std::string held_; ///< a line that may turn out to be a table's header or a report's title
    Table table_;
    std::vector<bool> numbers_; ///< for each column: whether the first row has a number
    bool has_elements_ = false;
    bool is_entry_open_ = false;
    bool is_memory_short_ = false;
};

} // namespace onu_mng_platform

#endif
