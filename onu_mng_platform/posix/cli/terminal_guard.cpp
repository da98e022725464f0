#include "onu_mng_platform/posix/cli/terminal_guard.h"

#include <cstring>

#include <langinfo.h>

namespace onu_mng_platform {

Charset CharsetOfLocale() {
    return std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0 ? Charset::kUtf8 : Charset::kEightBit;
}

void TerminalGuard::Clean(std::string* text, size_t begin) {
    for (size_t i = begin; i < text->size(); ++i)
        if (!Passes(static_cast<unsigned char>((*text)[i]))) (*text)[i] = '.';
}

bool TerminalGuard::Passes(unsigned char byte) {
    if (charset_ == Charset::kUtf8 && ContinuesCharacter(byte)) return true;
    if (byte < ' ' || byte == 0x7F) return byte == '\t' || byte == '\r' || byte == '\n';
    return byte < 0x80 || byte > 0x9F;
}

bool TerminalGuard::ContinuesCharacter(unsigned char byte) {
    if (expected_ > 0 && byte >= low_ && byte <= 0xBF) {
        --expected_;
        low_ = 0x80;
        return true;
    }
    expected_ = 0;
    low_ = 0x80;
    if (byte >= 0xC2 && byte <= 0xF4) expected_ = byte < 0xE0 ? 1 : byte < 0xF0 ? 2 : 3;
    if (byte == 0xC2 || byte == 0xE0) low_ = 0xA0;
    if (byte == 0xF0) low_ = 0x90;
    return false;
}

} // namespace onu_mng_platform
