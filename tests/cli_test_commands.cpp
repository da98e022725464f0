#include "tests/cli_test_commands.h"

namespace cli_test {

void (*on_call)(const cmd_element& command, int argc, char** argv) = nullptr;

namespace {

int Tell(cmd_element* self, vty* terminal, int argc, char** argv) {
    if (on_call != nullptr) on_call(*self, argc, argv);
    vty_out(terminal, "%s:", self->name);
    for (int i = 0; i < argc; ++i)
        vty_out(terminal, " \"%s\"", argv[i]);
    vty_out(terminal, "\r\n");
    return 0;
}

} // namespace

std::array<cmd_element, 10>& Commands() {
    static std::array<cmd_element, 10> commands = {{
        {"set log_trace flag [enable|disable] {[ponno] <1-16>}*1 {[onuid] <0-127>}*1 {[onusn] <onusn>}*1 "
         "{[debug_level] <lvl>}*1",
         Tell,
         "set system information. \r\nset log trace information. \r\nflag - trace debug switch \r\n"
         "enable - enable trace debug switch \r\ndisable - disable trace debug switch \r\npon_no \r\n"
         "pon_no - pon port number (1 to 16)\r\nonu_id \r\nonu_id - onu PON id number (0 to 127)\r\nonu_sn "
         "\r\n"
         "onu_sn - onu sn (GPON format: KVXQ-12345678, EPON format: 010203040506)\r\n"
         "debug_level - debug log level \r\ndebug log level(0-10) list seperated by comma\r\n",
         0, 0, "cl_onu_mng_set_log_trace_cmd"},
        {"show log_trace", Tell, "show system information. \r\nshow log trace information. \r\n", 0, 0,
         "cl_onu_mng_show_log_trace_cmd"},
        {"show state_context {type <0-255>}*1", Tell,
         "show system information. \r\nshow state context summary. \r\n", 0, 0,
         "cl_onu_mng_show_state_context_cmd"},
        {"terminate state_context id <1-255>", Tell,
         "terminate. \r\nterminate state context. \r\nid.\r\ncontext id - 1~255\r\n", 0, 0,
         "cl_onu_mng_terminate_state_context_cmd"},
        {"show service_module {[id] <id>}*1 {[type] <type>}*1", Tell,
         "show system information. \r\nshow omci service module. \r\nid \r\nmodule id \r\ntype \r\n"
         "module type \r\n",
         0, 0, "cl_onu_mng_show_service_module_cmd"},
        {"show service_module summary", Tell,
         "show system information. \r\nshow omci service module. \r\nshow omci service module summary. \r\n",
         0, 0, "cl_onu_mng_show_service_module_summary_cmd"},
        {"show memory [global|detail|debug]", Tell,
         "show system information \r\nshow memory information. \r\n"
         "global - show memory pool global information. \r\n"
         "detail - show omci memory pool detail information. \r\n"
         "debug - show omci memory pool debug information. \r\n",
         0, 0, "cl_onu_mng_show_memory_cmd"},
        {"show system env", Tell, "show system information \r\nshow system environment. \r\n", 0, 0,
         "cl_onu_mng_show_system_env_cmd"},
        {"set state_machine interval_run_time <value>", Tell,
         "set state_machine interval_run_time. \r\nstate_machine. \r\nstate_machine interval_run_time. \r\n"
         "interval_run_time(s), e.g: 30. \r\n",
         0, 0, "cl_omci_set_state_machine_interval_run_time_cmd"},
        {"show state_machine interval_run_time", Tell,
         "show state_machine interval_run_time. \r\nstate_machine. \r\nstate_machine interval_run_time. \r\n",
         0, 0, "cl_omci_show_state_machine_interval_run_time_cmd"},
    }};
    return commands;
}

void Install() {
    for (cmd_element& command : Commands())
        install_element(kNode, &command);
}

} // namespace cli_test
