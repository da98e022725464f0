/// Charts of the transitions of state machines.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_STATE_CHART_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_STATE_CHART_H

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"

/// Counts the transitions of state contexts and measures the time in the state before each.
///
///     StateChart chart;
///     chart.RegisterState(context, new AskState, "ASK"); // instead of context.RegisterState()
///     ...
///     std::cout << chart.Dot();                          // for Graphviz: dot -Tsvg
///
/// A chart forwards every call of a hook to the state that it watches. It records the successors that states
/// return. It does not record `StateContext::ChangeState` and `Release` by the client. Contexts whose states
/// are registered without a chart have no extra cost.
///
/// Thread safety: every operation may be called from any task.
class StateChart {
public:
    StateChart() = default;
    StateChart(const StateChart&) = delete;
    StateChart& operator=(const StateChart&) = delete;

    /// Registers a state in a context like `StateContext::RegisterState`, with the same results, and watches
    /// it under a name (copied; may be null). The chart must outlive the context.
    /// `StateRegister::GetStateObj` then returns another object than `state`.
    unsigned int RegisterState(StateContext& context, ServiceState* state, const char* name);

    /// Sets the name of a service type in the chart. Without a name, or if memory is short, the chart shows
    /// its number.
    void NameService(unsigned int service_type, const char* name);

    /// Returns the chart in the Graphviz language: a cluster for each service type, with its transitions
    /// since the chart was created, their number, and the mean and the longest time before them. Empty if
    /// memory is short.
    std::string Dot() const;

    /// The number of one transition, and the times in the state before it.
    struct Times {
        unsigned long long count = 0;      ///< transitions
        unsigned long long total_us = 0;   ///< microseconds in the state before, in all
        unsigned long long longest_us = 0; ///< the longest of these times
    };

private:
    class Watched;

    /// Service type, state, successor.
    using Transition = std::tuple<unsigned int, unsigned int, unsigned int>;

    void Count(const Transition& transition, unsigned long long time_us);
    std::string NameOf(unsigned int service_type, unsigned int state_id) const;
    std::string ClusterText(unsigned int service_type) const;

    mutable ReadWriteLock lock; ///< guards all below
    std::map<unsigned int, std::string> services;
    std::map<std::pair<unsigned int, unsigned int>, std::string> states; ///< by service type and id
    std::map<const StateContext*, Clock> entered;                        ///< when the current state was
    std::map<Transition, Times> transitions;
};

#endif
