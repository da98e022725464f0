/// Lines typed on a terminal.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_CLI_EDITOR_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_CLI_EDITOR_H

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "onu_mng_platform/common/cli/assist.h"
#include "onu_mng_platform/posix/cli/event.h"

namespace onu_mng_platform {

/// Reads lines from standard input, a terminal, with editing, history, TAB and "?". Ctrl-C gives a line up,
/// Ctrl-V types a key that would do something.
///
/// While the process is in the background nothing is read or drawn: with events Read() waits, without them the
/// system stops the process. The settings of the terminal are restored when the process ends by exit().
///
/// One at a time in a process, used by one task.
class CliEditor {
public:
    /// What the keys ask, for the line up to the cursor.
    struct Keys {
        std::function<Completion(const std::string& line)> complete;
        std::function<std::string(const std::string& line)> describe;
    };

    /// What others tell the editor of a host's console.
    struct Events {
        const CliEvent& stop;   ///< reading ends
        const CliEvent& redraw; ///< something was written over the line, or is to stand above it
        const std::function<std::string()> take_text; ///< what is to stand above the line; does not throw
        const std::atomic<bool>& cancel_leaves;       ///< Ctrl-C on an empty line is the end of input
    };

    /// With `events`, which outlive it, no key is a signal between lines either: Ctrl-C is for commands, not
    /// for the host. Throws std::bad_alloc.
    CliEditor(const std::string& prompt, Keys keys, const Events* events = nullptr);
    ~CliEditor();
    CliEditor(const CliEditor&) = delete;
    CliEditor& operator=(const CliEditor&) = delete;

    /// Blocks until a line is typed.
    /// @return it, without its end; nothing at the end of input or after `stop`. Throws std::bad_alloc, with a
    ///         line lost.
    std::optional<std::string> Read();

    /// Whether reading has ended because the terminal is gone.
    bool IsCut() const;

    /// Takes the earlier lines from a file, the last 500 of them, and adds each line that is read from now
    /// on. Several editors may share the file.
    /// @return false, with errno set and nothing kept, for a file that cannot be opened, is no regular one or
    ///         belongs to another user. Throws std::bad_alloc.
    bool KeepHistory(const std::string& path);

private:
    class Editing;
    std::unique_ptr<Editing> editing_;
};

} // namespace onu_mng_platform

#endif
