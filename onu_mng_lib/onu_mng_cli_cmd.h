/* The columns of the library's five reports.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_CLI_CMD_H
#define ONU_MNG_LIB_ONU_MNG_CLI_CMD_H

#ifdef __cplusplus
extern "C" {
#endif

/* The ids under which the reports are registered. */
enum onu_mng_cli_report {
    CLI_CMD_SHOW_STATE_CONTEXT = 0,
    CLI_CMD_SHOW_MODULE_SUMMARY = 1,
    CLI_CMD_SHOW_MODULE = 2,
    CLI_CMD_SHOW_ONU_TRACE = 3,
    CLI_CMD_SHOW_SYSTEM_ENV = 4
};

/* Each function registers one report under an id: title, head line and columns. If memory is short, the
 * report prints less than it should (one level-13 line for each missing part). */
void InitCmdCLI_CMD_SHOW_STATE_CONTEXT(unsigned int cmd_id);
void InitCmdCLI_CMD_SHOW_MODULE_SUMMARY(unsigned int cmd_id);
void InitCmdCLI_CMD_SHOW_MODULE(unsigned int cmd_id);
void InitCmdCLI_CMD_SHOW_ONU_TRACE(unsigned int cmd_id);
void InitCmdCLI_CMD_SHOW_SYSTEM_ENV(unsigned int cmd_id);

/* Registers all five reports under their ids. The host calls it once, before any show command runs. Does not
 * block.
 * Returns 0. */
unsigned int onu_mng_init_cli_cmd(void);

#ifdef __cplusplus
}
#endif

#endif
