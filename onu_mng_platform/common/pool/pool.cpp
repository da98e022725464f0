#include "onu_mng_platform/common/pool/pool.h"

#include <atomic>
#include <mutex>

#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/pool/core.h"
#include "onu_mng_platform/common/pool/list.h"
#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {
namespace {

ShortLock g_creation;
std::atomic<Pool*> g_pools[kMaxPools];
std::atomic<int> g_count{0};

} // namespace

Pool* PoolAt(int pool_id) {
    if (pool_id < 0 || pool_id >= g_count.load(std::memory_order_acquire)) return nullptr;
    return g_pools[pool_id].load(std::memory_order_relaxed);
}

int PoolCreate(const char* name, unsigned int size) {
    if (size == 0) return -1;
    const std::lock_guard<ShortLock> guard(g_creation);
    const int pool_id = g_count.load(std::memory_order_relaxed);
    if (pool_id == kMaxPools) return -1;
    Pool* const pool = Pool::Create(name, size);
    if (pool == nullptr) return -1;
    g_pools[pool_id].store(pool, std::memory_order_relaxed);
    g_count.store(pool_id + 1, std::memory_order_release);
    return pool_id;
}

void* PoolAlloc(int pool_id, unsigned int size, const char* file, int line) {
    Pool* const pool = PoolAt(pool_id);
    return pool == nullptr ? nullptr : pool->Alloc(size, file, line);
}

int PoolFree(void* block) {
    const int count = g_count.load(std::memory_order_acquire);
    for (int i = 0; i < count; ++i) {
        Pool* const pool = g_pools[i].load(std::memory_order_relaxed);
        if (pool->Contains(block)) return pool->Free(block);
    }
    LogPort(13, "Refused to free %s, which is in no pool\r\n", block == nullptr ? "null" : "an address");
    return -1;
}

int PoolGetStat(int pool_id, mpu_stat* stat) {
    const Pool* const pool = PoolAt(pool_id);
    if (pool == nullptr || stat == nullptr) return -1;
    *stat = pool->Stat();
    return 0;
}

PoolPlace PoolLocate(const void* address) {
    const int count = g_count.load(std::memory_order_acquire);
    for (int i = 0; i < count; ++i) {
        const Pool* const pool = g_pools[i].load(std::memory_order_relaxed);
        if (pool->Contains(address)) return {i, pool->OffsetOf(address)};
    }
    return {-1, 0};
}

void PoolFlushSlot(unsigned int slot) {
    const int count = g_count.load(std::memory_order_acquire);
    for (int i = 0; i < count; ++i)
        g_pools[i].load(std::memory_order_relaxed)->Flush(slot);
}

} // namespace onu_mng_platform
