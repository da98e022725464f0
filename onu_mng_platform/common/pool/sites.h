#ifndef ONU_MNG_PLATFORM_COMMON_POOL_SITES_H
#define ONU_MNG_PLATFORM_COMMON_POOL_SITES_H

#include <atomic>
#include <cstdint>

/// The places in source files that take blocks, each known by a small number, so that a block carries four
/// bytes and a view counts by number.
namespace onu_mng_platform {

inline constexpr uint32_t kMaxSites = 1024;

/// The number of all places that came after the table was full.
inline constexpr uint32_t kOtherSite = 0;

struct Site {
    const char* file;
    int line;
};

namespace detail {

/// An entry is complete once `file` is set, and never changes again.
struct SiteEntry {
    std::atomic<const char*> file;
    std::atomic<int> line;

    bool Holds(const char* other_file, int other_line) const {
        return file.load(std::memory_order_acquire) == other_file &&
               line.load(std::memory_order_relaxed) == other_line;
    }
};

inline SiteEntry g_sites[kMaxSites]; // hashed; that of kOtherSite stays empty

inline uint32_t SiteHash(const char* file, int line) {
    const auto key = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(file)) + static_cast<uint32_t>(line);
    return static_cast<uint32_t>(key * 0x9E37'79B9'7F4A'7C15 >> 48) % kMaxSites;
}

uint32_t SearchSite(const char* file, int line);

} // namespace detail

/// Returns the number of a place, below kMaxSites. Any thread; takes a lock the first time a place is seen.
inline uint32_t SiteOf(const char* file, int line) {
    const uint32_t likely = detail::SiteHash(file, line);
    if (file != nullptr && detail::g_sites[likely].Holds(file, line)) return likely;
    return detail::SearchSite(file, line);
}

/// Returns the place behind a number.
Site SiteAt(uint32_t number);

} // namespace onu_mng_platform

#endif
