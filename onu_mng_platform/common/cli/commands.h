/// The commands that were installed, by node.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_COMMANDS_H
#define ONU_MNG_PLATFORM_COMMON_CLI_COMMANDS_H

#include <memory>
#include <unordered_map>
#include <vector>

#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/common/cli/syntax.h"
#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {

/// A command with its syntax taken apart.
struct Command {
    cmd_element* record;
    Syntax syntax;
};

/// The commands among which one line chooses; where two fit alike the first is taken. Constant once made, and
/// shared by the lines that are being looked up.
using CommandList = std::vector<std::shared_ptr<const Command>>;

/// Every node has its own commands and behind them those of all nodes: "help", "list", "exit".
///
/// Thread safety: any task. No operation waits for longer than another takes to copy a pointer, whatever its
/// priority.
class CommandTable {
public:
    static CommandTable& GetInstance();

    /// As install_element(), but throws std::bad_alloc, with nothing changed.
    int Install(unsigned int node, cmd_element* record);

    /// The commands of a node, for as long as the caller keeps them. Throws std::bad_alloc.
    std::shared_ptr<const CommandList> Find(unsigned int node) const;

private:
    using Nodes = std::unordered_map<unsigned int, std::shared_ptr<const CommandList>>;

    CommandTable();
    const char* Add(unsigned int node, const std::shared_ptr<const Command>& command);
    bool Publish(unsigned int node, const Command& command, const std::shared_ptr<const Nodes>& before,
                 std::shared_ptr<const Nodes> after);
    const std::shared_ptr<const CommandList>& ListOf(const Nodes& nodes, unsigned int node) const;
    std::shared_ptr<const Nodes> Current() const;

    mutable ShortLock lock_; ///< guards nodes_ and the platform's fields of records
    std::shared_ptr<const CommandList> common_;
    std::shared_ptr<const Nodes> nodes_; ///< replaced by a new one, never changed
};

} // namespace onu_mng_platform

#endif
