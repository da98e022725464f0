#ifndef ONU_MNG_PLATFORM_COMMON_POOL_METER_H
#define ONU_MNG_PLATFORM_COMMON_POOL_METER_H

#include <cstddef>

namespace onu_mng_platform {

/// Keeps the exact peak of the bytes in use without being told of every request. It counts the bytes in use
/// and those of stocked blocks that are still paid for (BlockState): whoever takes such a block again makes
/// no new peak and need not come here.
///
/// Thread safety: under the pool's lock.
class PeakMeter {
public:
    size_t Peak() const { return peak_; }
    size_t Paid() const { return paid_; }

    /// True when `bytes` more would make a new peak unless stocked blocks pay for them.
    bool IsShort(size_t bytes) const { return peak_ - paid_ < bytes; }

    void Pay(size_t bytes) {
        paid_ += bytes;
        if (paid_ > peak_) peak_ = paid_;
    }
    void PayBack(size_t bytes) { paid_ -= bytes; }

private:
    size_t peak_ = 0;
    size_t paid_ = 0;
};

} // namespace onu_mng_platform

#endif
