// Reports of any columns, widths and cells against the lines that they are to have.

#include <set>

#include "fuzz/input.h"
#include "onu_mng_lib/onu_mng_common/cmd_fmt.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/variants.h"

namespace {

using Rows = CommandFormatMgr::Rows;

CommandFormatMgr& Reports() {
    return *CommandFormatMgr::GetInstance();
}

/// The columns that the number of a report stands for: 4 bits for the type, 4 for the width, for each of four.
std::vector<ParameterFormat> ColumnsOf(unsigned int report) {
    std::vector<ParameterFormat> columns;
    for (unsigned int i = 0; i < 4; ++i, report >>= 8)
        if ((report & 15) != 0)
            columns.push_back({i, std::string((report >> 4 & 3) * 5, 'N'), "meaning",
                               static_cast<VariantType>((report & 15) - 1), (report >> 4 & 15) * 3});
    return columns;
}

std::string Padded(const std::string& text, std::size_t width) {
    return text + std::string(text.size() < width ? width - text.size() : 1, ' ');
}

std::string Line(const std::vector<ParameterFormat>& columns, const std::vector<ParameterContent>& row) {
    std::string line;
    for (const ParameterFormat& column : columns) {
        const ParameterContent* cell = nullptr;
        for (const ParameterContent& each : row)
            if (cell == nullptr && each.param_id == column.param_id) cell = &each;
        Variant value = cell == nullptr ? Variant("") : cell->value;
        const bool converts = column.type == VARIANT_TYPE_NONE || cell == nullptr;
        if (converts || value.ResetType(column.type) == ONU_MNG_OK)
            line += Padded(value.ToString(), column.width);
    }
    return line + "\r\n";
}

} // namespace

void TryInput(FuzzInput& input) {
    static std::set<unsigned int> registered;
    const auto report = static_cast<unsigned int>(input.Bits(4));
    auto columns = ColumnsOf(report);
    const bool is_new = registered.insert(report).second;
    if (is_new) Reports().RegisterCmd(report, {report, "name", "Head"});
    for (ParameterFormat& column : columns) {
        if (is_new)
            Reports().RegisterParameter(report, column);
        else
            Reports().CalcParamLen(column);
    }
    Rows rows;
    while (!input.IsOver() && rows.size() < 20) {
        auto& row = rows.emplace_back();
        for (unsigned int cells = input.Below(6); cells > 0; --cells)
            row.push_back(
                {input.Below(5), input.Below(3) == 0 ? Variant(input.Until('\n')) : AnyVariant(input)});
    }
    std::string lines;
    for (const auto& row : rows)
        lines += Line(columns, row);
    CapturedTerminal terminal;
    Reports().PrintCmd(report, rows, input.Below(2) == 0, static_cast<vty*>(terminal));
    const std::string text = terminal.Text();
    if (rows.size() > 1 && !columns.empty())
        EXPECT_NE(text.find(lines), std::string::npos) << text << "\nshould have\n" << lines;
}
