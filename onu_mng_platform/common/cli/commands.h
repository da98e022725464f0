/// The installed commands, by node.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_COMMANDS_H
#define ONU_MNG_PLATFORM_COMMON_CLI_COMMANDS_H

#include <memory>
#include <unordered_map>
#include <vector>

#include "onu_mng_platform/cli.h"
#include "onu_mng_platform/common/cli/syntax.h"
#include "onu_mng_platform/common/sync/short_lock.h"

namespace onu_mng_platform {

/// A command with its parsed syntax.
struct Command {
    cmd_element* record;
    Syntax syntax;
};

/// The commands of a node. If two match equally well, the first is used. A list never changes once it is
/// published, so look-ups share it.
using CommandList = std::vector<std::shared_ptr<const Command>>;

/// The commands of all nodes. Each list holds the node's own commands, then "help", "list" and "exit".
///
/// Thread safety: any task. The lock is held only to exchange pointers, so no operation blocks for long.
class CommandTable {
public:
    static CommandTable& GetInstance();

    /// Does the same as install_element(), but throws std::bad_alloc, with nothing changed, if memory is
    /// short.
    int Install(unsigned int node, cmd_element* record);

    /// Returns the commands of a node. They stay valid as long as the caller keeps the pointer. Throws
    /// std::bad_alloc.
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
    std::shared_ptr<const Nodes> nodes_; ///< immutable; an installation replaces it
};

} // namespace onu_mng_platform

#endif
