/// How long a typed line may become.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_LINE_ROOM_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_LINE_ROOM_H

#include <string_view>

namespace onu_mng_platform {

/// Tells characters that would make a line longer than the window from keys that do something. The editing
/// library adds a character at the end of a line without looking whether its copy of the window has a row for
/// it, and writes beyond the copy.
///
/// Used by one task.
class LineRoom {
public:
    /// Takes the next key; one that is quoted becomes a part of the line, whatever it is.
    /// @return whether the library may have it when `line` is typed and the window has `columns` in all its
    ///         rows, those of the prompt not counted.
    bool Admits(wchar_t key, bool is_quoted, std::string_view line, size_t columns);

private:
    enum class State : unsigned char { kLine, kEscape, kSequence };

    bool TakeSequence(wchar_t key);

    State state_ = State::kLine;
};

} // namespace onu_mng_platform

#endif
