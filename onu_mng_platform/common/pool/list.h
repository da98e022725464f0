#ifndef ONU_MNG_PLATFORM_COMMON_POOL_LIST_H
#define ONU_MNG_PLATFORM_COMMON_POOL_LIST_H

#include "onu_mng_platform/common/pool/core.h"

namespace onu_mng_platform {

inline constexpr int kMaxPools = 64;

/// Returns the pool with an id; null when there is none. Ids run from 0 without a gap.
Pool* PoolAt(int pool_id);

} // namespace onu_mng_platform

#endif
