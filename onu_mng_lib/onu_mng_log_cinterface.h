/* The check before a log line about a single ONU.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_LOG_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_LOG_CINTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Returns 1 if log lines of the ONU at `level` are traced, else 0. `sn` is null or the 8-byte serial number
 * of the ONU. Cheap enough for every line: it tests one flag while tracing is off, and it never allocates.
 * Any task. */
int onu_mng_log_is_trace_onu(unsigned short pon_no, unsigned short onu_id, unsigned char* sn, int level);

#ifdef __cplusplus
}
#endif

#endif
