// For ports without terminals.

#include "olt_host/operators/operators.h"

namespace olt_host {

class Operators::Terminals {};

Operators::Operators(unsigned int) {}

Operators::~Operators() = default;

std::string Operators::Listen(const std::string& path) {
    return path + ": this port serves no operators";
}

bool Operators::OpenConsole(std::function<void()>) {
    return false;
}

void Operators::CloseConsole() {}

void Operators::Print(const std::string&) {}

bool Operators::ShowStatus(const std::vector<std::string>&) {
    return false;
}

void Operators::HideStatus() {}

} // namespace olt_host
