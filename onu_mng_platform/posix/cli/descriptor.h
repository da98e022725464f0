/// A file descriptor that closes itself.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_DESCRIPTOR_H
#define ONU_MNG_PLATFORM_POSIX_CLI_DESCRIPTOR_H

#include <utility>

#include <unistd.h>

namespace onu_mng_platform {

class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() { Close(); }

    int get() const { return number_; }
    bool IsOpen() const { return number_ >= 0; }
    void Close() {
        if (IsOpen()) close(std::exchange(number_, -1));
    }

private:
    int number_ = -1;
};

} // namespace onu_mng_platform

#endif
