/// The lines of earlier sessions.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_HISTORY_FILE_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_HISTORY_FILE_H

#include <deque>
#include <string>

#include "onu_mng_platform/posix/cli/descriptor.h"

namespace onu_mng_platform {

/// A file with one line for each line typed, the last one at the end. Several processes may share it.
///
/// Used by one task. No operation waits for another process longer than 0.2 s. What cannot be written is not
/// kept. All but Open() do nothing unless the file is open.
class HistoryFile {
public:
    /// Opens the file, or creates it with mode 0600.
    /// @return false, with errno set, when it cannot be opened, is a link or no regular file, or belongs to
    ///         another user.
    bool Open(const std::string& path);

    /// The last `most` lines. A file with more than twice as many is cut to them. Throws std::bad_alloc.
    std::deque<std::string> Read(size_t most);

    /// Throws std::bad_alloc.
    void Append(const std::string& line);

private:
    Descriptor file_;
};

} // namespace onu_mng_platform

#endif
