// The state machine by the traces of its hooks. What depends on time is tested on the simulated board.

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "tests/support/log_lines.h"

namespace {

using Trace = std::vector<std::string>;

constexpr unsigned int kWork = 10;

class ScriptedState : public ServiceState {
public:
    ScriptedState(Trace& hooks, unsigned int id, unsigned int on_success, unsigned int on_failure)
        : ServiceState(id), trace(hooks), success(on_success), failure(on_failure) {}

    using ServiceState::Operate;
    unsigned int Operate(StateContext* context, char* p_msg, unsigned int) override {
        trace.push_back("operate " + std::to_string(state_id) + (p_msg == nullptr ? " null" : ""));
        return on_operate(context);
    }
    unsigned int Notify(StateContext* context, char* p_msg, unsigned int len) override {
        trace.push_back("notify " + std::to_string(state_id));
        return takes_notifications ? ONU_MNG_OK : ServiceState::Notify(context, p_msg, len);
    }
    unsigned int GetNextState() override { return ret == ONU_MNG_OK ? success : failure; }
    bool IsAutoNextState() override { return advances || ServiceState::IsAutoNextState(); }

    std::function<unsigned int(StateContext*)> on_operate = [](StateContext*) { return ONU_MNG_OK; };
    bool takes_notifications = true;
    bool advances = false;

private:
    Trace& trace;
    const unsigned int success;
    const unsigned int failure;
};

class Procedure : public StateContext {
public:
    explicit Procedure(unsigned int service = 0) : StateContext(service) {}
    using StateContext::Match;
    using StateContext::Occupy;
    bool Match(char* p_msg, unsigned int) override { return p_msg != nullptr && *p_msg == key; }
    void Occupy(char* p_msg, unsigned int) override { key = p_msg == nullptr ? 0 : *p_msg; }
    char key = 0;
};

/// INIT → work → SUCC → idle; failures go through FAIL to idle.
class StateMachine : public testing::Test {
protected:
    void SetUp() override {
        for (ScriptedState* state : {init, work, succ, fail})
            ASSERT_EQ(0u, context.RegisterState(state));
    }
    void TearDown() override {
        OnuMngLog::GetInstance()->trace_switch = false;
        OnuMngLog::GetInstance()->ClearOnuTracer();
    }
    unsigned int Operate() { return context.Handle(STATE_MSG_OPERATE, message, sizeof message); }
    unsigned int DelayTerminate() { return context.Handle(STATE_MSG_DELAY_TERMINATE, nullptr, 0); }
    void Allocate() { ASSERT_EQ(0u, context.Alloc(1, 5, message, sizeof message)); }

    LogLines lines;
    Trace trace;
    char message[1] = {'k'};
    ScriptedState* init = new ScriptedState(trace, STATE_INIT, kWork, STATE_FAIL);
    ScriptedState* work = new ScriptedState(trace, kWork, STATE_SUCC, STATE_FAIL);
    ScriptedState* succ = new ScriptedState(trace, STATE_SUCC, STATE_IDLE, STATE_IDLE);
    ScriptedState* fail = new ScriptedState(trace, STATE_FAIL, STATE_IDLE, STATE_IDLE);
    Procedure context;
};

TEST_F(StateMachine, WalksToSuccessAndReleasesItself) {
    Allocate();
    EXPECT_EQ(ONU_MNG_STATE_BUSY, context.Alloc(2, 6, message, 1));
    EXPECT_EQ(0u, Operate());
    EXPECT_EQ(kWork, context.cur_state);
    work->advances = true;
    EXPECT_EQ(0u, Operate());
    EXPECT_EQ((Trace{"operate 1", "operate 10", "operate 2"}), trace);
    EXPECT_EQ(STATE_IDLE, context.cur_state);
    EXPECT_FALSE(context.occupied);
    EXPECT_TRUE(context.Match(1, 5, nullptr, 0, false)) << "the last ONU is remembered";
    EXPECT_FALSE(context.Match(1, 5, nullptr, 0, true));
    EXPECT_EQ(ONU_MNG_STATE_UNMATCHED, Operate());
    EXPECT_TRUE(lines.Has("13 service state object is IDEL in StateContext::Handle "));
}

TEST_F(StateMachine, AFailureCarriesTheSameMessageIntoFail) {
    Allocate();
    init->on_operate = [](StateContext*) { return 0x42u; };
    fail->on_operate = [](StateContext*) { return 0x43u; };
    EXPECT_EQ(0x43u, Operate()) << "the result of the last state";
    EXPECT_EQ((Trace{"operate 1", "operate 3"}), trace);
    EXPECT_EQ(0x43u, context.last_ret);
    EXPECT_EQ(0x42u, init->ret);
    EXPECT_EQ(STATE_IDLE, context.cur_state);
}

TEST_F(StateMachine, NotificationsNeverMoveIt) {
    Allocate();
    EXPECT_EQ(0u, context.Handle(STATE_MSG_NOTIFY, message, 1));
    init->takes_notifications = false;
    EXPECT_EQ(ONU_MNG_STATE_NO_NOTIFY, context.Handle(STATE_MSG_NOTIFY, message, 1));
    EXPECT_EQ(ONU_MNG_STATE_NO_NOTIFY, context.last_ret);
    EXPECT_EQ(STATE_INIT, context.cur_state);
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, context.Handle(static_cast<StateMsgType>(4), message, 1));
    EXPECT_EQ(STATE_INIT, context.cur_state);
    EXPECT_EQ((Trace{"notify 1", "notify 1"}), trace);
}

TEST_F(StateMachine, AnImmediateTerminationRunsNoHook) {
    Allocate();
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, context.Handle(STATE_MSG_IMMEDIATE_TERMINATE, nullptr, 0));
    EXPECT_EQ(Trace{}, trace);
    EXPECT_EQ(STATE_IDLE, context.cur_state);
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, context.last_ret);
    EXPECT_EQ((Trace{"4 service state immediate terminates in StateContext::Handle ",
                     "4 service state terminates in ServiceState::Handle, State 1 stops ",
                     "4 service state immediate terminates in StateContext::Handle ",
                     "4 service state terminates in ServiceState::Handle, State 3 stops "}),
              lines.Take());
}

TEST_F(StateMachine, APendingTerminationLetsOnlyFailRun) {
    Allocate();
    EXPECT_EQ(0u, StateContextManager::GetInstance()->Terminate(context.context_id));
    EXPECT_EQ(1, context.stop_times);
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, context.Handle(STATE_MSG_NOTIFY, message, 1));
    EXPECT_EQ(STATE_INIT, context.cur_state);
    EXPECT_EQ(0u, Operate());
    EXPECT_EQ(Trace{"operate 3"}, trace);
    EXPECT_EQ(0, context.stop_times);
    EXPECT_TRUE(lines.Has("13 State 1 stops due to previous termination operation"));
}

TEST_F(StateMachine, SixDelayedTerminationsAreCountedAndTheSeventhActs) {
    Allocate();
    for (int count = 1; count <= 6; ++count) {
        EXPECT_EQ(0u, DelayTerminate());
        EXPECT_EQ(count, context.stop_times);
    }
    EXPECT_EQ(Trace{}, trace);
    EXPECT_EQ(0u, DelayTerminate());
    EXPECT_EQ(Trace{"operate 3 null"}, trace);
    EXPECT_EQ(STATE_IDLE, context.cur_state);
    EXPECT_EQ(ONU_MNG_STATE_UNMATCHED, DelayTerminate());
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, StateContextManager::GetInstance()->Terminate(999999));
}

TEST_F(StateMachine, ATerminationDuringASuccessfulHookMakesItFail) {
    Allocate();
    init->on_operate = [&](StateContext*) { return DelayTerminate(); };
    EXPECT_EQ(0u, Operate()) << "the result of FAIL";
    EXPECT_EQ((Trace{"operate 1", "operate 3"}), trace);
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, init->ret);
    EXPECT_TRUE(lines.Has("13 State 1 result trans to failure due to termination operation"));
}

TEST_F(StateMachine, AHookThatOutlivesItsJobDoesNotMoveTheNextOne) {
    Allocate();
    init->on_operate = [&](StateContext*) {
        EXPECT_EQ(0u, context.Release(1, 5, message, 1, false));
        EXPECT_EQ(0u, context.Alloc(2, 6, message, 1));
        return 0x42u;
    };
    EXPECT_EQ(0x42u, Operate());
    EXPECT_EQ(STATE_INIT, context.cur_state) << "of the second job";
    EXPECT_EQ(0u, context.last_ret);
    EXPECT_EQ(0u, init->ret);
    EXPECT_EQ(2, context.pon_no);
    EXPECT_EQ(Trace{"operate 1"}, trace);
}

TEST_F(StateMachine, StatesThatNameOneAnotherForEverAreStopped) {
    auto* turning = new ScriptedState(trace, 20, 20, 20);
    turning->advances = true;
    ASSERT_EQ(0u, context.RegisterState(turning));
    Allocate();
    context.ChangeState(20, false);
    EXPECT_EQ(0u, Operate());
    EXPECT_EQ(20u, context.cur_state);
    EXPECT_TRUE(lines.Has("13 states advance without end in StateContext::Handle "));
    EXPECT_EQ(0u, DelayTerminate());
    lines.Take();
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, Operate());
    EXPECT_EQ(STATE_IDLE, context.cur_state) << "it would not end otherwise";
    EXPECT_EQ(1, context.pon_no);
    EXPECT_GT(300u, lines.Take().size());
}

TEST_F(StateMachine, RefusesAMessageThatIsNone) {
    Allocate();
    for (const StateMsgType type : {STATE_MSG_OPERATE, STATE_MSG_NOTIFY})
        EXPECT_EQ(ONU_MNG_STATE_REFUSED, context.Handle(type, nullptr, 0));
    EXPECT_EQ(STATE_INIT, context.cur_state);
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, init->Handle(nullptr, STATE_MSG_OPERATE, message, 1));
    init->ChangeState(nullptr, STATE_MSG_OPERATE);
    const char* const no_message = "13 p_msg is NULL in StateContext::Handle ";
    EXPECT_EQ((Trace{no_message, no_message, "13 p_context is NULL", "13 p_context is NULL "}), lines.Take());
    EXPECT_EQ(Trace{}, trace);
}

TEST_F(StateMachine, OfBareStatesEndsWithItsFirstMessage) {
    StateContext bare;
    EXPECT_FALSE(bare.IsOverTime());
    for (const unsigned int id : {STATE_SUCC, STATE_INIT}) {
        ASSERT_EQ(0u, bare.RegisterState(new ServiceState(id, 0)));
        EXPECT_EQ(ONU_MNG_STATE_REFUSED, bare.Alloc(1, 5, message, 1));
    }
    ASSERT_EQ(0u, bare.RegisterState(new ServiceState(STATE_FAIL, ~0ul)));
    EXPECT_FALSE(bare.IsOverTime());
    ASSERT_EQ(0u, bare.Alloc(1, 5, message, 1));
    Clock::Delay(2);
    EXPECT_TRUE(bare.IsOverTime()) << "it has no time at all, counted from its construction";
    bare.ChangeState(STATE_FAIL, false);
    EXPECT_FALSE(bare.IsOverTime()) << "it has all the time there is";
    bare.ChangeState(STATE_INIT, false);
    lines.Take();
    EXPECT_EQ(ONU_MNG_STATE_NO_NOTIFY, bare.Handle(STATE_MSG_NOTIFY, message, 1));
    EXPECT_EQ(STATE_INIT, bare.cur_state);
    EXPECT_EQ(ONU_MNG_OK, bare.Handle(STATE_MSG_OPERATE, message, 1));
    EXPECT_FALSE(bare.occupied);
}

TEST_F(StateMachine, AnUnregisteredStateIsAnsweredAndHasNoTimes) {
    Allocate();
    context.ChangeState(99, true);
    EXPECT_EQ(ONU_MNG_STATE_UNMATCHED, Operate());
    EXPECT_TRUE(lines.Has("13 service state object is NULL in StateContext::Handle "));
    EXPECT_FALSE(context.IsOverTime());
    EXPECT_EQ(0u, context.GetStateTime());
    EXPECT_EQ(0u, context.GetStateMaxRunTime());
    // The look-up left nothing behind: the id can still be registered.
    ASSERT_EQ(0u, context.RegisterState(new ScriptedState(trace, 99, STATE_IDLE, STATE_IDLE)));
    EXPECT_EQ(0u, Operate());
    EXPECT_EQ(Trace{"operate 99"}, trace);
}

TEST_F(StateMachine, IsReleasedByKeyOnlyForItsOnuAndMessage) {
    Allocate();
    char other[1] = {'x'};
    EXPECT_EQ(ONU_MNG_STATE_UNMATCHED, context.Release(1, 6, message, 1, true));
    EXPECT_EQ(ONU_MNG_STATE_UNMATCHED, context.Release(1, 5, other, 1, true));
    EXPECT_EQ(ONU_MNG_STATE_UNMATCHED, context.Release(1, 5, nullptr, 0, true))
        << "the hook is asked for null too";
    EXPECT_TRUE(context.Match(1, 5, message, 1, true));
    EXPECT_FALSE(context.Match(1, 5, other, 1, true));
    EXPECT_EQ(0u, context.Release(1, 5, message, 1, true));
    EXPECT_EQ(StateContext::kNoOnu, context.pon_no);
    EXPECT_FALSE(context.Match(1, 5, nullptr, 0, false));
}

TEST_F(StateMachine, NeedsItsBasicStatesBeforeItIsAllocated) {
    Procedure bare;
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, bare.Alloc(1, 5, message, 1));
    EXPECT_EQ(ONU_MNG_FAILURE, bare.RegisterState(nullptr));
    ScriptedState beyond(trace, 255, 0, 0);
    EXPECT_EQ(ONU_MNG_FAILURE, bare.RegisterState(&beyond));
    ASSERT_EQ(0u, bare.RegisterState(new ScriptedState(trace, STATE_INIT, 0, 0)));
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, bare.Alloc(1, 5, message, 1));
    EXPECT_EQ((Trace{"13 (PON:1, ONU:5)state register not initialized",
                     "13 state obj to be registered is NULL", "13 state 255 to be registered is invalid",
                     "13 (PON:1, ONU:5)INIT, SUCC or FAIL state obj not registered"}),
              lines.Take());
    ScriptedState second(trace, STATE_INIT, 0, 0);
    EXPECT_EQ(0u, bare.RegisterState(&second)) << "the first stays";
}

TEST_F(StateMachine, WritesTheLinesOfTracedOnus) {
    Allocate();
    ASSERT_EQ(0u, context.Release(1, 5, message, 1, false));
    EXPECT_EQ(Trace{}, lines.Take());
    OnuMngLog::GetInstance()->trace_switch = true;
    OnuMngLog::GetInstance()->AddOnuTracer(1, 5, nullptr, 4);
    Allocate();
    init->on_operate = [](StateContext*) { return 0x80u; };
    Operate();
    EXPECT_EQ((Trace{"4 (PON:1, ONU:5)Alloc state for pon_no 1 onu_id 5 succeeded",
                     "4 (PON:1, ONU:5)Handle state 1 failed, ret = 80",
                     "4 (PON:1, ONU:5)Release state for pon_no 1 onu_id 5 succeeded"}),
              lines.Take());
}

TEST_F(StateMachine, ContextsAreNumberedAndLeaveThePoolWhenDestroyed) {
    StateContextManager* pool = StateContextManager::GetInstance();
    const unsigned int size = pool->GetSize();
    unsigned int id = 0;
    {
        Procedure second(9);
        id = second.context_id;
        EXPECT_EQ(context.context_id + 1, id);
        EXPECT_EQ(&second, pool->GetItem(size));
        EXPECT_EQ(9u, second.service_type);
    }
    EXPECT_EQ(size, pool->GetSize());
    EXPECT_EQ(nullptr, pool->GetItem(size));
    EXPECT_EQ(ONU_MNG_STATE_REFUSED, pool->Terminate(id));
    EXPECT_EQ(id + 1, Procedure().context_id) << "no id is used again";
    unsigned int untouched = 12;
    pool->RegisterContext(nullptr, untouched);
    EXPECT_EQ(12u, untouched);
}

} // namespace
