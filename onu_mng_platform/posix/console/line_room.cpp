#include "onu_mng_platform/posix/console/line_room.h"

#include <algorithm>

namespace onu_mng_platform {
namespace {

constexpr size_t kMostBytes = 2048;     // twice the longest line that a host accepts
constexpr size_t kKeptForSequences = 4; // columns for an unknown escape sequence, which becomes text
constexpr size_t kColumnsOfByte = 4;    // maximum per byte of a character that is not printable ASCII

size_t ColumnsOf(std::string_view text) {
    const auto plain = std::count_if(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
    return text.size() * kColumnsOfByte - static_cast<size_t>(plain) * (kColumnsOfByte - 1);
}

// A character that cannot be shown takes up to 8 columns: "\U+1F600".
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

/// Follows escape sequences: the keys after ESC, ESC [ and ESC O mostly belong to a function key.
/// @return whether `key` belongs to an escape sequence.
bool LineRoom::TakeSequence(wchar_t key) {
    constexpr wchar_t kEscape = L'\x1b';
    const State before = state_;
    state_ = State::kLine;
    if (key == kEscape) state_ = State::kEscape;
    if (before == State::kEscape && (key == L'[' || key == L'O')) state_ = State::kSequence;
    return before != State::kLine;
}

} // namespace onu_mng_platform
