/// Logs a failure and returns its result code, in one call.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_LOG_FAILURE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_LOG_FAILURE_H

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

/// Logs `text` as it is, under the library's log module. @return `result`.
inline unsigned int LogFailure(const char* text, int level = ONU_MNG_LOG_ERROR,
                               unsigned int result = ONU_MNG_FAILURE) {
    ulogPrintf(onu_mng_system_get_log_module(), level, "%s", text);
    return result;
}

/// The text in log lines about an exception that is not a std::exception.
inline constexpr const char* kUnknownException = "not a std::exception";

#endif
