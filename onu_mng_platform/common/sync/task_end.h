#ifndef ONU_MNG_PLATFORM_COMMON_SYNC_TASK_END_H
#define ONU_MNG_PLATFORM_COMMON_SYNC_TASK_END_H

#include <exception>

#include "onu_mng_platform/bep.h"

namespace onu_mng_platform {

/// Returns whether the caller is in a catch block that handles the end of the calling task.
inline bool IsHandlingTaskEnd() {
    const std::exception_ptr handled = std::current_exception();
    if (handled == nullptr) return false;
    try {
        std::rethrow_exception(handled);
    } catch (const bep_TaskEnd&) {
        return true;
    } catch (...) {
        return false;
    }
}

/// Returns whether the calling task is being unwound. Its destructors and catch blocks must run to their end,
/// even if they wait, so there must be no end point in them.
inline bool IsUnwinding() {
    return std::uncaught_exceptions() != 0 || IsHandlingTaskEnd();
}

} // namespace onu_mng_platform

#endif
