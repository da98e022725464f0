/// The tables and lists that diagnostic commands print.
///
/// At start-up, each report registers its head line and its columns once. A command then collects rows of
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
    COMMAND_FORMAT_TYPE_LIST = 0,  ///< one line "name = value" for each column of each row
    COMMAND_FORMAT_TYPE_TABLE = 1, ///< a header line, then one line for each row
};

/// One report.
struct CommandFormat {
    unsigned int cmd_id = 0; ///< the number under which it is registered and printed
    std::string name;        ///< not printed
    std::string description; ///< the head line
};

/// One column of a report.
struct ParameterFormat {
    unsigned int param_id = 0; ///< cells refer to it; unique within the report
    std::string name;          ///< printed as the header
    std::string description;   ///< printed below the report
    /// The type to which cells are converted before they are printed. `VARIANT_TYPE_NONE`: no conversion.
    VariantType type = VARIANT_TYPE_NONE;
    /// In characters; 0 stands for the longest text of the type. Registration replaces it by the width in
    /// use.
    unsigned int width = 0;
};

/// One cell of a row. The cells of a row may be in any order.
struct ParameterContent {
    unsigned int param_id = 0; ///< the column
    Variant value;             ///< of any type that can be converted to the type of the column
};

/// Registers reports and prints them.
///
/// Lines end in CR LF. The output goes to the terminal `out` (a `vty*`), or to standard output if `out` is
/// null. Both receive the same characters. A report that is not registered has neither a head line nor
/// columns: it prints only the separator lines and the number of rows.
///
/// - If a cell cannot be converted to the type of its column, it prints nothing, not even blanks.
/// - A column without a cell prints blanks.
/// - If two cells are for the same column, the first one is printed.
/// - A cell for a column that is not registered is not printed.
///
/// One instance for the process. One task registers all reports before any is printed. Then any number of
/// tasks may print at once, each its own rows. Takes no lock, and blocks only as long as the terminal does.
class CommandFormatMgr {
public:
    /// The cells of each row.
    using Rows = std::vector<std::vector<ParameterContent>>;

    /// Returns the instance of the process.
    static CommandFormatMgr* GetInstance();

    /// Stores a copy of `fmt` under `cmd_id` and replaces an earlier one. If memory is short, the earlier one
    /// stays (one level-13 line).
    void RegisterCmd(unsigned int cmd_id, const CommandFormat& fmt);

    /// Sets the width in `fmt` (see `CalcParamLen`) and appends a copy of it to the columns of `cmd_id`. A
    /// column that is registered twice is printed twice. If memory is short, the column is missing (one
    /// level-13 line).
    void RegisterParameter(unsigned int cmd_id, ParameterFormat& fmt);

    /// Prints a report: a table if there are two rows or more, else a list. With `show_summary` it also
    /// prints the meaning of the columns and the number of rows. Converts the cells in place.
    void PrintCmd(unsigned int cmd_id, Rows& rows, bool show_summary, void* out);

    /// Print the parts of a report. Call them in this order.
    void PrintCmdHead(CommandFormatType type, unsigned int cmd_id, bool show_summary, void* out);
    void PrintCmdContent(CommandFormatType type, unsigned int cmd_id, Rows& rows, void* out);
    void PrintCmdTail(CommandFormatType type, unsigned int cmd_id, const Rows& rows, bool show_summary,
                      void* out);

    /// Prints one field: the complete text, and blanks up to the width, but at least one. The width is 16
    /// characters in a list and that of the column in a table.
    void PrintValue(CommandFormatType type, const ParameterFormat& fmt, const std::string& text, void* out);
    /// Converts the value to the type of the column and prints its text in the same way. Prints nothing if
    /// the value cannot be converted.
    void PrintValue(CommandFormatType type, const ParameterFormat& fmt, Variant& value, void* out);

    /// Sets `fmt.width` to the width of the column, including one blank: the length of its name or the width
    /// asked for, whichever is larger. A width of 0 asks for that of the longest text of the type.
    void CalcParamLen(ParameterFormat& fmt);

private:
    using Columns = std::vector<ParameterFormat>;

    template <typename T>
    friend class Immortal;

    CommandFormatMgr() = default;
    ~CommandFormatMgr() = default;

    /// Returns the columns of a report; null if none are registered.
    const Columns* FindColumns(unsigned int cmd_id) const;

    std::map<unsigned int, CommandFormat> cmd_formats;
    std::map<unsigned int, Columns> param_formats;
};

#endif
