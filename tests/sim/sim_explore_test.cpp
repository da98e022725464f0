// The library under every schedule with at most two preemptions and under random ones, and the search for them.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_task.h"
#include "tests/support/sim_host.h"
#include "tests/support/sim_scenario.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;
using sim_scenario::Scenario;

/// Runs `scenario` under every schedule with few preemptions, and under seeds, which preempt more often.
void Explored(const Scenario& scenario, bool fresh_process = false) {
    if (std::getenv("ONU_MNG_SEED") == nullptr) sim_scenario::ForEachSchedule(scenario, fresh_process);
    if (std::getenv("ONU_MNG_DECISIONS") == nullptr) sim_scenario::ForEachSeed(scenario, 10);
}

/// Runs a scenario that is too long to be explored.
void Seeds(const Scenario& scenario) {
    sim_scenario::ForEachSeed(scenario, 5);
}

/// A scenario with the library started.
Scenario Hosted(const Scenario& body) {
    return [body](Simulation& board) { RunHost(board, [&] { body(board); }); };
}

/// Defines a test by the body of a hosted scenario. `runs` is Explored or Seeds.
#define SCENARIO(runs, name)                                                                                 \
    void name(Simulation& board);                                                                            \
    TEST(runs, name) {                                                                                       \
        runs(Hosted(name));                                                                                  \
    }                                                                                                        \
    void name(Simulation& board)

/// Explores `tasks` beside one another and beside the library, up to when all is quiet.
void Explore(Simulation& board, const std::vector<std::function<void()>>& tasks) {
    board.Explored([&] {
        for (const auto& task : tasks)
            board.Spawn("client", task);
        board.Join();
        board.Settle();
    });
}

constexpr unsigned int kType = 20;

unsigned int Succeed(StateContext&, char*) {
    return ONU_MNG_OK;
}

/// A hook or handler in which another task may run.
unsigned int Linger() {
    ulogPrintf(SimHost::kLogModule, 9, "a moment\r\n");
    return ONU_MNG_OK;
}

/// Starts a module that calls `handle`, and waits until it is idle.
void StartModule(Simulation& board, MsgSyncProcType delivery, SimModule::Handler handle,
                 unsigned int capacity = 8) {
    onu_mng_module_reg_service_module(new SimModule(kType, delivery, std::move(handle), capacity));
    ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
    board.Settle();
}

unsigned int Send(unsigned short onu_id) {
    char byte = 1;
    return onu_mng_module_send_msg(0, kType, 1, onu_id, &byte, 1);
}

SCENARIO(Explored, SendersIntoAFullQueueLoseNothing) {
    std::map<int, std::vector<int>> handled; // by the sender
    std::map<int, std::vector<int>> accepted;
    const auto handle = [&](const SimModule::Message& message) {
        EXPECT_EQ(1, *message.data);
        handled[message.onu_id / 10].push_back(message.onu_id);
        return ONU_MNG_OK;
    };
    StartModule(board, MSG_PROC_ASYNC, handle, 1);
    const auto send_two = [&](int sender) {
        return [&, sender] {
            for (const int message : {sender * 10, sender * 10 + 1})
                if (Send(static_cast<unsigned short>(message)) == ONU_MNG_OK)
                    accepted[sender].push_back(message);
        };
    };
    Explore(board, {send_two(1), send_two(2)});
    EXPECT_EQ(accepted, handled);
    EXPECT_EQ(4 - accepted[1].size() - accepted[2].size(), board.Logged("msgQSend failed\r\n"));
}

SCENARIO(Explored, ASenderLosesNothingToAReceiverThatIsDeleted) {
    int accepted = 0;
    int received = 0;
    MessageQueue queue;
    ASSERT_EQ(ONU_MNG_OK, queue.Init(1, 1));
    PortTask receiver("receiver", [&] {
        for (char message = 0; queue.RecvMsg(&message, 1, -1) != 0;)
            ++received;
    });
    const auto send = [&] {
        for (char message = 0; message < 2; ++message)
            accepted += queue.SendMsg(&message, 1, 1) == ONU_MNG_OK;
    };
    Explore(board, {send, [&] { receiver.Delete(); }});
    EXPECT_EQ(accepted, received + queue.GetMsgNum());
    EXPECT_EQ(2 - accepted, static_cast<int>(board.Logged("msgQSend failed\r\n")));
}

TEST(Explored, AModuleIsRemovedUnderItsSenders) {
    for (const MsgSyncProcType delivery : {MSG_PROC_SYNC, MSG_PROC_ASYNC})
        Explored(Hosted([delivery](Simulation& board) {
            const auto expect_none = [](const int* running) {
                EXPECT_EQ(0, *running) << "a handler runs in a module that is destroyed";
                delete running;
            };
            std::shared_ptr<int> running(new int(0), expect_none);
            StartModule(board, delivery, [running = std::move(running)](const SimModule::Message&) {
                ++*running;
                Linger();
                --*running;
                return ONU_MNG_OK;
            });
            const auto send = [] {
                const unsigned int ret = Send(1);
                EXPECT_TRUE(ret == ONU_MNG_OK || ret == ONU_MNG_FAILURE) << std::hex << ret;
            };
            const auto remove = [] {
                EXPECT_EQ(ONU_MNG_OK, ModuleManager::GetInstance()->RemoveModule(kType));
            };
            Explore(board, {send, send, remove});
            EXPECT_EQ(0u, ModuleManager::GetInstance()->GetSize());
            EXPECT_EQ(ONU_MNG_FAILURE, Send(1));
        }));
}

SCENARIO(Explored, AModuleIsRemovedByAHandlerBesideAnotherRemoval) {
    ModuleManager* const modules = ModuleManager::GetInstance();
    const auto remove = [&](unsigned int type) { EXPECT_EQ(ONU_MNG_OK, modules->RemoveModule(type)); };
    for (const unsigned int type : {kType + 1, kType + 2})
        onu_mng_module_reg_service_module(
            new SimModule(type, MSG_PROC_SYNC, [](const SimModule::Message&) { return ONU_MNG_OK; }));
    StartModule(board, MSG_PROC_SYNC, [&](const SimModule::Message&) {
        Linger();
        remove(kType + 1);
        return ONU_MNG_OK;
    });
    Explore(board, {[] { EXPECT_EQ(ONU_MNG_OK, Send(1)); }, [&] { remove(kType + 2); }});
    EXPECT_EQ(1u, modules->GetSize());
}

// The task that removes modules is itself deleted, wherever it is.
SCENARIO(Explored, ARemoverThatIsDeletedLeavesTheManagerUsable) {
    ModuleManager* const modules = ModuleManager::GetInstance();
    const auto handle = [&](const SimModule::Message&) {
        board.Sleep(1ms);
        return ONU_MNG_OK;
    };
    StartModule(board, MSG_PROC_ASYNC, handle);
    ASSERT_EQ(ONU_MNG_OK, Send(1) | Send(2));
    board.Settle();
    board.Explored([&] {
        PortTask remover("remover", [&] { modules->RemoveModule(kType); });
        Linger();
        remover.Delete();
    });
    EXPECT_EQ(ONU_MNG_OK, modules->RemoveModule(kType));
    EXPECT_EQ(0u, modules->GetSize());
    EXPECT_EQ(0u, board.Logged("SimModule handle msg ended by an exception: not a std::exception\r\n"));
}

// A message, an operator's termination and the supervision's come at once to a context that has absorbed all
// that it absorbs.
SCENARIO(Explored, AProcedureEndsOnceWhateverEndsIt) {
    StateContextManager* const pool = StateContextManager::GetInstance();
    pool->interval_run_time = 1;
    int failures = 0;
    const auto hook = [&](StateContext& context, char*) {
        failures += context.cur_state == STATE_FAIL;
        return Linger();
    };
    SimContext context(hook, 1);
    board.Sleep(30500ms); // the supervision goes round at each full second
    ASSERT_EQ(ONU_MNG_OK, context.Alloc(1, 5, nullptr, 0));
    while (context.stop_times != 6)
        board.Sleep(1s);
    const auto end = [&](const std::function<unsigned int()>& act) {
        return [&board, act] {
            board.Sleep(500ms); // up to the next round
            const unsigned int ret = act();
            EXPECT_TRUE(ret == ONU_MNG_OK || ret == ONU_MNG_STATE_UNMATCHED || ret == ONU_MNG_STATE_REFUSED)
                << std::hex << ret;
        };
    };
    Explore(board, {end([&] { return context.Operate(); }),
                    end([&] { return pool->Terminate(context.context_id); })});
    // Messages of several tasks are not serialised: each of the three may find the job in FAIL and run it.
    EXPECT_LE(1, failures);
    EXPECT_GE(3, failures);
    EXPECT_EQ(STATE_IDLE, context.cur_state);
    EXPECT_EQ(0, context.stop_times);
    EXPECT_EQ(ONU_MNG_OK, context.Alloc(2, 6, nullptr, 0));
}

SCENARIO(Explored, AContextGoesToOneOfTwoTasks) {
    SimContext context(Succeed);
    int owners = 0;
    int won = 0;
    const auto own = [&](unsigned short onu) {
        return [&, onu] {
            const unsigned int ret = context.Alloc(1, onu, nullptr, 0);
            won += ret == ONU_MNG_OK;
            if (ret == ONU_MNG_STATE_BUSY) return;
            EXPECT_EQ(ONU_MNG_OK, ret);
            EXPECT_EQ(1, ++owners);
            EXPECT_TRUE(context.Match(1, onu, nullptr, 0, true));
            EXPECT_EQ(ONU_MNG_OK, context.Operate());
            --owners;
            char any = 0;
            EXPECT_EQ(ONU_MNG_OK, context.Release(1, onu, &any, 1, true));
        };
    };
    Explore(board, {own(5), own(6)});
    EXPECT_LE(1, won);
    EXPECT_EQ(STATE_IDLE, context.cur_state);
    EXPECT_FALSE(context.occupied);
}

SCENARIO(Explored, ATerminatedContextIsNotDestroyedUnderItsOperator) {
    std::optional<SimContext> context(Succeed);
    ASSERT_EQ(ONU_MNG_OK, context->Alloc(1, 5, nullptr, 0));
    const auto terminate = [id = context->context_id.load()] {
        const unsigned int ret = StateContextManager::GetInstance()->Terminate(id);
        EXPECT_TRUE(ret == ONU_MNG_OK || ret == ONU_MNG_STATE_REFUSED) << std::hex << ret;
    };
    Explore(board, {terminate, [&] { context.reset(); }});
    EXPECT_EQ(0u, StateContextManager::GetInstance()->GetSize());
}

SCENARIO(Explored, TracersComeAndGoWholeUnderACheck) {
    OnuMngLog* const traces = OnuMngLog::GetInstance();
    traces->trace_switch = true;
    const auto add = [&] {
        traces->AddOnuTracer(1, 1, nullptr, 4);
        traces->AddOnuTracer(1, 2, nullptr, 4);
    };
    const auto check = [&] {
        traces->IsTraceOnu(1, 2, nullptr, 4);
        EXPECT_FALSE(traces->IsTraceOnu(1, 3, nullptr, 4));
        EXPECT_FALSE(traces->IsTraceOnu(1, 1, nullptr, 5));
    };
    Explore(board, {add, check, [&] { traces->ClearOnuTracer(); }});
    traces->ClearOnuTracer();
    EXPECT_FALSE(traces->IsTraceOnu(1, 1, nullptr, 4));
    ulogPrintf(SimHost::kLogModule, 4, "a level that is left open\r\n");
    EXPECT_EQ(0u, board.Logged("a level that is left open\r\n"));
    traces->trace_switch = false;
}

SCENARIO(Explored, ASignalAtTheEndOfAWaitIsTakenOrLeft) {
    Semaphore semaphore;
    int taken = 0;
    const auto wait = [&] { taken += semaphore.TryWait(1) == 0; };
    const auto signal = [&] {
        board.Sleep(1s);
        semaphore.Signal();
    };
    Explore(board, {wait, signal});
    EXPECT_EQ(1, taken + (semaphore.TryWait(0) == 0));
    EXPECT_FALSE(semaphore.IsWaiting());
}

SCENARIO(Explored, TheLastBlockGoesToOneOfTwo) {
    MemoryAllocator* const memory = MemoryAllocator::GetInstance();
    const auto take = [&] { return memory->MemAlloc(0x8000, __FILE__, __func__, __LINE__); };
    const auto give = [&](void* block) { memory->MemFree(block, 0x8000, __FILE__, __func__, __LINE__); };
    std::vector<void*> others;
    while (void* const block = take())
        others.push_back(block);
    give(others.back());
    others.pop_back();
    int owners = 0;
    const auto want = [&] {
        void* const block = take();
        if (block == nullptr) return;
        EXPECT_EQ(1, ++owners);
        Linger();
        --owners;
        give(block);
    };
    Explore(board, {want, want});
    EXPECT_NE(nullptr, others.emplace_back(take())) << "the last block is lost";
    for (void* const block : others)
        give(block);
}

// Tasks that are the first to need a singleton, and the one pool, at the same moment.
TEST(Explored, FirstUsesMakeOneOfEach) {
    const auto use = [] {
        MemoryAllocator* const memory = MemoryAllocator::GetInstance();
        EXPECT_EQ(ONU_MNG_OK, memory->Init("pool", 4096, 1, 0));
        void* const block = memory->MemAlloc(16, __FILE__, __func__, __LINE__);
        EXPECT_NE(nullptr, block);
        EXPECT_EQ(ONU_MNG_OK, memory->MemFree(block, 16, __FILE__, __func__, __LINE__));
        EXPECT_EQ(0u, StateContextManager::GetInstance()->GetSize());
    };
    const auto scenario = [&](Simulation& board) {
        board.Run([&] { Explore(board, {use, use}); });
        EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
        EXPECT_EQ(0, board.Holdings().blocks);
    };
    Explored(scenario, true);
}

// Contexts are released, allocated again and destroyed while the supervision goes round.
SCENARIO(Seeds, NeverLetTheSupervisionTouchANewJob) {
    StateContextManager* const pool = StateContextManager::GetInstance();
    pool->interval_run_time = 1;
    board.Sleep(31s);
    for (unsigned short task = 1; task <= 3; ++task)
        board.Spawn("client", [&, task] {
            SimContext context([](StateContext&, char*) { return Linger(); }, 1);
            for (int round = 0; round < 6; ++round) {
                ASSERT_EQ(ONU_MNG_OK, context.Alloc(task, task, nullptr, 0));
                EXPECT_EQ(0, context.stop_times);
                EXPECT_EQ(ONU_MNG_OK, context.Operate());
                // From over its time on the next message fails; far over it the supervision ends it.
                board.Sleep(task * 1500ms * round);
                char any = 0;
                context.Release(task, task, &any, 1, false);
                EXPECT_EQ(STATE_IDLE, context.cur_state);
                EXPECT_EQ(0, context.stop_times);
            }
        });
    board.Spawn("observer", [&] {
        for (int look = 0; look < 20; ++look) {
            for (unsigned int index = 0; index < pool->GetSize(); ++index)
                pool->GetItem(index);
            board.Sleep(700ms);
        }
    });
    board.Join();
    EXPECT_EQ(0u, pool->GetSize());
}

// Two operators type while procedures run, end and time out.
SCENARIO(Seeds, LetTwoOperatorsPrintWholeReports) {
    onu_mng_init_cli_cmd();
    onu_mng_cli_install_element();
    StateContextManager::GetInstance()->interval_run_time = 1;
    std::deque<SimContext> contexts;
    for (int count = 0; count < 3; ++count)
        contexts.emplace_back(Succeed, 1);
    StartModule(board, MSG_PROC_ASYNC, [&](const SimModule::Message& message) {
        SimContext& context = contexts[message.onu_id % contexts.size()];
        context.Alloc(1, message.onu_id, nullptr, 0);
        return context.Operate();
    });
    board.Spawn("traffic", [&] {
        for (unsigned short number = 0; number < 10; ++number) {
            Send(number % 4);
            board.Sleep(700ms);
        }
    });
    for (int number = 0; number < 2; ++number)
        board.Spawn("operator", [&, number] {
            CapturedTerminal terminal;
            const auto type = [&](const std::string& line) {
                EXPECT_EQ(0, vty_execute(terminal, SimHost::kNode, line.c_str())) << line;
                return terminal.Text();
            };
            for (int round = 0; round < 3; ++round) {
                type("set log_trace flag enable ponno 1 onuid " + std::to_string(number) + " debug_level 4");
                const std::string report = type("show state_context");
                EXPECT_NE(std::string::npos, report.find("Total result number = 3\r\n")) << report;
                EXPECT_NE(std::string::npos, type("show service_module").find("SimModule"));
                type("terminate state_context id " + std::to_string(contexts[0].context_id));
                type("show log_trace");
                type("set log_trace flag disable");
                board.Sleep(1s);
            }
        });
    board.Join();
    board.Sleep(10min);
    for (const SimContext& context : contexts)
        EXPECT_EQ(STATE_IDLE, context.cur_state);
    SimHost::Stop(); // before the contexts go
}

TEST(Exploration, RunsEveryScheduleOnce) {
    const struct {
        std::vector<int> calls;                    ///< of each task
        std::vector<std::uint64_t> by_preemptions; ///< schedules with at most 0, 1, 2 and 3
    } cases[] = {{{}, {1, 1, 1, 1}},
                 {{0, 0}, {2, 7, 8, 8}},
                 {{1, 1}, {2, 9, 24, 40}},
                 {{3, 2}, {2, 12, 56, 156}},
                 {{2, 2, 2}, {6, 68, 481, 2278}}};
    for (const auto& each : cases) {
        std::vector<std::uint64_t> schedules;
        SimExploreOptions options;
        for (options.preemptions = 0; options.preemptions <= 3; ++options.preemptions) {
            const SimExploration found = Simulation::Explore(options, [&](Simulation& board) {
                const auto body = [&] {
                    for (const int calls : each.calls)
                        board.Spawn("task", [calls] {
                            for (int call = 0; call < calls; ++call)
                                GiveSemaphore(0);
                        });
                    board.Join();
                };
                return board.Run([&] { board.Explored(body); }).Ok();
            });
            EXPECT_TRUE(found.is_complete) << found.report;
            schedules.push_back(found.schedules);
        }
        EXPECT_EQ(each.by_preemptions, schedules) << each.calls.size() << " tasks";
    }
}

// Programs with a fault that one preemption shows.

void AWakeUpIsLostBetweenTheLookAndTheWait(Simulation& board) {
    bool is_there = false;
    bool is_waiting = false;
    const std::uint32_t signal = NewSemaphore(false);
    const auto wait = [&] {
        if (is_there) return;
        GiveSemaphore(0);
        is_waiting = true;
        TakeSemaphore(signal);
    };
    const auto wake = [&] {
        is_there = true;
        if (is_waiting) GiveSemaphore(signal);
    };
    Explore(board, {wait, wake});
}

void TwoTasksActOnOneLook(Simulation& board) {
    int owners = 0;
    const auto own = [&] {
        if (owners != 0) return;
        GiveSemaphore(0);
        EXPECT_EQ(1, ++owners);
    };
    Explore(board, {own, own});
}

void TwoLocksAreTakenInTwoOrders(Simulation& board) {
    const std::uint32_t locks[] = {NewSemaphore(true), NewSemaphore(true)};
    const auto lock = [&](int first) {
        return [&, first] {
            for (const int index : {first, 1 - first})
                TakeSemaphore(locks[index]);
            for (const int index : {1 - first, first})
                GiveSemaphore(locks[index]);
        };
    };
    Explore(board, {lock(0), lock(1)});
}

TEST(Exploration, FindsAFaultWithTheFewestPreemptionsAndReplaysIt) {
    for (const auto body :
         {AWakeUpIsLostBetweenTheLookAndTheWait, TwoTasksActOnOneLook, TwoLocksAreTakenInTwoOrders}) {
        SimExploreOptions options;
        options.fresh_process = true;
        const auto scenario = [&](Simulation& board) {
            testing::TestPartResultArray failures;
            const testing::ScopedFakeTestPartResultReporter reporter(
                testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &failures);
            board.Run([&] { body(board); });
            return failures.size() == 0 && board.Result().Ok();
        };
        const SimExploration found = Simulation::Explore(options, scenario);
        EXPECT_TRUE(found.has_failed);
        EXPECT_NE(0u, found.by_preemptions[0]) << "no schedule without a preemption fails";
        EXPECT_EQ(0u, found.by_preemptions[2]);
        options.decisions = found.decisions;
        EXPECT_TRUE(
            sim_scenario::Passes([&] { EXPECT_TRUE(Simulation::Explore(options, scenario).has_failed); }));
    }
}

} // namespace
