#ifndef ONU_MNG_PLATFORM_COMMON_LOG_STANDARD_ERROR_H
#define ONU_MNG_PLATFORM_COMMON_LOG_STANDARD_ERROR_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace onu_mng_platform {

/// The time that log lines may wait for a reader: at most 0.2 s in any 2 s, all lines together. Up to 0.1 s is
/// saved, and 0.05 s comes back each second.
class WaitBudget {
public:
    int64_t Left(int64_t now_ns);
    void Spend(int64_t duration_ns) { left_ns_ -= duration_ns; }

private:
    static constexpr int64_t kMostNs = 100'000'000;
    static constexpr int64_t kShare = 20; // a twentieth of the time that passes comes back

    int64_t left_ns_ = kMostNs;
    int64_t counted_ns_ = 0; // the time up to which it was filled
};

/// Standard error, which may be a terminal that its operator has stopped or a pipe whose reader is slow or
/// hangs. A line that finds no room waits for as long as the budget lasts, and is lost otherwise.
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
    bool WaitForRoom(bool was_ready);
    ssize_t Put(const char* data, size_t size) const;

    dev_t device_ = 0; // what standard error was when it was found
    ino_t file_ = 0;
    int descriptor_ = -1;
    bool is_own_ = false; // opened here
    Kind kind_ = Kind::kFile;
    size_t piece_ = 0;     // what a descriptor that blocks takes at once when it is ready; 0: never blocks
    bool is_torn_ = false; // the last line was lost in the middle
    WaitBudget budget_;
};

} // namespace onu_mng_platform

#endif
