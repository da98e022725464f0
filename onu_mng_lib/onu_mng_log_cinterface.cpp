#include "onu_mng_lib/onu_mng_log_cinterface.h"

#include "onu_mng_lib/onu_mng_log.h"

int onu_mng_log_is_trace_onu(unsigned short pon_no, unsigned short onu_id, unsigned char* sn, int level) {
    return OnuMngLog::GetInstance()->IsTraceOnu(pon_no, onu_id, sn, level) ? 1 : 0;
}
