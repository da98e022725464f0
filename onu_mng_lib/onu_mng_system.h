/* Bringing the library up, once, from the host's start-up task:
 *
 *   1. the registrations (onu_mng_system_reg_interface.h), in any order;
 *   2. onu_mng_system_init();
 *   3. the service modules (onu_mng_module_cplus_interface.h), and the CLI commands if they are wanted;
 *   4. onu_mng_system_start().
 *
 * Nothing is stopped before the process exits. It may exit at any moment and from any task, by the return of main()
 * or by exit(), also in a handler or a hook and while other tasks send messages. Further messages are then refused,
 * the tasks of the supervision and of the modules end at their next wait for the platform, and the modules are deleted
 * with the packets queued to them. The exit waits at most 5 seconds for this; after that the modules are left as they
 * are (one level-13 line).
 */
#ifndef ONU_MNG_LIB_ONU_MNG_SYSTEM_H
#define ONU_MNG_LIB_ONU_MNG_SYSTEM_H

#ifdef __cplusplus
extern "C" {
#endif

/* Creates the memory pool "OnuMngMemPool" and starts the supervision of state contexts. A second call creates
 * neither again but resets the supervision period to 30 s.
 * Returns 0; 0x800001f5 when a registration is missing (said on standard output; nothing is created), when
 * the pool cannot be created, or when the supervision cannot be started (one level-14 line each; the pool
 * stays). */
unsigned int onu_mng_system_init(void);

/* Initialises every registered module and, if all could be, starts every one. Modules that were initialised
 * or started before are left as they are. Returns 0; 0x800001f5 when a module failed to initialise (nothing
 * is started; one level-13 line) or to start (the others run; one level-14 line). */
unsigned int onu_mng_system_start(void);

#ifdef __cplusplus
}
#endif

#endif
