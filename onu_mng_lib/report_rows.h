/// Collects the rows of a report and prints it.
#ifndef ONU_MNG_LIB_REPORT_ROWS_H
#define ONU_MNG_LIB_REPORT_ROWS_H

#include <new>
#include <utility>
#include <vector>

#include "onu_mng_lib/onu_mng_common/cmd_fmt.h"
#include "onu_mng_lib/onu_mng_common/text_output.h"

/// Adds a cell. If there was no block for the value, no cell is added: its column then prints blanks, and the
/// columns after it keep their positions.
inline void AddCell(std::vector<ParameterContent>& row, unsigned int param_id, Variant value) {
    if (!value.IsEmpty()) row.push_back({param_id, std::move(value)});
}

/// Returns a row with one cell for each value, for the columns 0, 1, 2, ...
template <typename... Values>
std::vector<ParameterContent> MakeRow(const Values&... values) {
    std::vector<ParameterContent> row;
    row.reserve(sizeof...(values));
    unsigned int param_id = 0;
    (AddCell(row, param_id++, Variant(values)), ...);
    return row;
}

/// Calls `gather(rows)`, which collects all rows of a report, and then prints the report. So the locks that
/// `gather` takes are not held while printing.
/// @return true; false if memory was short: the report was not printed, and a line on the terminal says so.
template <typename Gather>
bool PrintReport(unsigned int report_id, void* terminal, Gather gather) {
    CommandFormatMgr::Rows rows;
    try {
        gather(rows);
    } catch (const std::bad_alloc&) {
        TextOutput(terminal).Put("not enough memory for the report\r\n");
        return false;
    }
    CommandFormatMgr::GetInstance()->PrintCmd(report_id, rows, true, terminal);
    return true;
}

#endif
