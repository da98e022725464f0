/* The diagnostic commands of the library.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_CLI_CINTERFACE_H
#define ONU_MNG_LIB_ONU_MNG_CLI_CINTERFACE_H

#include "onu_mng_platform/cli.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Installs the ten commands under the node that the host registered. What cannot be installed is logged by
 * the platform. Does not block. Returns 0. */
unsigned int onu_mng_cli_install_element(void);

/* The handlers. They run in the task of the terminal, take no lock while they print, and may run for several
 * terminals at once. Each returns 0; 1 after a message on the terminal, with nothing changed, when words make
 * no sense or are missing, or when memory is short for a report. A tracer that memory is too short for is told
 * in the log only. */

/* "enable" or "disable", then pairs of "ponno", "onuid", "onusn" or "debug_level" with a value. "disable"
 * ends tracing and forgets every tracer. "enable" starts it and adds tracers for the listed levels, separated
 * by commas, of which the first 17 count. With a PON number the host is asked for the one of ONU id and
 * serial number that is missing. Returns also 0x800001f6 for a malformed serial number, with nothing changed.
 */
int cl_onu_mng_set_log_trace_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* No words: the registry of traced ONUs. */
int cl_onu_mng_show_log_trace_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* A service type, or nothing for all: the state contexts. */
int cl_onu_mng_show_state_context_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* The id of a context, which is sent one delayed termination. */
int cl_onu_mng_terminate_state_context_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* Pairs of "id" or "type" with a number, all of which a module must match: the service modules. */
int cl_onu_mng_show_service_module_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* No words: ids, types and names of all service modules. */
int cl_onu_mng_show_service_module_summary_cmd_fun(cmd_element* self, vty* terminal, int argc, char** argv);
/* "global" (what any other word gives too), "detail" or "debug": a view of the memory pool. */
int cl_onu_mng_show_memory_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* No words: fixed values of the environment. */
int cl_onu_mng_show_system_env_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* The period of the state machines' supervision in seconds; any number is taken. */
int cl_omci_set_state_machine_interval_run_time_func(cmd_element* self, vty* terminal, int argc, char** argv);
/* No words: that period. */
int cl_omci_show_state_machine_interval_run_time_func(cmd_element* self, vty* terminal, int argc,
                                                      char** argv);

#ifdef __cplusplus
}
#endif

#endif
