#include "onu_mng_platform/common/cli/save_filter.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace onu_mng_platform {
namespace {

std::string CauseOf(int error) {
    return std::generic_category().message(error);
}

} // namespace

SaveFilter::SaveFilter(std::string path, Output next)
    : path_(std::move(path)), draft_path_(path_ + ".XXXXXX"), next_(next) {}

SaveFilter::~SaveFilter() {
    if (draft_ == nullptr) return;
    std::fclose(draft_);
    unlink(draft_path_.c_str());
}

std::string SaveFilter::Open() {
    struct stat there {};
    if (lstat(path_.c_str(), &there) == 0 && !S_ISREG(there.st_mode)) return "not a regular file";
    const int file = mkstemp(draft_path_.data());
    if (file < 0) return CauseOf(errno);
    draft_ = fdopen(file, "w");
    if (draft_ != nullptr) return {};
    const int error = errno;
    close(file);
    unlink(draft_path_.c_str());
    return CauseOf(error);
}

void SaveFilter::Put(std::string_view text) {
    size_ += text.size();
    Note(std::fwrite(text.data(), 1, text.size(), draft_) == text.size());
}

bool SaveFilter::Finish() {
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

// The first failure is the cause of those behind it.
void SaveFilter::Note(bool succeeded) {
    if (!succeeded && error_ == 0) error_ = errno;
}

} // namespace onu_mng_platform
