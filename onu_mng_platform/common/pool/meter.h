#ifndef ONU_MNG_PLATFORM_COMMON_POOL_METER_H
#define ONU_MNG_PLATFORM_COMMON_POOL_METER_H

#include <algorithm>
#include <atomic>
#include <cstddef>

namespace onu_mng_platform {

/// The bytes that one thread may take without making a new peak: its share of what lies between the bytes in
/// use and their peak. What the thread takes comes out of it, what it returns goes into it.
///
/// Thread safety: TakeAll() may be called from any thread, the rest by one thread at a time.
class Allowance {
public:
    static constexpr size_t kMost = 8 * 1024;

    /// Returns false, with nothing spent, when that is too much.
    bool Spend(size_t bytes) {
        size_t left = bytes_.load(std::memory_order_relaxed);
        while (left >= bytes) {
            if (bytes_.compare_exchange_weak(left, left - bytes, std::memory_order_relaxed)) return true;
        }
        return false;
    }

    /// Returns false when there is now more than a thread should keep to itself.
    bool Add(size_t bytes) { return bytes_.fetch_add(bytes, std::memory_order_relaxed) + bytes <= kMost; }

    size_t Bytes() const { return bytes_.load(std::memory_order_relaxed); }
    size_t TakeAll() { return Bytes() == 0 ? 0 : bytes_.exchange(0, std::memory_order_relaxed); }

private:
    std::atomic<size_t> bytes_{0};
};

/// Counts the bytes in use with their exact peak, without a place that every request writes: the bytes in
/// use, all allowances and the bytes to spare are together the peak.
///
/// Thread safety: under the pool's lock.
class PeakMeter {
public:
    size_t Peak() const { return peak_; }
    size_t Spare() const { return spare_; }

    /// Takes what there is to spare, at most `bytes`, and returns how much that was.
    size_t Draw(size_t bytes) {
        const size_t drawn = std::min(spare_, bytes);
        spare_ -= drawn;
        return drawn;
    }
    void Return(size_t bytes) { spare_ += bytes; }

    /// Makes a new peak: `bytes` more than ever before are in use.
    void Raise(size_t bytes) { peak_ += bytes; }

private:
    size_t peak_ = 0;
    size_t spare_ = 0;
};

} // namespace onu_mng_platform

#endif
