#include "olt_host/services/ticker.h"

#include <utility>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"

namespace olt_host {

namespace {

constexpr unsigned int kPriority = 100;
constexpr unsigned int kStack = 32768;

} // namespace

Ticker::Ticker(unsigned int milliseconds, std::atomic<Tick>& time, Fiber& on_the_way,
               std::vector<ModuleType> to_modules)
    : tick_ms(static_cast<int>(milliseconds)), now(time), fiber(on_the_way), modules(std::move(to_modules)) {}

bool Ticker::Open() {
    return Init("Ticker", kPriority, kStack) && Start();
}

void Ticker::Run() {
    for (;; ++now) {
        Tell();
        Clock::Delay(tick_ms);
    }
}

void Ticker::Tell() {
    fiber.Advance();
    char nothing = 0;
    for (const ModuleType module : modules)
        onu_mng_module_send_msg(kHostModule, MessageFor(kMsgTick, module), 0, 0, &nothing, 1);
}

} // namespace olt_host
