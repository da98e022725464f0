#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <memory>
#include <new>

#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned int kSupervisionStackSize = 32768;
constexpr int kShortestSleepMs = 1000;
/// How often a context that is being terminated looks whether it may be destroyed.
constexpr int kPinnedRetryMs = 1;

int SleepOfInterval(unsigned int seconds) {
    const std::uint64_t ms = std::uint64_t{seconds} * 1000;
    return ms == 0 || ms > std::numeric_limits<std::int32_t>::max() ? kShortestSleepMs : static_cast<int>(ms);
}

} // namespace

StateContextManager* StateContextManager::GetInstance() {
    static StateContextManager instance;
    return &instance;
}

// States hold pool blocks and releases ask the trace registry: both are built before the pool of contexts and
// so destroyed after it.
StateContextManager::StateContextManager() {
    MemoryAllocator::GetInstance();
    onu_mng_log_is_trace_onu(StateContext::kNoOnu, StateContext::kNoOnu, nullptr, ONU_MNG_LOG_TRACE);
}

StateContextManager::~StateContextManager() {
    EndTask();
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
    LockGuard guard(lock);
    try {
        context_list.push_back(context);
    } catch (const std::bad_alloc&) {
        LogFailure("no memory to register the state context\r\n");
        return;
    }
    context_id = ++last_context_id;
    context->context_id = context_id;
}

void StateContextManager::UnregisterContext(StateContext* context) {
    {
        LockGuard guard(lock);
        context_list.erase(std::remove(context_list.begin(), context_list.end(), context),
                           context_list.end());
    }
    while (context->pins != 0)
        Clock::Delay(kPinnedRetryMs);
}

/// Finds a context and keeps it from being destroyed until it is unpinned.
StateContext* StateContextManager::PinContext(unsigned int context_id) {
    const PoolGuard guard(*this);
    const auto found =
        std::find_if(context_list.begin(), context_list.end(),
                     [context_id](StateContext* context) { return context->context_id == context_id; });
    if (found == context_list.end()) return nullptr;
    ++(*found)->pins;
    return *found;
}

unsigned int StateContextManager::Terminate(unsigned int context_id) {
    const auto unpin = [](StateContext* context) { --context->pins; };
    const std::unique_ptr<StateContext, decltype(unpin)> context(PinContext(context_id), unpin);
    return context == nullptr ? ONU_MNG_STATE_REFUSED
                              : context->Handle(STATE_MSG_DELAY_TERMINATE, nullptr, 0);
}

void StateContextManager::Run() {
    for (;;) {
        Clock::Delay(SleepOfInterval(interval_run_time));
        LockGuard guard(lock);
        for (StateContext* context : context_list) {
            try {
                Supervise(*context);
            } catch (const std::exception& error) {
                // A hook that throws is its service's fault, and all others stay supervised.
                ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                           "supervision of state context %d ended by an exception: %s\r\n",
                           static_cast<int>(context->context_id), error.what());
            }
        }
    }
}

void StateContextManager::Supervise(StateContext& context) {
    const unsigned int job = context.job; // a request is for the job that was found wanting
    if (context.stop_times != 0 || context.IsOverTime())
        context.HandleOfJob(job, STATE_MSG_DELAY_TERMINATE, nullptr, 0);
}

AggregateObject* StateContextManager::GetItem(unsigned int index) {
    const PoolGuard guard(*this);
    return index < context_list.size() ? context_list[index] : nullptr;
}

unsigned int StateContextManager::GetSize() const {
    const PoolGuard guard(*this);
    return static_cast<unsigned int>(context_list.size());
}
