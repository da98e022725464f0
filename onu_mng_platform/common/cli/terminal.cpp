#include "onu_mng_platform/common/cli/terminal.h"

#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

namespace onu_mng_platform {
namespace {

thread_local vty* current_terminal = nullptr;

int FormatLong(const Output& output, size_t size, const char* format, va_list arguments) {
    const std::unique_ptr<char[]> text(new (std::nothrow) char[size + 1]);
    if (text == nullptr || std::vsnprintf(text.get(), size + 1, format, arguments) < 0) return -1;
    output(std::string_view(text.get(), size));
    return static_cast<int>(size);
}

int Format(const Output& output, const char* format, va_list arguments) {
    char text[512];
    va_list again;
    va_copy(again, arguments);
    int size = std::vsnprintf(text, sizeof text, format, arguments);
    if (size >= static_cast<int>(sizeof text))
        size = FormatLong(output, static_cast<size_t>(size), format, again);
    else if (size > 0)
        output(std::string_view(text, static_cast<size_t>(size)));
    va_end(again);
    return size < 0 ? -1 : size;
}

} // namespace

vty* CurrentTerminal() {
    return current_terminal;
}

TerminalScope::TerminalScope(vty* terminal, unsigned int node)
    : terminal_(terminal), outer_terminal_(current_terminal), outer_node_(terminal->node) {
    current_terminal = terminal;
    terminal->node = node;
}

TerminalScope::~TerminalScope() {
    terminal_->node = outer_node_;
    current_terminal = outer_terminal_;
}

} // namespace onu_mng_platform

extern "C" int vty_out(vty* terminal, const char* format, ...) {
    if (terminal == nullptr || format == nullptr) return -1;
    va_list arguments;
    va_start(arguments, format);
    int written = -1;
    try {
        written = onu_mng_platform::Format(terminal->output, format, arguments);
    } catch (const std::bad_alloc&) {
        // A filter had no memory for its line; -1 is returned.
    }
    va_end(arguments);
    return written;
}

extern "C" vty* vty_create(void (*write)(void* context, const char* data, size_t size), void* context) {
    if (write == nullptr) return nullptr;
    vty* terminal = new (std::nothrow) vty;
    if (terminal != nullptr) terminal->output = onu_mng_platform::Output{write, context};
    return terminal;
}

extern "C" void vty_destroy(vty* terminal) {
    delete terminal;
}
