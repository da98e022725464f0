#include "onu_mng_lib/onu_mng_common/cmd_fmt.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include "onu_mng_lib/onu_mng_common/immortal.h"
#include "onu_mng_lib/onu_mng_common/text_output.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

using Rows = CommandFormatMgr::Rows;

constexpr unsigned int kListWidth = 16;
constexpr std::string_view kLineEnd = "\r\n";
constexpr std::string_view kSeparatorLine = "------------------------------\r\n";

/// The width of a column without a given one: the longest text of its type and a blank.
unsigned int DefaultWidth(VariantType type) {
    switch (type) {
    case VARIANT_TYPE_BOOL:
        return sizeof("False");
    case VARIANT_TYPE_CHAR:
    case VARIANT_TYPE_UCHAR:
        return 5;
    case VARIANT_TYPE_SHORT:
    case VARIANT_TYPE_USHORT:
        return sizeof("-32768");
    case VARIANT_TYPE_INT:
    case VARIANT_TYPE_UINT:
        return sizeof("0x12345678");
    case VARIANT_TYPE_INT64:
    case VARIANT_TYPE_UINT64:
        return sizeof("0x123456789abcdef0");
    case VARIANT_TYPE_STRING:
    case VARIANT_TYPE_BUFFER:
        return 1;
    default:
        return 0;
    }
}

void PutField(TextOutput& output, std::string_view text, unsigned int width) {
    if (text.size() <= TextOutput::kInPlace) {
        output.PutField(width, [text](char* place) { return text.copy(place, text.size()); });
    } else {
        output.Put(text);
        output.PutBlanks(width > text.size() ? width - text.size() : 1);
    }
}

unsigned int FieldWidth(CommandFormatType type, const ParameterFormat& column) {
    return type == COMMAND_FORMAT_TYPE_TABLE ? column.width : kListWidth;
}

void PutCell(TextOutput& output, CommandFormatType type, const ParameterFormat& column, Variant& value) {
    const bool is_to_convert = column.type != VARIANT_TYPE_NONE && value.GetType() != column.type;
    if (is_to_convert && value.ResetType(column.type) != ONU_MNG_OK) return;
    const unsigned int width = FieldWidth(type, column);
    static_assert(Variant::kScalarTextSize <= TextOutput::kInPlace);
    if (value.GetType() < VARIANT_TYPE_STRING)
        output.PutField(width, [&value](char* place) { return value.ScalarToChars(place); });
    else if (value.GetType() == VARIANT_TYPE_STRING)
        PutField(output, value.GetBuff(), width); // no copy, so a report prints even if memory is short
    else
        PutField(output, value.ToString(), width);
}

void PutColumn(TextOutput& output, CommandFormatType type, const ParameterFormat& column,
               std::vector<ParameterContent>& row) {
    const auto cell = std::find_if(row.begin(), row.end(), [&column](const ParameterContent& content) {
        return content.param_id == column.param_id;
    });
    if (cell == row.end())
        PutField(output, "", FieldWidth(type, column));
    else
        PutCell(output, type, column, cell->value);
}

void PutLine(TextOutput& output, std::string_view text) {
    output.Put(text);
    output.Put(kLineEnd);
}

void LogShortMemory(unsigned int cmd_id) {
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "no memory to register report %d\r\n",
               cmd_id);
}

} // namespace

CommandFormatMgr* CommandFormatMgr::GetInstance() {
    static Immortal<CommandFormatMgr> instance;
    return instance.Get();
}

// ---- Registering ----

void CommandFormatMgr::RegisterCmd(unsigned int cmd_id, const CommandFormat& fmt) {
    try {
        CommandFormat copy(fmt);
        cmd_formats[cmd_id] = std::move(copy);
    } catch (const std::bad_alloc&) {
        LogShortMemory(cmd_id);
    }
}

void CommandFormatMgr::RegisterParameter(unsigned int cmd_id, ParameterFormat& fmt) {
    CalcParamLen(fmt);
    try {
        param_formats[cmd_id].push_back(fmt);
    } catch (const std::bad_alloc&) {
        LogShortMemory(cmd_id);
    }
}

void CommandFormatMgr::CalcParamLen(ParameterFormat& fmt) {
    const unsigned int wanted = fmt.width != 0 ? fmt.width + 1 : DefaultWidth(fmt.type);
    fmt.width = std::max(wanted, static_cast<unsigned int>(fmt.name.size()) + 1);
}

const CommandFormatMgr::Columns* CommandFormatMgr::FindColumns(unsigned int cmd_id) const {
    const auto found = param_formats.find(cmd_id);
    return found == param_formats.end() || found->second.empty() ? nullptr : &found->second;
}

// ---- Printing ----

void CommandFormatMgr::PrintCmd(unsigned int cmd_id, Rows& rows, bool show_summary, void* out) {
    const CommandFormatType type = rows.size() > 1 ? COMMAND_FORMAT_TYPE_TABLE : COMMAND_FORMAT_TYPE_LIST;
    PrintCmdHead(type, cmd_id, show_summary, out);
    PrintCmdContent(type, cmd_id, rows, out);
    PrintCmdTail(type, cmd_id, rows, show_summary, out);
}

void CommandFormatMgr::PrintCmdHead(CommandFormatType type, unsigned int cmd_id, bool, void* out) {
    TextOutput output(out);
    output.Put(kLineEnd);
    const auto report = cmd_formats.find(cmd_id);
    if (report != cmd_formats.end()) PutLine(output, report->second.description);
    output.Put(kSeparatorLine);
    output.Put(kLineEnd);
    const Columns* const columns = FindColumns(cmd_id);
    if (type != COMMAND_FORMAT_TYPE_TABLE || columns == nullptr) return;
    for (const ParameterFormat& column : *columns)
        PutField(output, column.name, column.width);
    output.Put(kLineEnd);
}

void CommandFormatMgr::PrintCmdContent(CommandFormatType type, unsigned int cmd_id, Rows& rows, void* out) {
    const Columns* const columns = FindColumns(cmd_id);
    if (columns == nullptr) return;
    TextOutput output(out);
    const bool is_list = type == COMMAND_FORMAT_TYPE_LIST;
    for (std::vector<ParameterContent>& row : rows) {
        for (const ParameterFormat& column : *columns) {
            if (is_list) {
                PutField(output, column.name, kListWidth);
                output.Put(" = ");
            }
            PutColumn(output, type, column, row);
            if (is_list) output.Put(kLineEnd);
        }
        if (!is_list) output.Put(kLineEnd);
    }
    output.Put(kLineEnd);
}

void CommandFormatMgr::PrintCmdTail(CommandFormatType, unsigned int cmd_id, const Rows& rows,
                                    bool show_summary, void* out) {
    TextOutput output(out);
    if (!show_summary) return output.Put(kLineEnd);
    const Columns* const columns = FindColumns(cmd_id);
    if (!rows.empty() && columns != nullptr) {
        PutLine(output, "The parameter description:");
        for (const ParameterFormat& column : *columns) {
            PutField(output, column.name, kListWidth);
            output.Put(" : ");
            PutField(output, column.description, kListWidth);
            output.Put(kLineEnd);
        }
        output.Put(kLineEnd);
    }
    output.Put(kSeparatorLine);
    output.Put("Total result number = ");
    PutLine(output, Digits(static_cast<int>(rows.size())));
    output.Put(kLineEnd);
}

void CommandFormatMgr::PrintValue(CommandFormatType type, const ParameterFormat& fmt, const std::string& text,
                                  void* out) {
    TextOutput output(out);
    PutField(output, text, FieldWidth(type, fmt));
}

void CommandFormatMgr::PrintValue(CommandFormatType type, const ParameterFormat& fmt, Variant& value,
                                  void* out) {
    TextOutput output(out);
    PutCell(output, type, fmt, value);
}
