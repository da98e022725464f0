#ifndef ONU_MNG_PLATFORM_COMMON_LOG_STANDARD_ERROR_H
#define ONU_MNG_PLATFORM_COMMON_LOG_STANDARD_ERROR_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace onu_mng_platform {

/// Standard error, which may be a terminal that its operator has stopped or a pipe whose reader hangs. A line
/// waits a moment for it; while it takes nothing, further lines are lost at once, so that no task stands
/// still for them.
///
/// Constant-initialised and never destroyed. One task at a time.
class StandardError {
public:
    /// @return false when the line was lost, or its end.
    bool Write(const char* line, size_t size);

private:
    enum class Kind : unsigned char { kFile, kPipe, kSocket };

    void Find();
    bool WriteAll(const char* data, size_t size, size_t* done);
    bool WaitUntil(int64_t deadline, bool was_ready);
    ssize_t Put(const char* data, size_t size) const;

    dev_t device_ = 0; // what standard error was when it was found
    ino_t file_ = 0;
    int descriptor_ = -1;
    bool is_own_ = false; // opened here
    Kind kind_ = Kind::kFile;
    bool is_stuck_ = false;
    bool is_torn_ = false; // the last line was lost in the middle
};

} // namespace onu_mng_platform

#endif
