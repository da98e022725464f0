#include "onu_mng_lib/onu_mng_common/text_output.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "onu_mng_platform/cli.h"

void TextOutput::Put(std::string_view text) {
    while (!text.empty()) {
        if (used == sizeof(area)) Flush();
        const std::size_t size = std::min(text.size(), sizeof(area) - used);
        std::memcpy(area + used, text.data(), size);
        used += size;
        text.remove_prefix(size);
    }
}

void TextOutput::PutBlanks(std::size_t count) {
    while (count > 0) {
        if (used == sizeof(area)) Flush();
        const std::size_t size = std::min(count, sizeof(area) - used);
        std::memset(area + used, ' ', size);
        used += size;
        count -= size;
    }
}

void TextOutput::PutPadded(std::string_view text, std::size_t width) {
    Put(text);
    if (text.size() < width) PutBlanks(width - text.size());
}

void TextOutput::Flush() {
    if (used == 0) return;
    if (terminal != nullptr)
        vty_out(static_cast<vty*>(terminal), "%.*s", static_cast<int>(used), area);
    else
        std::fwrite(area, 1, used, stdout);
    used = 0;
}
