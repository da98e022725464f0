/// Limits the length of a typed line.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_LINE_ROOM_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_LINE_ROOM_H

#include <string_view>

namespace onu_mng_platform {

/// Refuses characters that would make a line longer than the window. It exists because the editing library
/// appends a character without checking that its copy of the window has room, and writes past the end of that
/// copy.
///
/// Used by one task.
class LineRoom {
public:
    /// Checks the next key. A quoted key always becomes part of the line; otherwise a control key is always
    /// admitted.
    /// @return whether the key may be passed to the library. `line` is the typed line, `columns` the number
    ///         of columns in all rows of the window without the prompt.
    bool Admits(wchar_t key, bool is_quoted, std::string_view line, size_t columns);

private:
    enum class State : unsigned char { kLine, kEscape, kSequence };

    bool TakeSequence(wchar_t key);

    State state_ = State::kLine;
};

} // namespace onu_mng_platform

#endif
