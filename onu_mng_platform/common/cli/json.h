/// Converts text to JSON.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_JSON_H
#define ONU_MNG_PLATFORM_COMMON_CLI_JSON_H

#include <string>
#include <string_view>

namespace onu_mng_platform {

/// Appends `text` as a JSON string in ASCII. Bytes that are not valid UTF-8 become U+FFFD. Throws
/// std::bad_alloc.
void AppendJsonString(std::string* json, std::string_view text);

/// Appends a cell of a report. An empty cell becomes null, "True" and "False" become true and false. A
/// decimal number of at most `most_digits` digits without leading zeros and a hexadecimal number ("0x1f")
/// become numbers. Anything else becomes a string. Throws std::bad_alloc.
void AppendJsonCell(std::string* json, std::string_view cell, size_t most_digits);

} // namespace onu_mng_platform

#endif
