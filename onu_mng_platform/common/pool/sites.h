#ifndef ONU_MNG_PLATFORM_COMMON_POOL_SITES_H
#define ONU_MNG_PLATFORM_COMMON_POOL_SITES_H

#include <atomic>
#include <cstdint>

/// Sites: the places in source files that take blocks. Each site has a number, so the record of a block
/// stores it in four bytes.
namespace onu_mng_platform {

inline constexpr uint32_t kMaxSites = 1024;

/// The common number of all sites that do not fit into the table.
inline constexpr uint32_t kOtherSite = 0;

struct Site {
    const char* file;
    int line;
};

namespace detail {

/// An entry is valid once `file` is set. It never changes afterwards.
struct SiteEntry {
    std::atomic<const char*> file;
    std::atomic<int> line;

    bool Holds(const char* other_file, int other_line) const {
        return file.load(std::memory_order_acquire) == other_file &&
               line.load(std::memory_order_relaxed) == other_line;
    }
};

inline SiteEntry g_sites[kMaxSites]; // a hash table; the entry of kOtherSite stays empty

inline uint32_t SiteHash(const char* file, int line) {
    return (static_cast<uint32_t>(reinterpret_cast<uintptr_t>(file)) + static_cast<uint32_t>(line)) %
           kMaxSites;
}

} // namespace detail

/// Returns the number of a site, below kMaxSites. Takes a lock for a new site. Any thread may call it.
uint32_t SiteOf(const char* file, int line);

/// Returns the number of a site if its entry is at the index of its hash; otherwise kOtherSite. Takes no
/// lock.
inline uint32_t KnownSite(const char* file, int line) {
    const uint32_t likely = detail::SiteHash(file, line);
    return file != nullptr && detail::g_sites[likely].Holds(file, line) ? likely : kOtherSite;
}

/// Returns the site with a number.
Site SiteAt(uint32_t number);

} // namespace onu_mng_platform

#endif
