#ifndef ONU_MNG_PLATFORM_COMMON_POOL_POOL_H
#define ONU_MNG_PLATFORM_COMMON_POOL_POOL_H

#include <cstddef>

#include "onu_mng_platform/mpu.h"

/// The memory pools of every port. A port defines the functions of mpu.h. Each of them calls the function of
/// the corresponding name here, which fulfils the contract in mpu.h.
///
/// Any thread may call everything, even in static constructors and destructors. A call waits only for locks
/// that are held for a bounded number of instructions.
namespace onu_mng_platform {

int PoolCreate(const char* name, unsigned int size);
void* PoolAlloc(int pool_id, unsigned int size, const char* file, int line);
int PoolFree(void* block);
int PoolGetStat(int pool_id, mpu_stat* stat);
void PoolShow();
void PoolShowDetail(int pool_id);
void PoolShowDebug(int pool_id);

/// A place in a pool. Unlike an address, it is the same in every run that makes the same calls.
struct PoolPlace {
    int pool_id;   ///< -1: the address lies in no pool.
    size_t offset; ///< Bytes from the start of the pool's region.
};

/// Returns the place of an address, which may be any number.
PoolPlace PoolLocate(const void* address);

} // namespace onu_mng_platform

#endif
