/* Starting the library. The host's start-up task does this once, in this order:
 *
 *   1. the registrations (onu_mng_system_reg_interface.h), in any order;
 *   2. onu_mng_system_init();
 *   3. the registration of the service modules (onu_mng_module_cplus_interface.h), and the installation of
 *      the CLI commands, if the host has a command line;
 *   4. onu_mng_system_start().
 *
 * There is no stop function. The process may exit at any moment and from any task: by the return of main(),
 * or by exit(), even in a handler or a hook, and while other tasks send messages. Further messages are then
 * refused. The supervision task and the tasks of the modules end at their next wait for the platform. Then
 * the modules are deleted with the packets in their queues. The exit waits at most 5 seconds for this. If it
 * takes longer, the modules stay as they are (one level-13 line).
 */
#ifndef ONU_MNG_LIB_ONU_MNG_SYSTEM_H
#define ONU_MNG_LIB_ONU_MNG_SYSTEM_H

#ifdef __cplusplus
extern "C" {
#endif

/* Creates the memory pool "OnuMngMemPool" and starts the supervision of state contexts. A second call creates
 * neither again, but sets the period of the supervision to 30 s.
 * Returns 0; 0x800001f5 if a registration is missing (reported on standard output; nothing is created), if
 * the pool cannot be created, or if the supervision cannot be started (one level-14 line each; the pool
 * stays). */
unsigned int onu_mng_system_init(void);

/* Initialises every registered module. If none has failed, it starts every module. Modules that were
 * initialised or started before stay as they are.
 * Returns 0; 0x800001f5 if a module could not be initialised (no module is started) or could not be started
 * (the others run). The log has lines about each failed module, and a summary at level 13 or 14. */
unsigned int onu_mng_system_start(void);

#ifdef __cplusplus
}
#endif

#endif
