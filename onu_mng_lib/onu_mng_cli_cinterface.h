/* The diagnostic commands of the library.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_CLI_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_CLI_CINTERFACE_H

#include "onu_mng_platform/cli.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Installs the ten commands under the node that the host has registered. The platform logs each command that
 * it refuses. Does not block. Returns 0. */
unsigned int onu_mng_cli_install_element(void);

/* The handlers. They run in the task of the terminal and may run for several terminals at once. They hold no
 * lock while they print. Each returns 0. If words are wrong or missing, or if memory is short for a report,
 * it returns 1 after a message on the terminal, with nothing changed. If memory is short for a trace entry,
 * it returns 0 and only the log says so. */

/* Turns tracing on or off. The words are "enable" or "disable", then pairs of "ponno", "onuid", "onusn" or
 * "debug_level" with a value. "disable" ends tracing and removes all entries. "enable" starts tracing and
 * adds the levels, which are separated by commas; the first 17 count. If a PON number is given with either an
 * ONU id or a serial number, the host is asked for the other. For a serial number that is malformed or
 * missing, the result is 0x800001f6 or 0x800001f9 instead of 1. */
int cl_onu_mng_set_log_trace_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* Prints the entries of the trace registry. No words. */
int cl_onu_mng_show_log_trace_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* Prints the state contexts. The word is a service type; without it, all are printed. */
int cl_onu_mng_show_state_context_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* Sends one delayed termination to a context. The word is its id. Returns 0 even if no context has the id. */
int cl_onu_mng_terminate_state_context_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* Prints the service modules. The words are pairs of "id" or "type" with a number; a module must match all of
 * them. */
int cl_onu_mng_show_service_module_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* Prints the ids, types and names of all service modules. No words. */
int cl_onu_mng_show_service_module_summary_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* Prints a view of the memory pool. The word is "global", "detail" or "debug". Any other word means "global".
 */
int cl_onu_mng_show_memory_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* Prints fixed values of the environment. No words. */
int cl_onu_mng_show_system_env_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* Sets the period of the supervision of state contexts in seconds. Any number is accepted. */
int cl_omci_set_state_machine_interval_run_time_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* Prints that period. No words. */
int cl_omci_show_state_machine_interval_run_time_func(cmd_element* self, vty* terminal, int argc,
                                                      char** argv);

#ifdef __cplusplus
}
#endif

#endif
