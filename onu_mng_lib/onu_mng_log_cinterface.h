/* Asking whether a per-ONU log line is to be written.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_LOG_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_LOG_CINTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 1 when log lines of the ONU at `level` are traced, else 0. `sn` is null or the ONU's 8-byte serial
 * number. Made to be asked before every line: one flag test while tracing is off, never an allocation. Any
 * task. */
int onu_mng_log_is_trace_onu(unsigned short pon_no, unsigned short onu_id, unsigned char* sn, int level);

#ifdef __cplusplus
}
#endif

#endif
