/// Charts of what state machines did.
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

/// Counts the transitions that state contexts take, and how long they were in a state before each.
///
///     StateChart chart;
///     chart.RegisterState(context, new AskState, "ASK"); // instead of context.RegisterState()
///     ...
///     std::cout << chart.Dot();                          // to be drawn by Graphviz: dot -Tsvg
///
/// A chart hands every call of a hook on to the state that it watches. It sees the successors that states name,
/// and neither `StateContext::ChangeState` nor `Release` by the client. Contexts whose states are registered
/// without a chart pay nothing.
///
/// Thread safety: every operation may be called from any task.
class StateChart {
public:
    StateChart() = default;
    StateChart(const StateChart&) = delete;
    StateChart& operator=(const StateChart&) = delete;

    /// Registers a state in a context as `StateContext::RegisterState` does, with the same results, and watches
    /// it under a name (copied; may be null). The chart outlives the context. `StateRegister::GetStateObj` then
    /// gives another object than `state`.
    unsigned int RegisterState(StateContext& context, ServiceState* state, const char* name);

    /// Gives a service type the name under which its transitions stand. Without memory for it, and before, the
    /// number stands there.
    void NameService(unsigned int service_type, const char* name);

    /// The chart in the language of Graphviz: a cluster for each service type, with its transitions since the
    /// chart was made, the number of each, and the mean and the longest time before it. Empty when memory is
    /// short.
    std::string Dot() const;

    /// Of one transition: how often, and after which time in the state before.
    struct Times {
        unsigned long long count = 0;
        unsigned long long total_us = 0;
        unsigned long long longest_us = 0;
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
