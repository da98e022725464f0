#include "onu_mng_platform/common/cli/commands.h"

#include <cstring>
#include <mutex>
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

CommandTable::CommandTable() : nodes_(std::make_shared<const Nodes>()) {
    auto list = std::make_shared<CommandList>();
    for (cmd_element* record : CommonCommands())
        list->push_back(
            std::make_shared<const Command>(Command{record, *Syntax::Parse(record->syntax, record->help)}));
    common_ = std::move(list);
}

std::shared_ptr<const CommandList> CommandTable::Find(unsigned int node) const {
    return ListOf(*Current(), node);
}

int CommandTable::Install(unsigned int node, cmd_element* record) {
    if (record == nullptr || record->syntax == nullptr || record->handler == nullptr)
        return Refuse(record, "no syntax or no handler");
    std::optional<Syntax> syntax = Syntax::Parse(record->syntax, record->help);
    if (!syntax) return Refuse(record, "its syntax cannot be parsed");
    const char* cause = Add(node, std::make_shared<const Command>(Command{record, std::move(*syntax)}));
    return cause == nullptr ? 0 : Refuse(record, cause);
}

// Returns null, or the reason why the command was not added.
const char* CommandTable::Add(unsigned int node, const std::shared_ptr<const Command>& command) {
    const cmd_element* const record = command->record;
    for (;;) {
        const std::shared_ptr<const Nodes> before = Current();
        const CommandList& list = *ListOf(*before, node);
        for (const auto& other : list) {
            if (std::strcmp(other->record->syntax, record->syntax) != 0) continue;
            return other->record == record ? nullptr : "another command has its syntax";
        }
        auto longer = std::make_shared<CommandList>(list);
        longer->insert(longer->end() - static_cast<std::ptrdiff_t>(common_->size()), command);
        auto after = std::make_shared<Nodes>(*before);
        (*after)[node] = std::move(longer);
        if (Publish(node, *command, before, std::move(after))) return nullptr;
    }
}

/// @return false if another task has installed a command meanwhile.
bool CommandTable::Publish(unsigned int node, const Command& command,
                           const std::shared_ptr<const Nodes>& before, std::shared_ptr<const Nodes> after) {
    const std::lock_guard<ShortLock> lock(lock_);
    if (nodes_ != before) return false;
    command.record->node = node;
    command.record->max_argc = command.syntax.MaxDelivered();
    nodes_.swap(after);
    return true;
}

const std::shared_ptr<const CommandList>& CommandTable::ListOf(const Nodes& nodes, unsigned int node) const {
    const auto found = nodes.find(node);
    return found == nodes.end() ? common_ : found->second;
}

std::shared_ptr<const CommandTable::Nodes> CommandTable::Current() const {
    const std::lock_guard<ShortLock> lock(lock_);
    return nodes_;
}

} // namespace onu_mng_platform

extern "C" int install_element(unsigned int node, cmd_element* command) {
    try {
        return onu_mng_platform::CommandTable::GetInstance().Install(node, command);
    } catch (const std::bad_alloc&) {
        return onu_mng_platform::Refuse(command, "no memory");
    }
}
