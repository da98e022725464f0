#ifndef ONU_MNG_PLATFORM_SIM_FAULTS_NEW_H
#define ONU_MNG_PLATFORM_SIM_FAULTS_NEW_H

namespace onu_mng_platform {

/// Counts an allocation of the calling task; whether it was told to fail. False outside of tasks, and for
/// what the board itself allocates. Does not allocate.
bool NewIsToFail() noexcept;

} // namespace onu_mng_platform

#endif
