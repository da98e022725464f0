#include "onu_mng_platform/common/cli/save_filter.h"

#include <atomic>
#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

std::string CauseOf(int error) {
    return std::generic_category().message(error);
}

} // namespace

SaveFilter::~SaveFilter() {
    if (draft_ == nullptr) return;
    std::fclose(draft_);
    unlink(draft_path_.c_str());
}

std::string SaveFilter::Open() {
    has_earlier_ = lstat(path_.c_str(), &earlier_) == 0;
    if (has_earlier_ && !S_ISREG(earlier_.st_mode)) return "not a regular file";
    const int file = CreateDraft();
    if (file < 0) return CauseOf(errno);
    draft_ = fdopen(file, "w");
    if (draft_ != nullptr) return {};
    const int error = errno;
    close(file);
    unlink(draft_path_.c_str());
    return CauseOf(error);
}

// A new file gets the default mode. A file that replaces another is private until it gets the other file's
// mode.
int SaveFilter::CreateDraft() {
    static std::atomic<unsigned int> last_number{0};
    constexpr int kTries = 100;
    const mode_t mode = has_earlier_ ? 0600 : 0666;
    int file = -1;
    for (int i = 0; i < kTries; ++i) {
        draft_path_ = path_ + "." + std::to_string(getpid()) + "-" + std::to_string(++last_number);
        file = open(draft_path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        if (file >= 0 || errno != EEXIST) break;
    }
    return file;
}

// The result of fchown() is ignored, because only root can change the owner. Other users keep at least the
// mode.
bool SaveFilter::KeepAttributes(int file) const {
    (void)!fchown(file, earlier_.st_uid, earlier_.st_gid);
    return fchmod(file, earlier_.st_mode & 0777) == 0;
}

void SaveFilter::Put(std::string_view text) {
    size_ += text.size();
    Note(std::fwrite(text.data(), 1, text.size(), draft_) == text.size());
}

bool SaveFilter::Finish() {
    if (has_earlier_) Note(KeepAttributes(fileno(draft_)));
    Note(std::fflush(draft_) == 0 && fsync(fileno(draft_)) == 0);
    Note(std::fclose(draft_) == 0);
    draft_ = nullptr;
    if (error_ == 0) Note(std::rename(draft_path_.c_str(), path_.c_str()) == 0);
    if (error_ == 0) {
        next_(std::to_string(size_).append(" bytes saved to ").append(path_).append("\r\n"));
        return true;
    }
    unlink(draft_path_.c_str());
    next_("% Cannot save: " + CauseOf(error_) + ".\r\n");
    return false;
}

// Keeps the first error, because it causes the later ones.
void SaveFilter::Note(bool succeeded) {
    if (!succeeded && error_ == 0) error_ = errno;
}

} // namespace onu_mng_platform
