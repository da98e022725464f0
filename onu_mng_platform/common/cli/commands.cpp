#include "onu_mng_platform/common/cli/commands.h"

#include <cstring>
#include <new>

#include "onu_mng_platform/common/cli/common_commands.h"
#include "onu_mng_platform/common/log/log.h"

namespace onu_mng_platform {
namespace {

constexpr int kErrorLevel = 13;

int Refuse(const cmd_element* record, const char* cause) {
    const bool has_name = record != nullptr && record->name != nullptr;
    LogPort(kErrorLevel, "command %s not installed: %s\r\n", has_name ? record->name : "without a name",
            cause);
    return -1;
}

} // namespace

CommandTable& CommandTable::GetInstance() {
    static CommandTable instance;
    return instance;
}

CommandTable::CommandTable() {
    auto list = std::make_shared<CommandList>();
    for (cmd_element* record : CommonCommands())
        list->push_back(
            std::make_shared<const Command>(Command{record, *Syntax::Parse(record->syntax, record->help)}));
    common_ = std::move(list);
}

std::shared_ptr<const CommandList> CommandTable::Find(unsigned int node) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = nodes_.find(node);
    return found == nodes_.end() ? common_ : found->second;
}

int CommandTable::Install(unsigned int node, cmd_element* record) {
    if (record == nullptr || record->syntax == nullptr || record->handler == nullptr)
        return Refuse(record, "no syntax or no handler");
    std::optional<Syntax> syntax = Syntax::Parse(record->syntax, record->help);
    if (!syntax) return Refuse(record, "its syntax cannot be parsed");
    const char* cause = Add(node, std::make_shared<const Command>(Command{record, std::move(*syntax)}));
    return cause == nullptr ? 0 : Refuse(record, cause);
}

// Null, or the cause why the command was not added.
const char* CommandTable::Add(unsigned int node, std::shared_ptr<const Command> command) {
    cmd_element* record = command->record;
    const std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<const CommandList>& list = nodes_.try_emplace(node, common_).first->second;
    for (const auto& other : *list) {
        if (std::strcmp(other->record->syntax, record->syntax) != 0) continue;
        return other->record == record ? nullptr : "another command has its syntax";
    }
    auto longer = std::make_shared<CommandList>(*list);
    longer->insert(longer->end() - static_cast<std::ptrdiff_t>(common_->size()), command);
    record->node = node;
    record->max_argc = command->syntax.MaxDelivered();
    list = std::move(longer);
    return nullptr;
}

} // namespace onu_mng_platform

extern "C" int install_element(unsigned int node, cmd_element* command) {
    try {
        return onu_mng_platform::CommandTable::GetInstance().Install(node, command);
    } catch (const std::bad_alloc&) {
        return onu_mng_platform::Refuse(command, "no memory");
    }
}
