/// Text as JSON.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_JSON_H
#define ONU_MNG_PLATFORM_COMMON_CLI_JSON_H

#include <string>
#include <string_view>

namespace onu_mng_platform {

/// Appends `text` as a string. All characters of the result are ASCII; bytes that are no UTF-8 become U+FFFD.
/// Throws std::bad_alloc.
void AppendJsonString(std::string* json, std::string_view text);

/// Appends a cell of a report: null for an empty one; a decimal number of up to `most_digits`, unless it has
/// leading zeros, and a hexadecimal one ("0x1f") as a number; "True" and "False" as true and false; anything
/// else as a string. Throws std::bad_alloc.
void AppendJsonCell(std::string* json, std::string_view cell, size_t most_digits);

} // namespace onu_mng_platform

#endif
