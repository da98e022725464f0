/// Pool blocks with a known content.
#ifndef ONU_MNG_TESTS_SUPPORT_POOL_BLOCKS_H
#define ONU_MNG_TESTS_SUPPORT_POOL_BLOCKS_H

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "onu_mng_platform/mpu.h"

inline void* Take(int pool, unsigned int size) {
    return mpuAlloc_(pool, size, __FILE__, __LINE__);
}

inline mpu_stat StatOf(int pool) {
    mpu_stat stat{};
    mpuGetStat(pool, &stat);
    return stat;
}

struct Block {
    char* address = nullptr; ///< null if the pool had no block
    unsigned int size = 0;
    char fill = 0;

    /// Allocates a block and fills all its bytes.
    static Block Take(int pool, unsigned int size, char fill) {
        Block block{static_cast<char*>(::Take(pool, size)), size, fill};
        if (block.address != nullptr) std::memset(block.address, fill, block.Rounded());
        return block;
    }

    size_t Rounded() const { return (size_t{size} + 15) / 16 * 16; }
    bool IsIntact() const {
        return std::all_of(address, address + Rounded(), [this](char c) { return c == fill; });
    }
};

#endif
