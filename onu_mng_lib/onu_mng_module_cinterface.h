/* Sending messages to the service modules.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_MODULE_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_MODULE_CINTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Offers a message to the modules in the order of their registration. The first module that claims it
 * receives it. That module also chooses whether the message is queued to its task or handled at once, in the
 * task of the caller.
 *
 * `src_mod` and `msg_type` are numbers that the clients define. The caller keeps the `pkg_size` bytes at
 * `data`. Any task, after onu_mng_system_start(). Blocks only if the module handles the message at once.
 * Returns 0 if the message was queued, or the result of the module that handled it. Returns 0x800001f5 if no
 * module claims the message, if the module is not started, if `data` is null or `pkg_size` is 0, if memory or
 * the pool is exhausted, or if the queue of the module is full: the message is then lost, and the log says
 * why. Also returns 0x800001f5, without a log line, when the process has begun to exit. */
unsigned int onu_mng_module_send_msg(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                                     unsigned short onu_id, char* data, unsigned int pkg_size);

#ifdef __cplusplus
}
#endif

#endif
