/// The tables and lists that diagnostic commands print.
///
/// At start-up each report registers its head line and its columns once. A command then gathers rows of
/// typed cells and prints them:
///
///     std::vector<std::vector<ParameterContent>> rows;
///     rows.push_back({{0, Variant(true)}, {1, Variant("KVXQ-12345678")}});
///     CommandFormatMgr::GetInstance()->PrintCmd(report_id, rows, true, terminal);
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_CMD_FMT_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_CMD_FMT_H

#include <map>
#include <string>
#include <vector>

#include "onu_mng_lib/onu_mng_common/variant.h"

/// How rows are laid out.
enum CommandFormatType : unsigned int {
    COMMAND_FORMAT_TYPE_LIST = 0,  ///< for each row a line "name = value" for each column
    COMMAND_FORMAT_TYPE_TABLE = 1, ///< a header line, then a line for each row
};

/// One report.
struct CommandFormat {
    unsigned int cmd_id = 0;
    std::string name;        ///< not printed
    std::string description; ///< the head line
};

/// One column of a report.
struct ParameterFormat {
    unsigned int param_id = 0; ///< what cells name it by, unique within the report
    std::string name;          ///< printed as the header
    std::string description;   ///< printed below the report
    /// What cells are converted to before they are printed; `VARIANT_TYPE_NONE` prints them as they are.
    VariantType type = VARIANT_TYPE_NONE;
    /// In characters. 0 asks for the longest text of the type. Registration replaces it by the width in use.
    unsigned int width = 0;
};

/// One cell of a row; the cells of a row may stand in any order.
struct ParameterContent {
    unsigned int param_id = 0;
    Variant value;
};

/// The registered reports, and how they are printed.
///
/// Lines end in CR LF. Output goes to the terminal `out` (a `vty*`), or to standard output when it is null;
/// both get the same characters. What is not registered is not printed. A cell that cannot be converted to
/// its column's type prints nothing, not even blanks; a column without a cell prints blanks; of two cells
/// for a column the first counts; cells of no column are not printed.
///
/// One instance for the process. Reports are registered before any is printed, by one task; then any number
/// of tasks may print, each its own rows. No lock, no waiting but for the terminal.
class CommandFormatMgr {
public:
    using Rows = std::vector<std::vector<ParameterContent>>;

    static CommandFormatMgr* GetInstance();

    /// Stores a copy of `fmt` under `cmd_id` in place of an earlier one. Where memory is short the earlier
    /// one stays (one level-13 line).
    void RegisterCmd(unsigned int cmd_id, const CommandFormat& fmt);

    /// Replaces the width in `fmt` (`CalcParamLen`) and appends a copy to the columns of `cmd_id`; a column
    /// registered twice is printed twice. Where memory is short there is no such column (one level-13 line).
    void RegisterParameter(unsigned int cmd_id, ParameterFormat& fmt);

    /// Prints a report: a table when there are two rows or more, else a list; then, with `show_summary`,
    /// what the columns mean and the number of rows. Converts the cells in place.
    void PrintCmd(unsigned int cmd_id, Rows& rows, bool show_summary, void* out);

    /// The parts of a report, in this order.
    void PrintCmdHead(CommandFormatType type, unsigned int cmd_id, bool show_summary, void* out);
    void PrintCmdContent(CommandFormatType type, unsigned int cmd_id, Rows& rows, void* out);
    void PrintCmdTail(CommandFormatType type, unsigned int cmd_id, const Rows& rows, bool show_summary,
                      void* out);

    /// Prints a field: the text, never cut, and blanks up to the width (16 characters in a list, the
    /// column's in a table), at least one.
    void PrintValue(CommandFormatType type, const ParameterFormat& fmt, const std::string& text, void* out);
    /// The same with the value's text, once the value is converted to the column's type; nothing when it
    /// cannot be.
    void PrintValue(CommandFormatType type, const ParameterFormat& fmt, Variant& value, void* out);

    /// Sets `fmt.width` to what the column takes, a blank included: the larger of its name and of the width
    /// asked for or, for 0, the longest text of its type.
    void CalcParamLen(ParameterFormat& fmt);

private:
    using Columns = std::vector<ParameterFormat>;

    template <typename T>
    friend class Immortal;

    CommandFormatMgr() = default;
    ~CommandFormatMgr() = default;

    /// Null when none are registered.
    const Columns* FindColumns(unsigned int cmd_id) const;

    std::map<unsigned int, CommandFormat> cmd_formats;
    std::map<unsigned int, Columns> param_formats;
};

#endif
