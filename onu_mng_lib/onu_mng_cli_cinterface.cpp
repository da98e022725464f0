#include "onu_mng_lib/onu_mng_cli_cinterface.h"

#include <cstring>
#include <new>

#include "onu_mng_lib/cli_words.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_lib/report_rows.h"

namespace {

using Rows = CommandFormatMgr::Rows;

constexpr int kNoFilter = 0xFFFF;

/// Fixed values in the environment report.
constexpr int kPoolInUse = 1;
constexpr int kDevice = 1;

bool Passes(int filter, unsigned int number) {
    return filter == kNoFilter || static_cast<unsigned int>(filter) == number;
}

unsigned short Cut16(unsigned int number) {
    return static_cast<unsigned short>(number);
}

unsigned char Cut8(unsigned int number) {
    return static_cast<unsigned char>(number);
}

int Refuse(vty* terminal, const char* message) {
    vty_out(terminal, "%s\r\n", message);
    return 1;
}

template <typename Visit>
void ForEachModule(Visit visit) {
    if (!ModuleManager::GetInstance()->ForEachModule(visit)) throw std::bad_alloc();
}

std::vector<ParameterContent> StateContextRow(StateContext& context) {
    return MakeRow(Cut16(context.context_id), Cut16(context.service_type), context.pon_no.load(),
                   context.onu_id.load(), context.cur_state.load(), context.GetStateMaxRunTime(),
                   context.GetStateTime(), context.stop_times.load());
}

std::vector<ParameterContent> ModuleSummaryRow(ServiceModule& module) {
    return MakeRow(Cut16(module.mod_id), Cut16(module.mod_type), module.mod_name);
}

std::vector<ParameterContent> ModuleRow(ServiceModule& module) {
    return MakeRow(Cut16(module.mod_id), Cut16(module.mod_type), module.mod_name, Cut8(module.mod_pri),
                   module.stack_size, Cut8(module.msg_pri), module.msg_queue.GetQueueId(), module.msg_size,
                   static_cast<unsigned int>(module.msg_queue.GetMsgNum()), module.msg_num);
}

} // namespace

// ---- The handlers ----

int cl_onu_mng_show_log_trace_func(cmd_element*, vty* terminal, int, char**) {
    OnuMngLog::GetInstance()->Print(terminal);
    return 0;
}

int cl_onu_mng_show_state_context_cmd_fun(cmd_element*, vty* terminal, int argc, char** argv) {
    const char* const word = CliWords(argc, argv)[0];
    const int type = word == nullptr ? kNoFilter : NumberOf(word);
    const bool printed = PrintReport(CLI_CMD_SHOW_STATE_CONTEXT, terminal, [type](Rows& rows) {
        StateContextManager::GetInstance()->ForEachContext([type, &rows](StateContext& context) {
            if (Passes(type, context.service_type)) rows.push_back(StateContextRow(context));
        });
    });
    return printed ? 0 : 1;
}

int cl_onu_mng_terminate_state_context_cmd_fun(cmd_element*, vty* terminal, int argc, char** argv) {
    const char* const id = CliWords(argc, argv)[0];
    if (id == nullptr) return Refuse(terminal, "context id should be specified");
    StateContextManager::GetInstance()->Terminate(static_cast<unsigned int>(NumberOf(id)));
    return 0;
}

int cl_onu_mng_show_service_module_cmd_fun(cmd_element*, vty* terminal, int argc, char** argv) {
    int id = kNoFilter;
    int type = kNoFilter;
    CliWords(argc, argv).ForEachPair(0, [&id, &type](const char* keyword, const char* value) {
        if (value == nullptr) return 0;
        if (MatchesKeyword(keyword, "id")) id = NumberOf(value);
        if (MatchesKeyword(keyword, "type")) type = NumberOf(value);
        return 0;
    });
    const bool printed = PrintReport(CLI_CMD_SHOW_MODULE, terminal, [id, type](Rows& rows) {
        ForEachModule([id, type, &rows](ServiceModule& module) {
            if (Passes(id, module.mod_id) && Passes(type, module.mod_type)) rows.push_back(ModuleRow(module));
        });
    });
    return printed ? 0 : 1;
}

int cl_onu_mng_show_service_module_summary_cmd_fun(cmd_element*, vty* terminal, int, char**) {
    const bool printed = PrintReport(CLI_CMD_SHOW_MODULE_SUMMARY, terminal, [](Rows& rows) {
        ForEachModule([&rows](ServiceModule& module) { rows.push_back(ModuleSummaryRow(module)); });
    });
    return printed ? 0 : 1;
}

int cl_onu_mng_show_memory_func(cmd_element*, vty*, int argc, char** argv) {
    const char* const word = CliWords(argc, argv)[0];
    MemShowType type = MEM_SHOW_GLOBAL;
    if (word != nullptr && std::strcmp(word, "detail") == 0) type = MEM_SHOW_DETAIL;
    if (word != nullptr && std::strcmp(word, "debug") == 0) type = MEM_SHOW_DEBUG;
    MemoryAllocator::GetInstance()->MemShow(type);
    return 0;
}

int cl_onu_mng_show_system_env_func(cmd_element*, vty* terminal, int, char**) {
    const bool printed = PrintReport(CLI_CMD_SHOW_SYSTEM_ENV, terminal, [](Rows& rows) {
        rows.push_back(MakeRow(kPoolInUse, static_cast<int>(MemoryAllocator::kPoolSize), kDevice));
    });
    return printed ? 0 : 1;
}

int cl_omci_set_state_machine_interval_run_time_func(cmd_element*, vty* terminal, int argc, char** argv) {
    const char* const word = CliWords(argc, argv)[0];
    if (word == nullptr) return Refuse(terminal, "interval_run_time should be specified");
    const int seconds = NumberOf(word);
    StateContextManager::GetInstance()->interval_run_time = static_cast<unsigned int>(seconds);
    vty_out(terminal, "set state_machine interval_run_time ok! interval run time: %d\r\n", seconds);
    return 0;
}

int cl_omci_show_state_machine_interval_run_time_func(cmd_element*, vty* terminal, int, char**) {
    vty_out(terminal, "state_machine interval_run_time: %d\r\n",
            static_cast<int>(StateContextManager::GetInstance()->interval_run_time));
    return 0;
}

// ---- The commands ----

namespace {

/// Builds a command record. The platform's own fields are zero.
constexpr cmd_element Command(const char* name, cmd_handler handler, const char* syntax, const char* help) {
    return {syntax, handler, help, 0, 0, name};
}

cmd_element commands[] = {
    Command("cl_onu_mng_set_log_trace_cmd", cl_onu_mng_set_log_trace_func,
            "set log_trace flag [enable|disable] {[ponno] <1-16>}*1 {[onuid] <0-127>}*1 {[onusn] <onusn>}*1 "
            "{[debug_level] <lvl>}*1",
            "set system information. \r\n"
            "set log trace information. \r\n"
            "flag - trace debug switch \r\n"
            "enable - enable trace debug switch \r\n"
            "disable - disable trace debug switch \r\n"
            "pon_no \r\n"
            "pon_no - pon port number (1 to 16)\r\n"
            "onu_id \r\n"
            "onu_id - onu PON id number (0 to 127)\r\n"
            "onu_sn \r\n"
            "onu_sn - onu sn (GPON format: KVXQ-12345678, EPON format: 010203040506)\r\n"
            "debug_level - debug log level \r\n"
            "debug log level(0-10) list seperated by comma\r\n"),
    Command("cl_onu_mng_show_log_trace_cmd", cl_onu_mng_show_log_trace_func, "show log_trace",
            "show system information. \r\n"
            "show log trace information. \r\n"),
    Command("cl_onu_mng_show_state_context_cmd", cl_onu_mng_show_state_context_cmd_fun,
            "show state_context {type <0-255>}*1",
            "show system information. \r\n"
            "show state context summary. \r\n"),
    Command("cl_onu_mng_terminate_state_context_cmd", cl_onu_mng_terminate_state_context_cmd_fun,
            "terminate state_context id <1-255>",
            "terminate. \r\n"
            "terminate state context. \r\n"
            "id.\r\n"
            "context id - 1~255\r\n"),
    Command("cl_onu_mng_show_service_module_cmd", cl_onu_mng_show_service_module_cmd_fun,
            "show service_module {[id] <id>}*1 {[type] <type>}*1",
            "show system information. \r\n"
            "show omci service module. \r\n"
            "id \r\n"
            "module id \r\n"
            "type \r\n"
            "module type \r\n"),
    Command("cl_onu_mng_show_service_module_summary_cmd", cl_onu_mng_show_service_module_summary_cmd_fun,
            "show service_module summary",
            "show system information. \r\n"
            "show omci service module. \r\n"
            "show omci service module summary. \r\n"),
    Command("cl_onu_mng_show_memory_cmd", cl_onu_mng_show_memory_func, "show memory [global|detail|debug]",
            "show system information \r\n"
            "show memory information. \r\n"
            "global - show memory pool global information. \r\n"
            "detail - show omci memory pool detail information. \r\n"
            "debug - show omci memory pool debug information. \r\n"),
    Command("cl_onu_mng_show_system_env_cmd", cl_onu_mng_show_system_env_func, "show system env",
            "show system information \r\n"
            "show system environment. \r\n"),
    Command("cl_omci_set_state_machine_interval_run_time_cmd",
            cl_omci_set_state_machine_interval_run_time_func, "set state_machine interval_run_time <value>",
            "set state_machine interval_run_time. \r\n"
            "state_machine. \r\n"
            "state_machine interval_run_time. \r\n"
            "interval_run_time(s), e.g: 30. \r\n"),
    Command("cl_omci_show_state_machine_interval_run_time_cmd",
            cl_omci_show_state_machine_interval_run_time_func, "show state_machine interval_run_time",
            "show state_machine interval_run_time. \r\n"
            "state_machine. \r\n"
            "state_machine interval_run_time. \r\n"),
};

} // namespace

unsigned int onu_mng_cli_install_element(void) {
    const unsigned int node = onu_mng_system_get_cli_node();
    for (cmd_element& command : commands)
        install_element(node, &command);
    return ONU_MNG_OK;
}
