/// Output filters: the part of a line after "|".
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_FILTER_H
#define ONU_MNG_PLATFORM_COMMON_CLI_FILTER_H

#include <memory>
#include <string>
#include <string_view>

#include "onu_mng_platform/common/cli/commands.h"
#include "onu_mng_platform/common/cli/terminal.h"

namespace onu_mng_platform {

/// Filters the output of one command on its way to the terminal. Used by the command's task.
class OutputFilter {
public:
    virtual ~OutputFilter() = default;

    /// Processes the next characters of output. Throws std::bad_alloc.
    virtual void Put(std::string_view text) = 0;

    /// Writes the rest after the command has ended. @return false after an error line.
    virtual bool Finish() = 0;

    /// Returns the output for error messages about the command. Error messages bypass most filters; some
    /// filters format them.
    virtual Output Errors() = 0;

    /// Called instead of Finish() if the command has no result.
    virtual void Fail() {}

    /// Returns an output that writes to this filter.
    Output AsOutput();
};

/// Returns the syntax of the filters in the form of commands. Throws std::bad_alloc.
const CommandList& FilterCommands(bool may_save);

/// Returns whether a filter's name, in full or shortened, is that of the filter that writes a file.
bool FilterSaves(std::string_view name);

/// Returns whether a filter also formats error messages. It must then exist before the command is looked up.
bool FilterTakesErrors(const Command& filter);

/// Creates the filter for an element of FilterCommands(). It writes to `next`. Throws std::bad_alloc.
/// @return null if the expression or the file cannot be used, with the reason in `error`.
std::unique_ptr<OutputFilter> MakeFilter(const Command& filter, const std::string& argument, Output next,
                                         std::string* error);

} // namespace onu_mng_platform

#endif
