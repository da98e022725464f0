#include "onu_mng_lib/onu_mng_common/state_chart.h"

#include <algorithm>
#include <memory>
#include <new>
#include <set>

#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"

namespace {

constexpr double kUsPerMs = 1000;
constexpr const char* kReservedNames[] = {"IDLE", "INIT", "SUCC", "FAIL"};

/// Returns the text in double quotes, escaped for Graphviz.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') quoted += '\\';
        quoted += character;
    }
    return quoted + '"';
}

std::string NodeOf(unsigned int service_type, unsigned int state_id) {
    return "s" + std::to_string(service_type) + '_' + std::to_string(state_id);
}

/// An edge label: "464 x\n0.012 ms, 0.300 ms at most". The \n is Graphviz's escape sequence.
std::string TextOf(const StateChart::Times& times) {
    std::string text;
    VariantUtil::Assign(text, "%llu x\\n%.3f ms, %.3f ms at most", times.count,
                        static_cast<double>(times.total_us) / static_cast<double>(times.count) / kUsPerMs,
                        static_cast<double>(times.longest_us) / kUsPerMs);
    return text;
}

} // namespace

/// Replaces a state in a context's register and forwards to it. Owns the state.
class StateChart::Watched : public ServiceState {
public:
    Watched(StateChart& of_chart, unsigned int service, Clock& entry, ServiceState* state)
        : ServiceState(state->state_id, state->max_run_time), chart(of_chart), service_type(service),
          entered(entry), inner(state), next(state->state_id) {}

    using ServiceState::Operate;
    unsigned int Operate(StateContext* context, char* message, unsigned int size) override {
        if (state_id == STATE_INIT) entered.Now(); // a release of the context is not seen here
        inner->state_clock = state_clock;
        return inner->Operate(context, message, size);
    }
    unsigned int Notify(StateContext* context, char* message, unsigned int size) override {
        return inner->Notify(context, message, size);
    }
    unsigned int GetNextState() override {
        inner->ret = ret.load();
        next = inner->GetNextState();
        return next;
    }
    // The context calls this after GetNextState. A state that stays and does not run again at once only
    // waits, so that is not a transition.
    bool IsAutoNextState() override {
        const bool is_auto = inner->IsAutoNextState();
        if (is_auto || next != state_id)
            chart.Count({service_type, state_id, next}, entered.Diff(CLOCK_PRECISION_US));
        return is_auto;
    }

    /// Returns the state and gives up its ownership.
    ServiceState* Release() { return inner.release(); }

private:
    StateChart& chart;
    const unsigned int service_type;
    Clock& entered;
    std::unique_ptr<ServiceState> inner;
    std::atomic<unsigned int> next;
};

unsigned int StateChart::RegisterState(StateContext& context, ServiceState* state, const char* name) {
    if (state == nullptr) return context.RegisterState(state);
    std::unique_ptr<Watched> watched;
    try {
        const LockGuard guard(lock);
        if (name != nullptr) states.emplace(std::make_pair(context.service_type, state->state_id), name);
        watched = std::make_unique<Watched>(*this, context.service_type, entered[&context], state);
    } catch (const std::bad_alloc&) {
        return LogFailure("no memory to watch the state\r\n");
    }
    const unsigned int result = context.RegisterState(watched.get());
    const StateRegister* const registered = context.p_state_register;
    const bool is_taken = registered != nullptr && registered->GetStateObj(state->state_id) == watched.get();
    Watched* const kept = watched.release();
    if (is_taken) return result;
    kept->Release(); // the caller keeps its state
    delete kept;
    return result;
}

void StateChart::NameService(unsigned int service_type, const char* name) {
    if (name == nullptr) return;
    try {
        const LockGuard guard(lock);
        services[service_type] = name;
    } catch (const std::bad_alloc&) {
        LogFailure("no memory to name the service\r\n");
    }
}

void StateChart::Count(const Transition& transition, unsigned long long time_us) {
    try {
        const LockGuard guard(lock);
        Times& times = transitions[transition];
        ++times.count;
        times.total_us += time_us;
        times.longest_us = std::max(times.longest_us, time_us);
    } catch (const std::bad_alloc&) {
        LogFailure("no memory to count the transition\r\n");
    }
}

std::string StateChart::NameOf(unsigned int service_type, unsigned int state_id) const {
    const auto name = states.find({service_type, state_id});
    if (name != states.end()) return name->second;
    return state_id <= STATE_FAIL ? kReservedNames[state_id] : "state " + std::to_string(state_id);
}

/// The cluster of one service type: its states and transitions.
std::string StateChart::ClusterText(unsigned int service_type) const {
    std::set<unsigned int> seen;
    std::string edges;
    for (const auto& [transition, times] : transitions) {
        const auto& [type, from, to] = transition;
        if (type != service_type) continue;
        seen.insert({from, to});
        edges +=
            "    " + NodeOf(type, from) + " -> " + NodeOf(type, to) + " [label=\"" + TextOf(times) + "\"];\n";
    }
    const auto name = services.find(service_type);
    std::string text =
        "  subgraph cluster_" + std::to_string(service_type) + " {\n    label=" +
        Quoted(name != services.end() ? name->second : "service type " + std::to_string(service_type)) +
        ";\n";
    for (const unsigned int id : seen)
        text += "    " + NodeOf(service_type, id) +
                (id == STATE_IDLE ? " [shape=point" : " [label=" + Quoted(NameOf(service_type, id))) + "];\n";
    return text + edges + "  }\n";
}

std::string StateChart::Dot() const {
    try {
        const LockGuard guard(lock);
        std::set<unsigned int> types;
        for (const auto& [transition, times] : transitions)
            types.insert(std::get<0>(transition));
        std::string text = "digraph states {\n  node [shape=box, style=rounded];\n";
        for (const unsigned int type : types)
            text += ClusterText(type);
        return text + "}\n";
    } catch (const std::bad_alloc&) {
        return {};
    }
}
