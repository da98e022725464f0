#include "onu_mng_platform/sim/blocks.h"

#include <cstring>

#include "onu_mng_platform/common/pool/pool.h"

namespace onu_mng_platform {

namespace {

constexpr int kNotWritten = 0xCD;
constexpr int kGivenBack = 0xDD;

} // namespace

void Blocks::Begin() {
    mpu_stat stat;
    while (PoolGetStat(old_pools, &stat) == 0)
        ++old_pools;
}

std::int64_t Blocks::PoolNumber(int pool_id) const {
    const std::int64_t number = pool_id;
    return number < old_pools ? -1 - number : number - old_pools + 1;
}

std::int64_t Blocks::Number(const void* block) const {
    const auto entry = blocks.find(block);
    return entry != blocks.end() ? entry->second.number : 0;
}

std::int64_t Blocks::Taken(void* block, std::size_t size) {
    if (block == nullptr) return 0;
    blocks[block] = {++last_number, size};
    std::memset(block, kNotWritten, size);
    return last_number;
}

// Free blocks may be overwritten: the pool stores no data in them.
void Blocks::Returned(void* block) {
    const auto entry = blocks.find(block);
    if (entry == blocks.end()) return;
    std::memset(block, kGivenBack, entry->second.size);
    entry->second.size = 0;
}

} // namespace onu_mng_platform
