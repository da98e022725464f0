#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <new>
#include <optional>

#include "onu_mng_lib/onu_mng_common/immortal.h"
#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/process_end.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned int kSupervisionStackSize = 32768;
constexpr int kShortestSleepMs = 1000;
/// How often a destructor checks whether its context is still pinned.
constexpr int kPinnedRetryMs = 1;

int SleepOfInterval(unsigned int seconds) {
    const std::uint64_t ms = std::uint64_t{seconds} * 1000;
    return ms == 0 || ms > std::numeric_limits<std::int32_t>::max() ? kShortestSleepMs : static_cast<int>(ms);
}

/// Logs an exception from a hook. The supervision of the other contexts continues.
void LogException(const StateContext& context, const char* what) {
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "supervision of state context %d ended by an exception: %s\r\n",
               static_cast<int>(context.context_id), what);
}

} // namespace

/// Keeps a context alive while this task sends it a termination. Pins of a task nest when its hooks send
/// further terminations.
class StateContextManager::Pin {
public:
    /// The caller holds `list_lock`, so the context cannot leave the pool.
    explicit Pin(StateContext& to_pin) : context(to_pin), outer(t_innermost) {
        ++context.pins;
        t_innermost = this;
    }
    ~Pin() {
        t_innermost = outer;
        --context.pins;
    }
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

    static unsigned int CountOwn(const StateContext& context) {
        unsigned int count = 0;
        for (const Pin* pin = t_innermost; pin != nullptr; pin = pin->outer)
            count += &pin->context == &context ? 1 : 0;
        return count;
    }
    static void DropAll() {
        for (; t_innermost != nullptr; t_innermost = t_innermost->outer)
            --t_innermost->context.pins;
    }

private:
    StateContext& context;
    Pin* const outer;

    static inline thread_local Pin* t_innermost = nullptr;
};

StateContextManager* StateContextManager::GetInstance() {
    static Immortal<StateContextManager> instance;
    return instance.Get();
}

StateContextManager::StateContextManager() {
    ArrangeProcessEnd();
}

unsigned int StateContextManager::Init(unsigned int priority) {
    interval_run_time = kDefaultInterval;
    if (IsAlive()) return ONU_MNG_OK;
    if (!Thread::Init("OmciUpgExcDetect", priority, kSupervisionStackSize)) {
        return LogFailure("Init StateContextDetect failed\r\n");
    }
    if (!Thread::Start()) {
        return LogFailure("start StateContextDetect failed\r\n");
    }
    return ONU_MNG_OK;
}

void StateContextManager::RegisterContext(StateContext* context, unsigned int& context_id) {
    if (context == nullptr) return;
    std::optional<LockGuard> round;
    if (!IsCurrent()) round.emplace(lock);
    if (AddContext(*context)) context_id = context->context_id;
}

bool StateContextManager::AddContext(StateContext& context) {
    try {
        LockGuard guard(list_lock);
        context_list.push_back(&context);
        context.context_id = ++last_context_id;
        return true;
    } catch (const std::bad_alloc&) {
        LogFailure("no memory to register the state context\r\n");
        return false;
    }
}

void StateContextManager::UnregisterContext(StateContext* context) {
    {
        LockGuard guard(list_lock);
        const auto entry = std::find(context_list.begin(), context_list.end(), context);
        if (entry != context_list.end()) {
            if (static_cast<std::size_t>(entry - context_list.begin()) < round_position) --round_position;
            context_list.erase(entry);
        }
    }
    // The pins of the calling task do not count: if a hook calls exit(), its context is still pinned while
    // static contexts are destroyed, and the task would wait for itself.
    while (context->pins != Pin::CountOwn(*context))
        Clock::Delay(kPinnedRetryMs);
}

StateContext* StateContextManager::Find(unsigned int context_id, std::optional<Pin>& pin) {
    LockGuard guard(list_lock);
    for (StateContext* context : context_list) {
        if (context->context_id != context_id) continue;
        pin.emplace(*context);
        return context;
    }
    return nullptr;
}

unsigned int StateContextManager::Terminate(unsigned int context_id) {
    std::optional<Pin> pin;
    StateContext* const context = Find(context_id, pin);
    return context == nullptr ? ONU_MNG_STATE_REFUSED
                              : context->Handle(STATE_MSG_DELAY_TERMINATE, nullptr, 0);
}

void StateContextManager::DropPins() {
    Pin::DropAll();
}

void StateContextManager::Run() {
    for (;;) {
        Clock::Delay(SleepOfInterval(interval_run_time));
        RunRound();
    }
}

/// Sends a termination to each context that needs one. The list may change while the hooks run.
void StateContextManager::RunRound() {
    LockGuard round(lock);
    for (;;) {
        std::optional<Pin> pin;
        unsigned int of_job = 0;
        StateContext* const context = NextOverTime(pin, of_job);
        if (context == nullptr) return;
        try {
            context->HandleOfJob(of_job, STATE_MSG_DELAY_TERMINATE, nullptr, 0);
        } catch (const std::exception& error) {
            LogException(*context, error.what());
        } catch (...) {
            bep_passTaskEnd();
            LogException(*context, kUnknownException);
        }
    }
}

/// Returns the next context in this round that needs a termination, with its job; null at the end of the
/// round.
StateContext* StateContextManager::NextOverTime(std::optional<Pin>& pin, unsigned int& of_job) {
    LockGuard guard(list_lock);
    while (round_position < context_list.size()) {
        StateContext* const context = context_list[round_position++];
        of_job = context->job;
        if (context->stop_times == 0 && !context->IsOverTime()) continue;
        pin.emplace(*context);
        return context;
    }
    round_position = 0;
    return nullptr;
}

AggregateObject* StateContextManager::GetItem(unsigned int index) {
    LockGuard guard(list_lock);
    return index < context_list.size() ? context_list[index] : nullptr;
}

unsigned int StateContextManager::GetSize() const {
    LockGuard guard(list_lock);
    return static_cast<unsigned int>(context_list.size());
}
