/// Output filters: what stands behind the "|" of a line.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_FILTER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_FILTER_H

#include <memory>
#include <string>
#include <string_view>

#include "onu_mng_platform/common/cli/commands.h"
#include "onu_mng_platform/common/cli/terminal.h"

namespace onu_mng_platform {

/// Stands before a terminal while one command runs. Used by that command's task.
class OutputFilter {
public:
    virtual ~OutputFilter() = default;

    /// Takes the next characters of the command. Throws std::bad_alloc.
    virtual void Put(std::string_view text) = 0;

    /// Writes what is left once the command has ended. @return false after an error line.
    virtual bool Finish() = 0;

    /// Where messages about the command go: past the filter, or through one that has a form for them.
    virtual Output Errors() = 0;

    /// Called instead of Finish() when there is no result.
    virtual void Fail() {}

    /// An output that leads here.
    Output AsOutput();
};

/// The grammar of the filters, as if they were commands. Throws std::bad_alloc.
const CommandList& FilterCommands(bool may_save);

/// Whether a filter's name, which may be shortened, is that of the one that writes a file.
bool FilterSaves(std::string_view name);

/// Whether a filter takes messages too, so that it is to be made before the command is looked up.
bool FilterTakesErrors(const Command& filter);

/// Makes the filter that one of FilterCommands() stands for; it writes to `next`.
/// @return null, with the cause in `error`, for an expression or a file that cannot be used. Throws
///         std::bad_alloc.
std::unique_ptr<OutputFilter> MakeFilter(const Command& filter, const std::string& argument, Output next,
                                         std::string* error);

} // namespace onu_mng_platform

#endif
