/// The output filter that writes to a file.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_SAVE_FILTER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_SAVE_FILTER_H

#include <cstdio>

#include <sys/stat.h>

#include "onu_mng_platform/common/cli/filter.h"

namespace onu_mng_platform {

/// Saves output to a file instead of printing it. An existing file is replaced only when all output is on the
/// disk; on failure it stays unchanged. The new file gets its mode and, if permitted, its owner.
class SaveFilter final : public OutputFilter {
public:
    SaveFilter(std::string path, Output next) : path_(std::move(path)), next_(next) {}
    ~SaveFilter() override;
    SaveFilter(const SaveFilter&) = delete;
    SaveFilter& operator=(const SaveFilter&) = delete;

    /// Opens the file. Must be called first. Throws std::bad_alloc.
    /// @return an empty text, or the reason why the file cannot be opened.
    [[nodiscard]] std::string Open();

    void Put(std::string_view text) override;
    bool Finish() override;
    Output Errors() override { return next_; }

private:
    int CreateDraft();
    bool KeepAttributes(int file) const;
    void Note(bool succeeded);

    std::string path_;
    std::string draft_path_;
    Output next_;
    struct stat earlier_ {};
    bool has_earlier_ = false;
    std::FILE* draft_ = nullptr;
    size_t size_ = 0;
    int error_ = 0;
};

} // namespace onu_mng_platform

#endif
