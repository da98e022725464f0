/* Sending messages to the service modules.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_MODULE_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_MODULE_CINTERFACE_H

#ifdef __cplusplus
extern "C" {
#endif

/* Offers a message to the modules in the order of their registration; the first that claims it receives it,
 * queued to its task or handled at once in this one, as the module chooses. `src_mod` and `msg_type` are
 * numbers of the clients. The `pkg_size` bytes at `data` stay the caller's. Any task, once the system is
 * started; does not wait but for a module that handles at once. Returns 0 when the message was queued, or the
 * result of the module that handled it; 0x800001f5, after a log line, when no module claims it, the claiming
 * module is not started, `data` is null or `pkg_size` 0, the pool is exhausted or the module's queue is full:
 * the message is then lost. */
unsigned int onu_mng_module_send_msg(unsigned int src_mod, unsigned int msg_type, unsigned short pon_no,
                                     unsigned short onu_id, char* data, unsigned int pkg_size);

#ifdef __cplusplus
}
#endif

#endif
