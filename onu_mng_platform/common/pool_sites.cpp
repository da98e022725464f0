#include "onu_mng_platform/common/pool_sites.h"

#include <atomic>
#include <mutex>

namespace onu_mng_platform {
namespace {

/// An entry is complete once `file` is set, and never changes again.
struct Entry {
    std::atomic<const char*> file;
    std::atomic<int> line;
};

// Kept a quarter empty, so that a search soon ends.
constexpr uint32_t kMaxUsed = kMaxSites / 4 * 3;

Entry g_entries[kMaxSites]; // hashed; entry 0 stays empty for kOtherSite
uint32_t g_used = 0;
std::mutex g_lock; // guards insertion

uint32_t HashOf(const char* file, int line) {
    const auto key = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(file)) + static_cast<uint32_t>(line);
    return static_cast<uint32_t>(key * 0x9E3779B97F4A7C15 >> 48) % kMaxSites;
}

/// Returns the place's entry, or the empty one where it belongs.
uint32_t Find(const char* file, int line) {
    for (uint32_t i = HashOf(file, line);; i = (i + 1) % kMaxSites) {
        if (i == kOtherSite) continue;
        const char* const here = g_entries[i].file.load(std::memory_order_acquire);
        if (here == nullptr) return i;
        if (here == file && g_entries[i].line.load(std::memory_order_relaxed) == line) return i;
    }
}

uint32_t Insert(const char* file, int line) {
    const std::lock_guard<std::mutex> guard(g_lock);
    const uint32_t number = Find(file, line);
    if (g_entries[number].file.load(std::memory_order_relaxed) != nullptr) return number;
    if (g_used == kMaxUsed) return kOtherSite;
    ++g_used;
    g_entries[number].line.store(line, std::memory_order_relaxed);
    g_entries[number].file.store(file, std::memory_order_release);
    return number;
}

} // namespace

uint32_t SiteOf(const char* file, int line) {
    if (file == nullptr) file = "(unknown)";
    const uint32_t number = Find(file, line);
    if (g_entries[number].file.load(std::memory_order_relaxed) != nullptr) return number;
    return Insert(file, line);
}

Site SiteAt(uint32_t number) {
    if (number == kOtherSite) return {"(elsewhere)", 0};
    return {g_entries[number].file.load(std::memory_order_acquire),
            g_entries[number].line.load(std::memory_order_relaxed)};
}

} // namespace onu_mng_platform
