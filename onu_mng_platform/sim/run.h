/// The state of one run.
#ifndef ONU_MNG_PLATFORM_SIM_RUN_H
#define ONU_MNG_PLATFORM_SIM_RUN_H

#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "onu_mng_platform/sim/blocks.h"
#include "onu_mng_platform/sim/board.h"
#include "onu_mng_platform/sim/faults.h"
#include "onu_mng_platform/sim/record.h"
#include "onu_mng_platform/sim/scheduler.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

constexpr std::size_t kHostStack = 8 * 1024 * 1024;

class SimRun {
public:
    explicit SimRun(const SimOptions& run_options);

    const SimResult& Run(const std::function<void()>& body);
    /// Does the work of `Simulation::Explain`.
    std::string Explain() const;

    /// Returns the calendar time since 1970.
    SimTime Calendar() const;

    /// Adds a task to the board and starts it. Returns null if the system cannot provide a thread.
    std::shared_ptr<Task> Spawn(const char* name, unsigned int priority, std::size_t stack_size,
                                std::function<void()> entry, bool is_host);

    const SimOptions options;
    Scheduler scheduler;
    Faults faults;
    Record record;
    Blocks blocks;
    std::vector<SimLogLine> log;
    std::vector<std::pair<unsigned int, int>> opened_levels; ///< module and level
    std::uint64_t messages = 0;                              ///< number of messages sent
    SimTime calendar_step{0};
    SimHoldings before{};
    SimResult result;

private:
    void Begin();
    void End();
    std::string Origin() const;

    std::optional<std::string> zone_before; ///< TZ in the environment before the run
};

timespec ToTimespec(SimTime time);

} // namespace onu_mng_platform

#endif
