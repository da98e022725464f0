#include "onu_mng_platform/common/pool/pool.h"

#include <atomic>
#include <mutex>

#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/pool/core.h"
#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {
namespace {

/// The region of a pool, next to its pointer. So the search for the pool of an address reads only this table.
struct Entry {
    uintptr_t begin;
    size_t bytes;
    Pool* pool;

    bool Contains(const void* address) const { return reinterpret_cast<uintptr_t>(address) - begin < bytes; }
};

ShortLock g_creation;
Entry g_pools[kMaxPools]; // those below g_count never change
std::atomic<int> g_count{0};

/// Returns the entry of the pool that an address lies in; null if it lies in none.
const Entry* Find(const void* address) {
    const int count = g_count.load(std::memory_order_acquire);
    const Entry* const end = g_pools + count;
    for (const Entry* entry = g_pools; entry != end; ++entry) {
        if (entry->Contains(address)) return entry;
    }
    return nullptr;
}

[[gnu::noinline]] int RefuseForeign(const void* address) {
    LogPort(13, "Refused to free %s, which is in no pool\r\n", address == nullptr ? "null" : "an address");
    return -1;
}

} // namespace

Pool* PoolAt(int pool_id) {
    const auto id = static_cast<unsigned int>(pool_id); // a negative id becomes a very large one
    if (id >= static_cast<unsigned int>(g_count.load(std::memory_order_acquire))) return nullptr;
    return g_pools[id].pool;
}

int PoolCreate(const char* name, unsigned int size) {
    if (size == 0) return -1;
    const std::lock_guard<ShortLock> guard(g_creation);
    const int pool_id = g_count.load(std::memory_order_relaxed);
    if (pool_id == kMaxPools) return -1;
    Pool* const pool = Pool::Create(name, size);
    if (pool == nullptr) return -1;
    g_pools[pool_id] = {reinterpret_cast<uintptr_t>(pool->Region()), pool->RegionBytes(), pool};
    g_count.store(pool_id + 1, std::memory_order_release);
    return pool_id;
}

void* PoolAlloc(int pool_id, unsigned int size, const char* file, int line) {
    const auto id = static_cast<unsigned int>(pool_id); // a negative id becomes a very large one
    if (id >= static_cast<unsigned int>(g_count.load(std::memory_order_acquire))) return nullptr;
    return g_pools[id].pool->Alloc(size, file, line);
}

int PoolFree(void* block) {
    const Entry* const entry = Find(block);
    if (entry == nullptr) return RefuseForeign(block);
    return entry->pool->Free(block, reinterpret_cast<uintptr_t>(block) - entry->begin);
}

int PoolGetStat(int pool_id, mpu_stat* stat) {
    const Pool* const pool = PoolAt(pool_id);
    if (pool == nullptr || stat == nullptr) return -1;
    *stat = pool->Stat();
    return 0;
}

PoolPlace PoolLocate(const void* address) {
    const Entry* const entry = Find(address);
    if (entry == nullptr) return {-1, 0};
    return {static_cast<int>(entry - g_pools), entry->pool->OffsetOf(address)};
}

void PoolFlushSlot(unsigned int slot) {
    const int count = g_count.load(std::memory_order_acquire);
    for (int i = 0; i < count; ++i)
        g_pools[i].pool->Flush(slot);
}

} // namespace onu_mng_platform
