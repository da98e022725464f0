#include "olt_host/operators/operators.h"

#include <utility>

#include "onu_mng_platform/posix/cli/server.h"
#include "onu_mng_platform/posix/console/cli_console.h"

namespace olt_host {

namespace {

constexpr const char* kPrompt = "olt> ";

} // namespace

class Operators::Terminals {
public:
    explicit Terminals(unsigned int served_node) : node(served_node) {}

    const unsigned int node;
    onu_mng_platform::CliServer server;
    onu_mng_platform::CliConsole console;
};

Operators::Operators(unsigned int node) : terminals(std::make_unique<Terminals>(node)) {}

Operators::~Operators() = default;

std::string Operators::Listen(const std::string& path) {
    onu_mng_platform::CliServer::Options options;
    options.log_module = kLogModule;
    const auto status = terminals->server.Start(path, terminals->node, kPrompt, options);
    return status == onu_mng_platform::CliStatus::kOk ? std::string() : path + ": " + TextOf(status);
}

bool Operators::OpenConsole(std::function<void()> on_exit) {
    return terminals->console.Start(terminals->node, kPrompt, {kLogModule, std::move(on_exit)});
}

void Operators::CloseConsole() {
    terminals->console.Stop();
}

void Operators::Print(const std::string& text) {
    terminals->console.Print(text);
}

bool Operators::ShowStatus(const std::vector<std::string>& texts) {
    terminals->console.LetCancelLeave(true);
    return terminals->console.ShowStatus(texts);
}

void Operators::HideStatus() {
    terminals->console.LetCancelLeave(false);
    terminals->console.HideStatus();
}

} // namespace olt_host
