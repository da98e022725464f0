#include "onu_mng_lib/onu_mng_cli_cmd.h"

#include <iterator>
#include <new>

#include "onu_mng_lib/onu_mng_common/cmd_fmt.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

/// A report column. Its parameter id is its index in the table.
struct Column {
    const char* name;
    const char* description;
    VariantType type;
    unsigned int width = 0;
};

constexpr Column kStateContext[] = {
    {"ID", "Context ID", VARIANT_TYPE_USHORT},       {"TYPE", "Service type", VARIANT_TYPE_USHORT},
    {"PON", "PON NO", VARIANT_TYPE_USHORT},          {"ONU", "ONU ID", VARIANT_TYPE_USHORT},
    {"STATE", "Current state", VARIANT_TYPE_USHORT}, {"TIMEOUT", "Timeout time", VARIANT_TYPE_UINT64},
    {"RUNTIME", "Run time", VARIANT_TYPE_UINT64},    {"STOP", "Stop times", VARIANT_TYPE_UCHAR},
};

constexpr Column kModuleSummary[] = {
    {"MOD_ID", "Module ID", VARIANT_TYPE_USHORT},
    {"MOD_TYPE", "Module type", VARIANT_TYPE_USHORT},
    {"MOD_NAME", "Module name", VARIANT_TYPE_STRING, 32},
};

constexpr Column kModule[] = {
    {"MOD_ID", "Module ID", VARIANT_TYPE_USHORT},
    {"MOD_TYPE", "Module type", VARIANT_TYPE_USHORT},
    {"MOD_NAME", "Module name", VARIANT_TYPE_STRING, 32},
    {"MOD_PRI", "Module priority", VARIANT_TYPE_UCHAR},
    {"STACK_SIZE", "Module stack size", VARIANT_TYPE_UINT},
    {"MSG_PRI", "Module message priority", VARIANT_TYPE_UCHAR},
    {"MSG_Q_ID", "Module message queue ID", VARIANT_TYPE_UINT},
    {"MSG_SIZE", "Module message size", VARIANT_TYPE_UINT},
    {"MSG_CUR_NUM", "Current message num in queue", VARIANT_TYPE_USHORT},
    {"MSG_NUM", "Total message num", VARIANT_TYPE_USHORT},
};

constexpr Column kOnuTrace[] = {
    {"FLAG", "Trace switch", VARIANT_TYPE_BOOL},
    {"PON", "PON NO", VARIANT_TYPE_USHORT},
    {"ONU", "ONU ID", VARIANT_TYPE_USHORT},
    {"ONU_SN", "ONU serial number", VARIANT_TYPE_STRING, 13},
    {"DBG_LVL", "Debug log levels", VARIANT_TYPE_STRING, 32},
};

constexpr Column kSystemEnv[] = {
    {"POOL_SWT", "Memory pool switch", VARIANT_TYPE_BOOL},
    {"POOL_SIZE", "Memory pool size(byte)", VARIANT_TYPE_UINT},
    {"DEVICE", "Device type", VARIANT_TYPE_USHORT},
};

void RegisterReport(unsigned int cmd_id, const char* title, const Column* first, const Column* last) {
    CommandFormatMgr& reports = *CommandFormatMgr::GetInstance();
    try {
        reports.RegisterCmd(cmd_id, {cmd_id, title, "The result is shown as follows"});
        ParameterFormat format;
        for (const Column* column = first; column != last; ++column) {
            format.param_id = static_cast<unsigned int>(column - first);
            format.name = column->name;
            format.description = column->description;
            format.type = column->type;
            format.width = column->width;
            reports.RegisterParameter(cmd_id, format);
        }
    } catch (const std::bad_alloc&) {
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "no memory to register report %d\r\n",
                   cmd_id);
    }
}

} // namespace

void InitCmdCLI_CMD_SHOW_STATE_CONTEXT(unsigned int cmd_id) {
    RegisterReport(cmd_id, "Omci state context information", std::begin(kStateContext),
                   std::end(kStateContext));
}

void InitCmdCLI_CMD_SHOW_MODULE_SUMMARY(unsigned int cmd_id) {
    RegisterReport(cmd_id, "Omci modules information", std::begin(kModuleSummary), std::end(kModuleSummary));
}

void InitCmdCLI_CMD_SHOW_MODULE(unsigned int cmd_id) {
    RegisterReport(cmd_id, "Omci modules information", std::begin(kModule), std::end(kModule));
}

void InitCmdCLI_CMD_SHOW_ONU_TRACE(unsigned int cmd_id) {
    RegisterReport(cmd_id, "Omci onu log trace information", std::begin(kOnuTrace), std::end(kOnuTrace));
}

void InitCmdCLI_CMD_SHOW_SYSTEM_ENV(unsigned int cmd_id) {
    RegisterReport(cmd_id, "Omci system environment", std::begin(kSystemEnv), std::end(kSystemEnv));
}

unsigned int onu_mng_init_cli_cmd(void) {
    InitCmdCLI_CMD_SHOW_STATE_CONTEXT(CLI_CMD_SHOW_STATE_CONTEXT);
    InitCmdCLI_CMD_SHOW_MODULE_SUMMARY(CLI_CMD_SHOW_MODULE_SUMMARY);
    InitCmdCLI_CMD_SHOW_MODULE(CLI_CMD_SHOW_MODULE);
    InitCmdCLI_CMD_SHOW_ONU_TRACE(CLI_CMD_SHOW_ONU_TRACE);
    InitCmdCLI_CMD_SHOW_SYSTEM_ENV(CLI_CMD_SHOW_SYSTEM_ENV);
    return ONU_MNG_OK;
}
