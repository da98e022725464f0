#include "tests/cli/cli_test_commands.h"

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/common/cli/commands.h"

namespace cli_test {
namespace {

thread_local std::vector<std::string> last_call;

int Tell(cmd_element* self, vty* terminal, int argc, char** argv) {
    last_call.assign(1, self->name);
    vty_out(terminal, "%s:", self->name);
    for (int i = 0; i < argc; ++i) {
        last_call.emplace_back(argv[i]);
        vty_out(terminal, " \"%s\"", argv[i]);
    }
    vty_out(terminal, "\r\n");
    return 0;
}

std::vector<cmd_element> library_commands;
std::vector<cmd_element> other_commands = {
    {"ping <host> {count <1-9>}*1 {fast}*1 {via [pon|<0-15>]}*1 now", Tell, nullptr, 0, 0, "ping"},
    {"ping self", Tell, nullptr, 0, 0, "ping_self"},
    {"power [<-30--5>|off] {<1-3>}*1", Tell, "power\r\npower - in dBm\r\n", 0, 0, "power"},
    {"power offset <dB>", Tell, nullptr, 0, 0, "offset"},
    {"[on|off] {a b <name>}*1 {a2}*1 then {c}*1", Tell, nullptr, 0, 0, "switch"},
    {"{level <1-3>}*1 {all}*1 trace", Tell, nullptr, 0, 0, "trace"},
    {"power <0-20> {<x>}*1", Tell, nullptr, 0, 0, "power_up"},
};

bool InstallAll() {
    constexpr unsigned int kLibraryNode = 6;
    onu_mng_system_reg_cli_node(kLibraryNode);
    onu_mng_cli_install_element();
    for (const auto& command : *onu_mng_platform::CommandTable::GetInstance().Find(kLibraryNode)) {
        const cmd_element& record = *command->record;
        if (std::string(record.name).rfind("cl_", 0) == 0) // not one of those that every node has
            library_commands.push_back({record.syntax, Tell, record.help, 0, 0, record.name});
    }
    for (cmd_element& command : library_commands)
        install_element(kNode, &command);
    for (cmd_element& command : other_commands)
        install_element(kOtherNode, &command);
    return true;
}

} // namespace

void Install() {
    [[maybe_unused]] static const bool installed = InstallAll();
}

const std::vector<cmd_element>& Commands(unsigned int node) {
    return node == kNode ? library_commands : other_commands;
}

std::vector<std::string> TakeCall() {
    return std::move(last_call);
}

} // namespace cli_test
