#ifndef ONU_MNG_PLATFORM_COMMON_LOG_STANDARD_ERROR_H
#define ONU_MNG_PLATFORM_COMMON_LOG_STANDARD_ERROR_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace onu_mng_platform {

/// The time that all log lines together may wait for a reader: at most 0.2 s in any 2 s. The budget holds up
/// to 0.1 s and regains 0.05 s per second.
class WaitBudget {
public:
    int64_t Left(int64_t now_ns);
    void Spend(int64_t duration_ns) { left_ns_ -= duration_ns; }

private:
    static constexpr int64_t kMostNs = 100'000'000;
    static constexpr int64_t kShare = 20; // the budget regains 1/20 of the elapsed time

    int64_t left_ns_ = kMostNs;
    int64_t counted_ns_ = 0; // when the budget was last refilled
};

/// Writes lines to standard error, which may be a stopped terminal or a pipe with a slow or hanging reader. A
/// line waits for room as long as the budget lasts; then it is lost.
///
/// Constant-initialised and never destroyed. One task at a time.
class StandardError {
public:
    /// Writes one line. @return false if the line was lost, wholly or in part.
    [[nodiscard]] bool Write(const char* line, size_t size);

private:
    enum class Kind : unsigned char { kFile, kPipe, kSocket };

    void Find();
    bool WriteAll(const char* data, size_t size, size_t* done);
    bool WaitForRoom(bool was_ready);
    ssize_t Put(const char* data, size_t size) const;

    dev_t device_ = 0; // identity of standard error when the descriptor was found
    ino_t file_ = 0;
    int descriptor_ = -1;
    bool is_own_ = false; // `descriptor_` was opened here
    Kind kind_ = Kind::kFile;
    size_t piece_ = 0;     // bytes that a ready blocking descriptor accepts at once; 0: non-blocking
    bool is_torn_ = false; // only a part of the last line was written
    WaitBudget budget_;
};

} // namespace onu_mng_platform

#endif
