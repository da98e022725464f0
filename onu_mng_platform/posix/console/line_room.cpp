#include "onu_mng_platform/posix/console/line_room.h"

#include <algorithm>

namespace onu_mng_platform {
namespace {

constexpr size_t kMostBytes = 2048;     // twice what a host takes
constexpr size_t kKeptForSequences = 4; // columns: those that the library does not know become text
constexpr size_t kColumnsOfByte = 4;    // at most, of a character that is not ASCII or not printable

size_t ColumnsOf(std::string_view text) {
    const auto plain = std::count_if(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return text.size() * kColumnsOfByte - static_cast<size_t>(plain) * (kColumnsOfByte - 1);
}

// One that cannot be shown takes up to "\U+10FFFF".
size_t ColumnsOf(wchar_t key) {
    constexpr size_t kMost = 8;
    return key >= L' ' && key <= L'~' ? 1 : kMost;
}

} // namespace

bool LineRoom::Admits(wchar_t key, bool is_quoted, std::string_view line, size_t columns) {
    const bool is_sequence = TakeSequence(key);
    const bool is_control = key < L' ' || key == L'\x7f';
    if (is_control && !is_quoted) return true;
    const size_t needed = ColumnsOf(line) + ColumnsOf(key) + (is_sequence ? 0 : kKeptForSequences);
    return line.size() < kMostBytes && needed < columns;
}

/// What stands behind ESC, or ESC [ and ESC O, is most often a key that does something.
/// @return whether `key` stands there.
bool LineRoom::TakeSequence(wchar_t key) {
    constexpr wchar_t kEscape = L'\x1b';
    const State before = state_;
    state_ = State::kLine;
    if (key == kEscape) state_ = State::kEscape;
    if (before == State::kEscape && (key == L'[' || key == L'O')) state_ = State::kSequence;
    return before != State::kLine;
}

} // namespace onu_mng_platform
