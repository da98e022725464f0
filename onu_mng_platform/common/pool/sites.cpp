#include "onu_mng_platform/common/pool/sites.h"

#include <mutex>

#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {
namespace {

using detail::g_sites;

// A quarter stays empty, so searches stay short.
constexpr uint32_t kMaxUsed = kMaxSites / 4 * 3;

ShortLock g_lock; // guards insertion
uint32_t g_used = 0;

/// Returns the number of the site's entry, or of the empty entry where it belongs.
uint32_t Find(const char* file, int line) {
    for (uint32_t i = detail::SiteHash(file, line);; i = (i + 1) % kMaxSites) {
        if (i == kOtherSite) continue;
        if (g_sites[i].file.load(std::memory_order_acquire) == nullptr || g_sites[i].Holds(file, line))
            return i;
    }
}

uint32_t Insert(const char* file, int line) {
    const std::lock_guard<ShortLock> guard(g_lock);
    const uint32_t number = Find(file, line);
    if (g_sites[number].Holds(file, line)) return number;
    if (g_used == kMaxUsed) return kOtherSite;
    ++g_used;
    g_sites[number].line.store(line, std::memory_order_relaxed);
    g_sites[number].file.store(file, std::memory_order_release);
    return number;
}

} // namespace

uint32_t SiteOf(const char* file, int line) {
    if (file == nullptr) file = "(unknown)";
    const uint32_t number = Find(file, line);
    return g_sites[number].Holds(file, line) ? number : Insert(file, line);
}

Site SiteAt(uint32_t number) {
    const char* const file = g_sites[number].file.load(std::memory_order_acquire);
    if (file == nullptr) return {"(elsewhere)", 0};
    return {file, g_sites[number].line.load(std::memory_order_relaxed)};
}

} // namespace onu_mng_platform
