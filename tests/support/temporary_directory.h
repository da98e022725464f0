/// A directory for the time of a test.
#ifndef ONU_MNG_TESTS_SUPPORT_TEMPORARY_DIRECTORY_H
#define ONU_MNG_TESTS_SUPPORT_TEMPORARY_DIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <string>

/// Removed with all that is in it.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        char name[] = "/tmp/onu_mng_test_XXXXXX"; // short: sockets have short paths
        path = mkdtemp(name);
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(path); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string path;
};

#endif
