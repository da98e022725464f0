/// The host's clock.
#ifndef OLT_HOST_SERVICES_TICKER_H
#define OLT_HOST_SERVICES_TICKER_H

#include <atomic>
#include <vector>

#include "olt_host/onu/fiber.h"
#include "olt_host/services/messages.h"
#include "olt_host/services/onu_table.h"
#include "onu_mng_lib/onu_mng_common/runable.h"

namespace olt_host {

/// Sends a tick to the fiber and to each service, at the start and then every `tick_ms` milliseconds. If a
/// queue is full, the tick is lost; the next one does the same work.
class Ticker : public Thread {
public:
    /// `now` and `fiber` must outlive the ticker.
    Ticker(unsigned int tick_ms, std::atomic<Tick>& now, Fiber& fiber, std::vector<ModuleType> modules);
    ~Ticker() override { EndTask(); }

    /// Starts the task. @return false if the platform cannot provide a task.
    [[nodiscard]] bool Open();
    /// Ends the task and returns when it has ended.
    void Close() { EndTask(); }

private:
    void Run() override;
    void Tell();

    const int tick_ms;
    std::atomic<Tick>& now;
    Fiber& fiber;
    const std::vector<ModuleType> modules;
};

} // namespace olt_host

#endif
