#include "olt_host/ticker.h"

#include <utility>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"

namespace olt_host {

namespace {

constexpr unsigned int kPriority = 100;
constexpr unsigned int kStack = 32768;

} // namespace

Ticker::Ticker(unsigned int milliseconds, Fiber& on_the_way, std::vector<ModuleType> to_modules)
    : tick_ms(static_cast<int>(milliseconds)), fiber(on_the_way), modules(std::move(to_modules)) {}

bool Ticker::Open() {
    return Init("Ticker", kPriority, kStack) && Start();
}

void Ticker::Run() {
    for (Tick now = 0;; ++now) {
        Send(now);
        Clock::Delay(tick_ms);
    }
}

void Ticker::Send(Tick now) {
    fiber.Advance(now);
    char tick[sizeof now];
    VariantUtil::SetUint64(tick, now);
    for (const ModuleType module : modules)
        onu_mng_module_send_msg(kHostModule, MessageFor(kMsgTick, module), 0, 0, tick, sizeof tick);
}

} // namespace olt_host
