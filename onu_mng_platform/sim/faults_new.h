#ifndef ONU_MNG_PLATFORM_SIM_FAULTS_NEW_H
#define ONU_MNG_PLATFORM_SIM_FAULTS_NEW_H

namespace onu_mng_platform {

/// Counts an allocation of the calling task. Returns whether it must fail. Returns false outside tasks and
/// for allocations of the board itself. Does not allocate.
bool NewIsToFail() noexcept;

} // namespace onu_mng_platform

#endif
