#include "olt_host/operators/charts.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace olt_host {

namespace {

/// Writes text to a file; with std::ios::app appends it. Does nothing if the path is empty.
/// @return an error message; empty on success.
std::string Put(const std::string& path, const std::string& text, std::ios::openmode mode) {
    if (path.empty()) return {};
    errno = 0;
    std::ofstream file(path, mode);
    file << text << std::flush;
    return file ? std::string() : path + ": " + std::strerror(errno);
}

} // namespace

std::string Charts::Check() const {
    const std::string failed = Put(options.state_file, "", std::ios::app);
    return failed.empty() ? Put(options.sequence_file, "", std::ios::app) : failed;
}

std::string Charts::Write() const {
    const std::string failed = Put(options.state_file, states.Dot(), std::ios::trunc);
    const std::string also_failed = Put(options.sequence_file, sequence.Mermaid(), std::ios::trunc);
    return failed.empty() ? also_failed : failed;
}

} // namespace olt_host
