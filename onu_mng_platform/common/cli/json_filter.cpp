#include "onu_mng_platform/common/cli/json_filter.h"

#include <new>
#include <utility>

#include "onu_mng_platform/common/cli/json.h"

namespace onu_mng_platform {
namespace {

constexpr std::string_view kSeparator = "------------------------------";
constexpr std::string_view kDescriptionsHead = "The parameter description:";
constexpr std::string_view kTotal = "Total result number = ";
constexpr std::string_view kEquals = " = ";
constexpr std::string_view kBlanks = " \t";
constexpr size_t kFewestColumns = 3; // outside reports, as two capitalised words may be a sentence
constexpr size_t kAnyDigits = 1023;
constexpr size_t kReportDigits = 5; // reports print types wider than 16 bits in hexadecimal

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

std::string_view Trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

void AppendMember(std::string* json, std::string_view name, std::string_view cell, size_t most_digits) {
    if (json->back() != '{') json->push_back(',');
    AppendJsonString(json, name);
    json->push_back(':');
    AppendJsonCell(json, cell, most_digits);
}

std::string ObjectOf(std::string_view name, std::string_view text) {
    std::string object = "{";
    AppendJsonString(&object, name);
    object.push_back(':');
    AppendJsonString(&object, text);
    return object.append("}");
}

/// Converts "  name   value" with at least two blanks in between; else returns an empty text.
std::string NamedValue(std::string_view line) {
    const std::string_view text = Trimmed(line);
    const size_t gap = text.find("  ");
    if (!StartsWith(line, "  ") || gap == text.npos) return {};
    std::string object = "{\"name\":";
    AppendJsonString(&object, text.substr(0, gap));
    AppendMember(&object, "value", Trimmed(text.substr(gap)), kAnyDigits);
    return object.append("}");
}

bool IsNumber(std::string_view cell) {
    return cell.find_first_of("-0123456789") == 0;
}

} // namespace

bool JsonFilter::Finish() {
    try {
        LineFilter::Finish();
        PutHeld();
    } catch (const std::bad_alloc&) {
        is_memory_short_ = true;
    }
    CloseEntry();
    if (is_memory_short_) {
        next_(has_elements_ ? ",\r\n" : "[\r\n");
        next_("{\"error\":\"Out of memory.\"}");
        has_elements_ = true;
    }
    next_(has_elements_ ? "\r\n]\r\n" : "[]\r\n");
    return !is_memory_short_;
}

Output JsonFilter::Errors() {
    const auto put = [](void* self, const char* data, size_t size) {
        auto* const filter = static_cast<JsonFilter*>(self);
        try {
            filter->Put(std::string_view(data, size));
        } catch (const std::bad_alloc&) {
            filter->is_memory_short_ = true;
        }
    };
    return Output{put, this};
}

bool JsonFilter::Passes(const std::string& line) {
    switch (state_) {
    case State::kText:
        state_ = TakeText(line);
        break;
    case State::kTable:
        state_ = TakeTableRow(line);
        break;
    case State::kReport:
        state_ = TakeReport(line);
        break;
    case State::kReportTable:
        state_ = TakeReportRow(line);
        break;
    case State::kReportList:
        state_ = TakeReportEntry(line);
        break;
    case State::kBehind:
        state_ = TakeBehind(line);
        break;
    case State::kDescriptions:
        if (line == kSeparator) state_ = State::kTail;
        break;
    case State::kTail:
        state_ = StartsWith(line, kTotal) ? State::kText : TakeText(line);
        break;
    }
    return false;
}

JsonFilter::State JsonFilter::TakeText(std::string_view line) {
    if (line == kSeparator) {
        held_.clear(); // the title of the report
        return State::kReport;
    }
    if (IsHeaderHeld()) {
        const auto cells = table_.Split(line, false);
        if (!cells.empty()) {
            held_.clear();
            numbers_.clear();
            for (const std::string_view cell : cells)
                numbers_.push_back(IsNumber(cell));
            PutRow(cells, kAnyDigits);
            return State::kTable;
        }
    }
    PutHeld();
    held_ = line;
    table_ = Table::Parse(line);
    return State::kText;
}

JsonFilter::State JsonFilter::TakeTableRow(std::string_view line) {
    const auto cells = table_.Split(line, false);
    if (cells.empty() || !HasNumbers(cells)) return TakeText(line);
    PutRow(cells, kAnyDigits);
    return State::kTable;
}

JsonFilter::State JsonFilter::TakeReport(std::string_view line) {
    if (line.empty()) return State::kReport;
    if (line == kSeparator || line == kDescriptionsHead) return TakeBehind(line);
    if (line.find(kEquals) != line.npos) return TakeReportEntry(line);
    table_ = Table::Parse(line);
    return State::kReportTable;
}

JsonFilter::State JsonFilter::TakeReportRow(std::string_view line) {
    if (line.empty() || line == kSeparator) return TakeBehind(line);
    const auto cells = table_.Split(line, true);
    if (cells.empty())
        PutText(line);
    else
        PutRow(cells, kReportDigits);
    return State::kReportTable;
}

JsonFilter::State JsonFilter::TakeReportEntry(std::string_view line) {
    const size_t equals = line.find(kEquals);
    if (equals == line.npos) {
        CloseEntry();
        return TakeBehind(line);
    }
    std::string member = "{";
    AppendMember(&member, Trimmed(line.substr(0, equals)), Trimmed(line.substr(equals + kEquals.size())),
                 kReportDigits);
    if (is_entry_open_)
        next_(member.replace(0, 1, ","));
    else
        PutElement(member);
    is_entry_open_ = true;
    return State::kReportList;
}

JsonFilter::State JsonFilter::TakeBehind(std::string_view line) {
    if (line.empty()) return State::kBehind;
    if (line == kDescriptionsHead) return State::kDescriptions;
    return line == kSeparator ? State::kTail : TakeText(line);
}

/// Returns whether a row has numbers in the same columns as the first row. A line with totals below the
/// table does not.
bool JsonFilter::HasNumbers(const std::vector<std::string_view>& cells) const {
    for (size_t i = 0; i < cells.size(); ++i)
        if (numbers_[i] && !IsNumber(cells[i])) return false;
    return true;
}

bool JsonFilter::IsHeaderHeld() const {
    return !held_.empty() && table_.names().size() >= kFewestColumns;
}

void JsonFilter::PutHeld() {
    const std::string line = std::exchange(held_, std::string());
    PutText(line);
}

void JsonFilter::PutText(std::string_view line) {
    constexpr std::string_view kErrorMark = "% ";
    const std::string_view text = Trimmed(line);
    if (text.empty()) return;
    if (StartsWith(text, kErrorMark)) return PutElement(ObjectOf("error", text.substr(kErrorMark.size())));
    const std::string named = table_.names().empty() ? NamedValue(line) : std::string();
    PutElement(named.empty() ? ObjectOf("text", text) : named);
}

void JsonFilter::PutRow(const std::vector<std::string_view>& cells, size_t most_digits) {
    std::string object = "{";
    for (size_t i = 0; i < cells.size(); ++i)
        AppendMember(&object, table_.names()[i], cells[i], most_digits);
    PutElement(object.append("}"));
}

void JsonFilter::PutElement(const std::string& element) {
    const std::string text = (has_elements_ ? ",\r\n" : "[\r\n") + element;
    next_(text);
    has_elements_ = true;
}

void JsonFilter::CloseEntry() {
    if (std::exchange(is_entry_open_, false)) next_("}");
}

} // namespace onu_mng_platform
