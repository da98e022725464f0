// A message to a context with 16 states. The current state handles it and moves on to the next.

#include <ctime>
#include <map>
#include <memory>
#include <mutex>

#include "bench/measure.h"
#include "bench/modules.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"

namespace bench {

namespace {

/// The three basic states and 13 more, each followed by the next.
constexpr unsigned int kStates[] = {STATE_INIT, STATE_SUCC, STATE_FAIL, 10, 11, 12, 13, 14,
                                    15,         16,         17,         18, 19, 20, 21, 22};

unsigned int Next(unsigned int id) {
    if (id == 22) return STATE_INIT;
    return id == STATE_FAIL ? 10 : id + 1;
}

class OurState : public ServiceState {
public:
    explicit OurState(unsigned int id) : ServiceState(id) {}
    unsigned int Operate(StateContext*, char* p_msg, unsigned int) override {
        Keep(*p_msg);
        return 0;
    }
    unsigned int GetNextState() override { return Next(state_id); }
};

double OurStep() {
    StartSystem();
    auto* context = new StateContext;
    for (const unsigned int id : kStates)
        context->RegisterState(new OurState(id));
    char message = 0;
    context->Alloc(1, 5, &message, 1);
    return TimePerOperation([&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            context->Handle(STATE_MSG_OPERATE, &message, 1);
    });
}

struct PeerState {
    explicit PeerState(unsigned int state_id) : id(state_id) {}
    virtual ~PeerState() = default;
    virtual unsigned int Operate(char* message) {
        Keep(*message);
        return 0;
    }
    virtual unsigned int GetNextState() { return Next(id); }
    const unsigned int id;
    std::timespec last_message{};
};

/// The code that a careful programmer would write. Finding the state, storing the message's time and setting
/// the successor are done under the lock; the hooks run without it.
class PeerContext {
public:
    PeerContext() {
        for (const unsigned int id : kStates)
            states.emplace(id, std::make_unique<PeerState>(id));
    }

    unsigned int Handle(char* message) {
        PeerState* state = nullptr;
        {
            std::lock_guard<std::mutex> guard(mutex);
            const auto found = states.find(current);
            if (found == states.end()) return 1;
            state = found->second.get();
        }
        {
            std::lock_guard<std::mutex> guard(mutex);
            std::timespec_get(&state->last_message, TIME_UTC);
        }
        const unsigned int result = state->Operate(message);
        const unsigned int next = state->GetNextState();
        std::lock_guard<std::mutex> guard(mutex);
        current = next;
        return result;
    }

private:
    std::mutex mutex;
    std::map<unsigned int, std::unique_ptr<PeerState>> states;
    unsigned int current = STATE_INIT;
};

double PeerStep() {
    PeerContext context;
    char message = 0;
    return TimePerOperation([&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            Keep(context.Handle(&message));
    });
}

double ClockReading() {
    return TimePerOperation([](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            std::timespec now;
            std::timespec_get(&now, TIME_UTC);
            Keep(now);
        }
    });
}

} // namespace

void AddStateRows(Rows& rows) {
    using Kind = Case::Kind;
    rows.push_back({"state step, 16 states",
                    Unit::kNanoseconds,
                    1.0,
                    1.2,
                    {{Kind::kOurs, "ours", OurStep, ""},
                     {Kind::kPeer, "map and three mutex pairs", PeerStep, ""},
                     {Kind::kLimit, "clock reading", ClockReading, ""}}});
}

} // namespace bench
