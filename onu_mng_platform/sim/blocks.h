/// The pool blocks of one run.
#ifndef ONU_MNG_PLATFORM_SIM_BLOCKS_H
#define ONU_MNG_PLATFORM_SIM_BLOCKS_H

#include <cstddef>
#include <cstdint>
#include <unordered_map>

namespace onu_mng_platform {

/// Numbers pools and blocks independently of what was there before the run, and fills blocks: a program that
/// reads what it has not written yet, or what it has given back already, finds neither zeros nor its old
/// bytes.
class Blocks {
public:
    /// Pools from now on count from 1.
    void Begin();

    /// Of a pool that was there before: below 0; of none: 0.
    std::int64_t PoolNumber(int pool_id) const;
    /// Of a block that was not taken in the run: 0.
    std::int64_t Number(const void* block) const;

    /// Returns the block's number, from 1; 0 for null.
    std::int64_t Taken(void* block, std::size_t size);
    void Returned(void* block);

private:
    struct Block {
        std::int64_t number;
        std::size_t size; ///< 0: given back
    };

    int old_pools = 0;
    std::int64_t last_number = 0;
    std::unordered_map<const void*, Block> blocks;
};

} // namespace onu_mng_platform

#endif
