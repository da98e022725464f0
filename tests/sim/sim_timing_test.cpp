// What the library does by the clock, hour-long waits included, in no time.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_common/msg_queue.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/sim/simulation.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/port_task.h"
#include "tests/support/sim_host.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

void RunHost(const std::function<void(Simulation&)>& body) {
    SimOptions options;
    options.limit = 24h * 100;
    Simulation board(options);
    ::RunHost(board, [&] { body(board); });
}

constexpr auto Quiet = [](StateContext&, char*) { return ONU_MNG_OK; };

/// When a state was handed something, the state, and whether it was handed a message.
using Visit = std::tuple<std::int64_t, unsigned int, bool>;

TEST(Supervision, ForcesASilentContextOnBetweenSixAndSevenPeriodsAfterItsLimit) {
    const struct {
        SimTime stamp, first_request;
    } cases[] = {{0s, 330s}, {1ms, 330s}, {30s - 1ms, 330s}, {30s, 360s}, {47s, 360s}};
    for (const auto& [stamp, first_request] : cases) {
        RunHost([&, stamp = stamp, first_request = first_request](Simulation& board) {
            std::vector<Visit> visits;
            board.Sleep(stamp);
            SimContext context([&](StateContext& where, char* p_msg) {
                visits.emplace_back(board.Now() / 1ms, where.cur_state, p_msg != nullptr);
                return ONU_MNG_OK;
            });
            ASSERT_EQ(ONU_MNG_OK, context.Alloc(1, 5, nullptr, 0));
            ASSERT_EQ(ONU_MNG_OK, context.Operate());
            for (int request = 1; request <= 6; ++request) {
                board.Sleep(first_request + (request - 1) * 30s - board.Now() - 1ms);
                EXPECT_EQ(request - 1, context.stop_times);
                board.Sleep(2ms);
                EXPECT_EQ(request, context.stop_times);
            }
            EXPECT_EQ(SimContext::kWork, context.cur_state);
            board.Sleep(1min);
            const SimTime forced = first_request + 6 * 30s;
            EXPECT_EQ(
                (std::vector<Visit>{{stamp / 1ms, STATE_INIT, true}, {forced / 1ms, STATE_FAIL, false}}),
                visits);
            EXPECT_LT(300s + 6 * 30s, forced - stamp);
            EXPECT_GE(300s + 7 * 30s, forced - stamp);
            EXPECT_EQ(STATE_IDLE, context.cur_state);
            EXPECT_EQ(0, context.stop_times);
            EXPECT_EQ(static_cast<unsigned long long>((forced - stamp) / 1ms), context.last_run_time);
        });
    }
}

TEST(Supervision, OutlivesAHookThatAsksThePoolAndThrows) {
    RunHost([](Simulation& board) {
        StateContextManager* const pool = StateContextManager::GetInstance();
        SimContext idle(Quiet);
        unsigned int throws = 0;
        SimContext thrower([&](StateContext&, char*) -> unsigned int {
            EXPECT_EQ(2u, pool->GetSize());
            EXPECT_EQ(&idle, pool->GetItem(0));
            EXPECT_EQ(ONU_MNG_STATE_UNMATCHED, pool->Terminate(idle.context_id));
            if (++throws == 1) throw std::bad_alloc();
            if (throws == 2) throw 42;
            return ONU_MNG_OK;
        });
        ASSERT_EQ(ONU_MNG_OK, thrower.Alloc(1, 5, nullptr, 0));
        board.Sleep(330s + 6 * 30s + 1s);
        EXPECT_EQ(1u, throws);
        EXPECT_EQ(STATE_FAIL, thrower.cur_state);
        EXPECT_EQ(1u, board.Logged("supervision of state context " + std::to_string(thrower.context_id) +
                                   " ended by an exception: std::bad_alloc\r\n"));
        board.Sleep(60s);
        EXPECT_EQ(1u, board.Logged("supervision of state context " + std::to_string(thrower.context_id) +
                                   " ended by an exception: not a std::exception\r\n"));
        EXPECT_EQ(3u, throws);
        EXPECT_EQ(STATE_IDLE, thrower.cur_state);
    });
}

TEST(Supervision, LeavesAContextAloneThatIsIdleOrSpokenTo) {
    RunHost([](Simulation& board) {
        SimContext idle(Quiet);
        SimContext busy(Quiet);
        auto* turning = new SimState(20, 20, 20, Quiet);
        ASSERT_EQ(ONU_MNG_OK, busy.RegisterState(turning));
        ASSERT_EQ(ONU_MNG_OK, busy.Alloc(1, 5, nullptr, 0));
        busy.ChangeState(20, false);
        for (int message = 0; message < 20; ++message) {
            ASSERT_EQ(ONU_MNG_OK, busy.Operate());
            board.Sleep(300s);
            EXPECT_EQ(300'000u, busy.GetStateTime());
            EXPECT_FALSE(busy.IsOverTime()) << "exactly at its limit";
        }
        board.Sleep(1ms);
        EXPECT_TRUE(busy.IsOverTime());
        EXPECT_FALSE(idle.IsOverTime());
        EXPECT_EQ(0, idle.stop_times + busy.stop_times);
        EXPECT_EQ(0u, idle.GetStateTime());
    });
}

TEST(Supervision, TakesANewPeriodAfterTheSleepInProgress) {
    RunHost([](Simulation& board) {
        CapturedTerminal terminal;
        ASSERT_EQ(ONU_MNG_OK, onu_mng_cli_install_element());
        std::vector<SimTime> rounds;
        SimContext context([&](StateContext&, char*) {
            rounds.push_back(board.Now());
            return ONU_MNG_FAILURE;
        });
        auto* turning = new SimState(20, 20, 20, Quiet, 0);
        ASSERT_EQ(ONU_MNG_OK, context.RegisterState(turning));
        ASSERT_EQ(ONU_MNG_OK, context.Alloc(1, 5, nullptr, 0));
        context.ChangeState(20, false);
        board.Sleep(10s);
        const auto stops_after = [&](SimTime span) {
            board.Sleep(span);
            return static_cast<int>(context.stop_times);
        };
        const auto type = [&](const char* line) {
            EXPECT_EQ(0, vty_execute(terminal, SimHost::kNode, line)) << terminal.Text();
        };
        type("set state_machine interval_run_time 5");
        EXPECT_EQ(0, stops_after(19s)) << "the sleep in progress is not cut short";
        EXPECT_EQ(1, stops_after(2s));
        EXPECT_EQ(1, stops_after(3s));
        EXPECT_EQ(2, stops_after(2s));
        type("set state_machine interval_run_time 0");
        EXPECT_EQ(3, stops_after(4500ms));
        EXPECT_EQ(5, stops_after(2s)) << "slept as one second";
        EXPECT_EQ(0u, StateContextManager::GetInstance()->interval_run_time);
        StateContextManager::GetInstance()->Init(100);
        EXPECT_EQ(StateContextManager::kDefaultInterval,
                  StateContextManager::GetInstance()->interval_run_time);
    });
}

TEST(Supervision, FollowsTheCalendarWhenItIsSet) {
    RunHost([](Simulation& board) {
        SimContext context(Quiet);
        ASSERT_EQ(ONU_MNG_OK, context.Alloc(1, 5, nullptr, 0));
        board.Sleep(10s);
        board.StepCalendar(-24h);
        EXPECT_EQ(0u, context.GetStateTime());
        board.Sleep(31s);
        EXPECT_EQ(0, context.stop_times);
        board.StepCalendar(48h);
        board.Sleep(30s);
        EXPECT_EQ(1, context.stop_times);
    });
}

TEST(Waits, LastAsManySecondsAsAsked) {
    RunHost([](Simulation& board) {
        Semaphore semaphore;
        MessageQueue queue;
        ASSERT_EQ(ONU_MNG_OK, queue.Init(1, 4));
        char message[4] = {};
        const auto last = [&](SimTime span, const std::function<bool()>& fails) {
            const SimTime since = board.Now();
            EXPECT_TRUE(fails());
            EXPECT_EQ(span / 1ms, (board.Now() - since) / 1ms);
        };
        const auto send = [&](int timeout) {
            return [&, timeout] { return queue.SendMsg(message, 4, timeout) == ONU_MNG_FAILURE; };
        };
        const auto receive = [&](int timeout) {
            return [&, timeout] { return queue.RecvMsg(message, 4, timeout) == 0; };
        };
        const auto take = [&](unsigned int seconds) {
            return [&, seconds] { return semaphore.TryWait(seconds) == -1; };
        };
        const SimTime longest = 1ms * std::numeric_limits<int>::max();
        last(0s, take(0));
        last(3s, take(3));
        last(longest, take(std::numeric_limits<unsigned int>::max()));
        last(0s, receive(0));
        last(0s, receive(-2));
        last(7s, receive(7));
        last(longest, receive(std::numeric_limits<int>::max()));
        ASSERT_EQ(ONU_MNG_OK, queue.SendMsg(message, 4, -1));
        last(0s, send(0));
        last(0s, send(-2));
        last(0s, send(-3));
        last(7s, send(7));
        last(longest, send(std::numeric_limits<int>::max()));

        board.Spawn("late", [&] {
            board.Sleep(2s);
            EXPECT_TRUE(semaphore.IsWaiting());
            semaphore.Signal();
            EXPECT_EQ(4u, queue.RecvMsg(message, 4, -1));
            board.Sleep(1s);
            semaphore.Signal();
            board.Sleep(1s);
            EXPECT_EQ(ONU_MNG_OK, queue.SendMsg(message, 4, -1));
        });
        last(2s, [&] { return semaphore.TryWait(3) == 0; });
        EXPECT_FALSE(semaphore.IsWaiting());
        last(0s, [&] { return queue.RecvMsg(message, 4, -2) == 0; });
        last(1s, [&] {
            semaphore.Wait();
            return true;
        });
        last(1s, [&] { return queue.RecvMsg(message, 4, 3) == 4; });
    });
}

TEST(Threads, EndTheirTaskWhenTheyAreDestroyed) {
    struct Sleeper : Thread {
        void Run() override { Clock::Delay(std::numeric_limits<int>::max()); }
    };
    RunHost([](Simulation& board) {
        const auto before = board.Holdings().tasks;
        auto sleeper = std::make_unique<Sleeper>();
        EXPECT_TRUE(sleeper->Init("sleeper", 100, 65536) && sleeper->Start());
        EXPECT_EQ(before + 1, board.Holdings().tasks);
        sleeper.reset();
        EXPECT_EQ(before, board.Holdings().tasks);
    });
}

TEST(Locks, CountNoTaskThatWasEndedOrRefused) {
    RunHost([](Simulation& board) {
        ReadWriteLock lock;
        lock.WriteLock();
        {
            const PortTask first("waiter", [&lock] { lock.ReadLock(); });
            const PortTask second("waiter", [&lock] { lock.ReadLock(); });
            board.Sleep(1ms);
        }
        EXPECT_TRUE(lock.IsLocking());
        lock.WriteUnlock();
        EXPECT_FALSE(lock.IsLocking()) << "the two that waited were ended";
        board.FailNth(SimFault::kSemaphoreTake, 1);
        lock.ReadLock();
        EXPECT_FALSE(lock.IsLocking());
        const LockGuard guard(lock);
        EXPECT_TRUE(lock.IsLocking());
    });
}

TEST(ServiceModule, WhoseQueueFailsNeitherSpinsNorFillsTheLog) {
    RunHost([](Simulation& board) {
        int handled = 0;
        auto* module = new SimModule(3, MSG_PROC_ASYNC, [&](const SimModule::Message&) {
            ++handled;
            return ONU_MNG_OK;
        });
        ASSERT_EQ(ONU_MNG_OK, onu_mng_module_reg_service_module(module));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
        board.Settle();
        char message = 1;
        board.FailNth(SimFault::kQueueReceive, 1);
        for (int sent = 1; sent <= 2; ++sent) {
            EXPECT_EQ(ONU_MNG_OK, onu_mng_module_send_msg(0, 3, 1, 5, &message, 1));
            board.Sleep(100ms);
            EXPECT_EQ(sent, handled) << "one failure costs a tick";
        }
        board.FailFrom(SimFault::kQueueReceive, 1);
        EXPECT_EQ(ONU_MNG_OK, onu_mng_module_send_msg(0, 3, 1, 5, &message, 1));
        EXPECT_EQ(ONU_MNG_OK, onu_mng_module_send_msg(0, 3, 1, 5, &message, 1));
        const std::size_t lines = board.Log().size();
        board.Sleep(1h);
        EXPECT_GE(3605u, board.Log().size() - lines);
        EXPECT_LE(3595u, board.Log().size() - lines);
        board.FailNone();
        board.Sleep(2s);
        EXPECT_EQ(4, handled) << "it goes on where it was";
    });
}

} // namespace
