/// A line editor for a terminal.
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

/// Reads lines from a terminal on standard input, with editing, history, TAB and "?". Ctrl-C cancels a line.
/// Ctrl-V inserts the next key literally.
///
/// While the process is in the background nothing is read or drawn: with events Read() waits, without them
/// the system stops the process. exit() restores the settings of the terminal.
///
/// A process has one editor at a time. Used by one task.
class CliEditor {
public:
    /// The functions for TAB and "?". They get the line up to the cursor.
    struct Keys {
        std::function<Completion(const std::string& line)> complete;
        std::function<std::string(const std::string& line)> describe;
    };

    /// Events from other tasks, for the console of a host.
    struct Events {
        const CliEvent& stop;   ///< reading must end
        const CliEvent& redraw; ///< the line was overwritten, or `take_text` has new text
        /// Returns text to print above the line. Must not throw.
        const std::function<std::string()> take_text;
        const std::atomic<bool>& cancel_leaves; ///< Ctrl-C on an empty line ends the input
    };

    /// Makes an editor. With `events`, no key raises a signal, not even between lines, because Ctrl-C must
    /// not end the host. `events` must outlive the editor. Throws std::bad_alloc.
    CliEditor(const std::string& prompt, Keys keys, const Events* events = nullptr);
    ~CliEditor();
    CliEditor(const CliEditor&) = delete;
    CliEditor& operator=(const CliEditor&) = delete;

    /// Blocks until a line has been typed. Throws std::bad_alloc; the line is then lost.
    /// @return the line without its line end; nothing at the end of input or after `stop`.
    std::optional<std::string> Read();

    /// Returns whether reading has ended because the terminal has disappeared.
    bool IsCut() const;

    /// Loads the last 500 lines of a history file and appends each further line to it. Several editors may
    /// share the file. Throws std::bad_alloc.
    /// @return false, with errno set, if the file cannot be opened, is not a regular file or belongs to
    ///         another user. There is no history file then.
    bool KeepHistory(const std::string& path);

private:
    class Editing;
    std::unique_ptr<Editing> editing_;
};

} // namespace onu_mng_platform

#endif
