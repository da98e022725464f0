/// A temporary directory for a test.
#ifndef ONU_MNG_TESTS_SUPPORT_TEMPORARY_DIRECTORY_H
#define ONU_MNG_TESTS_SUPPORT_TEMPORARY_DIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <string>

/// The destructor removes the directory with its contents.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        char name[] = "/tmp/onu_mng_test_XXXXXX"; // short, because the paths of sockets are limited
        path = mkdtemp(name);
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(path); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    std::string path;
};

#endif
