/// The pool blocks of one run.
#ifndef ONU_MNG_PLATFORM_SIM_BLOCKS_H
#define ONU_MNG_PLATFORM_SIM_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace onu_mng_platform {

/// Numbers the pools and blocks of a run, independently of earlier ones. Fills blocks when they are allocated
/// and freed, so that a program that reads uninitialised or freed memory finds neither zeros nor its old
/// bytes.
class Blocks {
public:
    /// Starts a run: new pools count from 1.
    void Begin();

    /// Returns the number of a pool: below 0 for a pool from before the run, 0 for an invalid id.
    std::int64_t PoolNumber(int pool_id) const;
    /// Returns the number of a block; 0 for a block that was not allocated in the run.
    std::int64_t Number(const void* block) const;

    /// Records an allocation. Returns the block's number, from 1; 0 for null.
    std::int64_t Taken(void* block, std::size_t size);
    void Returned(void* block);

private:
    struct Block {
        std::int64_t number;
        std::size_t size; ///< 0: freed
    };

    int old_pools = 0;
    std::int64_t last_number = 0;
    std::unordered_map<const void*, Block> blocks;
};

} // namespace onu_mng_platform

#endif
