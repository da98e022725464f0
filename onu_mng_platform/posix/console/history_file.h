/// The file with the lines of earlier sessions.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_HISTORY_FILE_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_HISTORY_FILE_H

#include <deque>
#include <string>

#include "onu_mng_platform/posix/cli/descriptor.h"

namespace onu_mng_platform {

/// A file of typed lines, the oldest first. Several processes may share it.
///
/// Used by one task. An operation waits for other processes for at most 0.2 s. Write errors are ignored.
/// Read() and Append() do nothing if the file is not open.
class HistoryFile {
public:
    /// Opens the file, or creates it with mode 0600.
    /// @return false, with errno set, if it cannot be opened, is a link or not a regular file, or belongs to
    ///         another user.
    bool Open(const std::string& path);

    /// Returns the last `most` lines. If the file has more than twice as many, cuts it to these. Throws
    /// std::bad_alloc.
    std::deque<std::string> Read(size_t most);

    /// Throws std::bad_alloc.
    void Append(const std::string& line);

private:
    Descriptor file_;
};

} // namespace onu_mng_platform

#endif
