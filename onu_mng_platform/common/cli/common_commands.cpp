#include "onu_mng_platform/common/cli/common_commands.h"

#include "onu_mng_platform/common/cli/commands.h"
#include "onu_mng_platform/common/cli/terminal.h"

namespace {

using onu_mng_platform::CommandTable;

constexpr char kHelp[] = "?            lists what may come next, at any place of a line\r\n"
                         "TAB          completes the word\r\n"
                         "list         shows the syntax of every command:\r\n"
                         "               word       typed as it stands\r\n"
                         "               [a|b]      one of these words\r\n"
                         "               <1-16>     a number of that range\r\n"
                         "               <name>     any word\r\n"
                         "               { ... }*1  may be left out; several in any order\r\n"
                         "exit         leaves\r\n"
                         "Words may be shortened as long as only one fits.\r\n"
                         "COMMAND | FILTER shows part of the output; COMMAND | ? lists the filters.\r\n";

int Help(cmd_element*, vty* terminal, int, char**) {
    vty_out(terminal, "%s", kHelp);
    return 0;
}

int List(cmd_element*, vty* terminal, int, char**) {
    const auto commands = CommandTable::GetInstance().Find(terminal->node);
    for (const auto& command : *commands)
        vty_out(terminal, "  %s\r\n", command->record->syntax);
    return 0;
}

int Exit(cmd_element*, vty* terminal, int, char**) {
    terminal->exit_requested = true;
    return 0;
}

cmd_element help_command = {"help", Help, "how to use this command line", 0, 0, "help"};
cmd_element list_command = {"list", List, "the syntax of every command", 0, 0, "list"};
cmd_element exit_command = {"exit", Exit, "leave the command line", 0, 0, "exit"};

} // namespace

std::vector<cmd_element*> onu_mng_platform::CommonCommands() {
    return {&help_command, &list_command, &exit_command};
}
