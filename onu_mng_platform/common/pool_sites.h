#ifndef ONU_MNG_PLATFORM_COMMON_POOL_SITES_H
#define ONU_MNG_PLATFORM_COMMON_POOL_SITES_H

#include <cstdint>

/// The places in source files that take blocks, each known by a small number, so that a block carries four
/// bytes and a view counts by number.
namespace onu_mng_platform {

inline constexpr uint32_t kMaxSites = 1024;

/// The number of all places that came after the table was full.
inline constexpr uint32_t kOtherSite = 0;

/// Returns the number of a place, below kMaxSites. Any thread; takes a lock the first time a place is seen.
uint32_t SiteOf(const char* file, int line);

struct Site {
    const char* file;
    int line;
};

/// Returns the place behind a number.
Site SiteAt(uint32_t number);

} // namespace onu_mng_platform

#endif
