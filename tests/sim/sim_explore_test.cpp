// The library under every schedule with at most two preemptions and under random ones, and the search for them.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
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
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/port_task.h"
#include "tests/support/sim_host.h"
#include "tests/support/sim_scenario.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

/// Explores `tasks` beside one another and beside the library, up to when all is quiet.
void Explore(Simulation& board, const std::vector<std::function<void()>>& tasks) {
    board.Explored([&] {
        for (const auto& task : tasks)
            board.Spawn("client", task);
        board.Join();
        board.Settle();
    });
}

/// Runs `scenario` under every schedule with few preemptions, and under seeds, which preempt more often.
void ForEachSchedule(const sim_scenario::Scenario& scenario, bool fresh_process = false) {
    if (std::getenv("ONU_MNG_SEED") == nullptr) sim_scenario::ForEachSchedule(scenario, fresh_process);
    if (std::getenv("ONU_MNG_DECISIONS") == nullptr) sim_scenario::ForEachSeed(scenario, 10);
}

/// A scenario with the library started.
sim_scenario::Scenario Hosted(const std::function<void(Simulation&)>& body) {
    return [body](Simulation& board) { RunHost(board, [&] { body(board); }); };
}

constexpr auto kSucceed = [](StateContext&, char*) { return ONU_MNG_OK; };

constexpr unsigned int kType = 20;

unsigned int Send(unsigned short onu_id) {
    char byte = 1;
    return onu_mng_module_send_msg(0, kType, 1, onu_id, &byte, 1);
}

TEST(Explored, SendersIntoAFullQueueLoseNothing) {
    ForEachSchedule(Hosted([](Simulation& board) {
        std::map<int, std::vector<int>> handled; // by the sender
        std::map<int, std::vector<int>> accepted;
        const auto handle = [&](const SimModule::Message& message) {
            EXPECT_EQ(1, *message.data);
            handled[message.onu_id / 10].push_back(message.onu_id);
            return ONU_MNG_OK;
        };
        onu_mng_module_reg_service_module(new SimModule(kType, MSG_PROC_ASYNC, handle, 1));
        EXPECT_EQ(ONU_MNG_OK, onu_mng_system_start());
        board.Settle();
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
    }));
}

/// A task that takes messages out of a queue.
class Receiver : public Thread {
public:
    explicit Receiver(MessageQueue& to_empty) : queue(to_empty) {
        EXPECT_TRUE(Init("receiver", 100, 65536) && Start());
    }
    ~Receiver() override { EndTask(); }
    void Run() override {
        for (int message = 0; queue.RecvMsg(reinterpret_cast<char*>(&message), sizeof message, -1) != 0;)
            ++received;
    }
    static inline int received = 0;

private:
    MessageQueue& queue;
};

TEST(Explored, ASenderLosesNothingToAReceiverThatIsDeleted) {
    ForEachSchedule(Hosted([](Simulation& board) {
        int accepted = 0;
        Receiver::received = 0;
        MessageQueue queue;
        ASSERT_EQ(ONU_MNG_OK, queue.Init(1, sizeof(int)));
        std::optional<Receiver> receiver(queue);
        const auto send = [&] {
            for (int message = 0; message < 2; ++message)
                accepted += queue.SendMsg(reinterpret_cast<char*>(&message), sizeof message, 1) == ONU_MNG_OK;
        };
        Explore(board, {send, [&] { receiver.reset(); }});
        EXPECT_EQ(accepted, Receiver::received + queue.GetMsgNum());
        EXPECT_EQ(2 - accepted, static_cast<int>(board.Logged("msgQSend failed\r\n")));
    }));
}

TEST(Explored, AModuleIsRemovedUnderItsSenders) {
    /// Expects that no handler runs in it when it is destroyed.
    class Mortal : public SimModule {
    public:
        Mortal(MsgSyncProcType by, int& in_handlers)
            : SimModule(kType, by,
                        [&in_handlers](const Message&) {
                            ++in_handlers;
                            ulogPrintf(SimHost::kLogModule, 9, "in a handler\r\n");
                            --in_handlers;
                            return ONU_MNG_OK;
                        }),
              running(in_handlers) {}
        ~Mortal() override {
            EndTask();
            EXPECT_EQ(0, running);
        }

    private:
        int& running;
    };
    for (const MsgSyncProcType delivery : {MSG_PROC_SYNC, MSG_PROC_ASYNC})
        ForEachSchedule(Hosted([delivery](Simulation& board) {
            int running = 0;
            onu_mng_module_reg_service_module(new Mortal(delivery, running));
            ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
            board.Settle();
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

// The task that removes modules is itself deleted, wherever it is.
TEST(Explored, ARemoverThatIsDeletedLeavesTheManagerUsable) {
    ForEachSchedule(Hosted([](Simulation& board) {
        ModuleManager* const modules = ModuleManager::GetInstance();
        const auto handle = [&](const SimModule::Message&) {
            board.Sleep(1ms);
            return ONU_MNG_OK;
        };
        onu_mng_module_reg_service_module(new SimModule(kType, MSG_PROC_ASYNC, handle));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start() | Send(1) | Send(2));
        board.Settle();
        board.Explored([&] {
            PortTask remover("remover", [&] { modules->RemoveModule(kType); });
            ulogPrintf(SimHost::kLogModule, 9, "a moment\r\n");
            remover.Delete();
        });
        EXPECT_EQ(ONU_MNG_OK, modules->RemoveModule(kType));
        EXPECT_EQ(0u, modules->GetSize());
    }));
}

// A message, an operator's termination and the supervision's come at once to a context that has absorbed all
// that it absorbs.
TEST(Explored, AProcedureEndsOnceWhateverEndsIt) {
    ForEachSchedule(Hosted([](Simulation& board) {
        StateContextManager* const pool = StateContextManager::GetInstance();
        pool->interval_run_time = 1;
        int failures = 0;
        SimContext context(
            [&](StateContext& where, char*) {
                failures += where.cur_state == STATE_FAIL;
                ulogPrintf(SimHost::kLogModule, 9, "in a hook\r\n");
                return ONU_MNG_OK;
            },
            1);
        board.Sleep(30500ms); // the supervision goes round at each full second
        ASSERT_EQ(ONU_MNG_OK, context.Alloc(1, 5, nullptr, 0));
        while (context.stop_times != 6)
            board.Sleep(1s);
        const auto end = [&](const std::function<unsigned int()>& act) {
            return [&board, act] {
                board.Sleep(500ms); // up to the next round
                const unsigned int ret = act();
                const bool is_known =
                    ret == ONU_MNG_OK || ret == ONU_MNG_STATE_UNMATCHED || ret == ONU_MNG_STATE_REFUSED;
                EXPECT_TRUE(is_known) << std::hex << ret;
            };
        };
        Explore(board, {end([&] { return context.Operate(); }),
                        end([&] { return pool->Terminate(context.context_id); })});
        // Messages of several tasks are not serialised: each of the three may find the job in FAIL and run
        // it.
        EXPECT_LE(1, failures);
        EXPECT_GE(3, failures);
        EXPECT_EQ(STATE_IDLE, context.cur_state);
        EXPECT_EQ(0, context.stop_times);
        EXPECT_EQ(ONU_MNG_OK, context.Alloc(2, 6, nullptr, 0));
    }));
}

TEST(Explored, AContextGoesToOneOfTwoTasks) {
    ForEachSchedule(Hosted([](Simulation& board) {
        SimContext context(kSucceed);
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
    }));
}

TEST(Explored, ATerminatedContextIsNotDestroyedUnderItsOperator) {
    ForEachSchedule(Hosted([](Simulation& board) {
        std::optional<SimContext> context(kSucceed);
        ASSERT_EQ(ONU_MNG_OK, context->Alloc(1, 5, nullptr, 0));
        const unsigned int id = context->context_id;
        const auto terminate = [&] {
            const unsigned int ret = StateContextManager::GetInstance()->Terminate(id);
            EXPECT_TRUE(ret == ONU_MNG_OK || ret == ONU_MNG_STATE_REFUSED) << std::hex << ret;
        };
        Explore(board, {terminate, [&] { context.reset(); }});
        EXPECT_EQ(0u, StateContextManager::GetInstance()->GetSize());
    }));
}

TEST(Explored, TracersComeAndGoWholeUnderACheck) {
    ForEachSchedule(Hosted([](Simulation& board) {
        OnuMngLog* const traces = OnuMngLog::GetInstance();
        traces->trace_switch = true;
        const auto add = [&] {
            traces->AddOnuTracer(1, 1, nullptr, 4);
            traces->AddOnuTracer(1, 2, nullptr, 4);
        };
        bool had_second = false;
        const auto check = [&] {
            had_second = traces->IsTraceOnu(1, 2, nullptr, 4);
            EXPECT_FALSE(traces->IsTraceOnu(1, 3, nullptr, 4));
            EXPECT_FALSE(traces->IsTraceOnu(1, 1, nullptr, 5));
        };
        Explore(board, {add, check, [&] { traces->ClearOnuTracer(); }});
        traces->ClearOnuTracer();
        EXPECT_FALSE(traces->IsTraceOnu(1, 1, nullptr, 4));
        ulogPrintf(SimHost::kLogModule, 4, "a level that is left open\r\n");
        EXPECT_EQ(0u, board.Logged("a level that is left open\r\n"));
        traces->trace_switch = false;
    }));
}

TEST(Explored, ASignalAtTheEndOfAWaitIsTakenOrLeft) {
    ForEachSchedule(Hosted([](Simulation& board) {
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
    }));
}

TEST(Explored, TheLastBlockGoesToOneOfTwo) {
    ForEachSchedule(Hosted([](Simulation& board) {
        MemoryAllocator* const memory = MemoryAllocator::GetInstance();
        const auto take = [&] { return memory->MemAlloc(0x8000, __FILE__, __func__, __LINE__); };
        const auto give = [&](void* block) { memory->MemFree(block, 0x8000, __FILE__, __func__, __LINE__); };
        std::vector<void*> blocks;
        while (void* const block = take())
            blocks.push_back(block);
        give(blocks.back());
        blocks.pop_back();
        int owners = 0;
        int won = 0;
        const auto want = [&] {
            void* const block = take();
            if (block == nullptr) return;
            ++won;
            EXPECT_EQ(1, ++owners);
            ulogPrintf(SimHost::kLogModule, 9, "mine\r\n");
            --owners;
            give(block);
        };
        Explore(board, {want, want});
        EXPECT_LE(1, won);
        for (void* const block : blocks)
            give(block);
    }));
}

// Tasks that are the first to need a singleton, and the one pool, at the same moment.
TEST(Explored, FirstUsesMakeOneOfEach) {
    ForEachSchedule(
        [](Simulation& board) {
            board.Run([&] {
                int pools = 0;
                const auto use = [&] {
                    MemoryAllocator* const memory = MemoryAllocator::GetInstance();
                    EXPECT_EQ(ONU_MNG_OK, memory->Init("pool", 4096, 1, 0));
                    void* const block = memory->MemAlloc(16, __FILE__, __func__, __LINE__);
                    pools += block != nullptr;
                    EXPECT_EQ(ONU_MNG_OK, memory->MemFree(block, 16, __FILE__, __func__, __LINE__));
                    EXPECT_EQ(0u, StateContextManager::GetInstance()->GetSize());
                };
                Explore(board, {use, use});
                EXPECT_EQ(2, pools);
            });
            EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
            EXPECT_EQ(0, board.Holdings().blocks);
        },
        true);
}

// Contexts are released, allocated again and destroyed while the supervision goes round.
TEST(Seeds, NeverLetTheSupervisionTouchANewJob) {
    sim_scenario::ForEachSeed(Hosted([](Simulation& board) {
                                  StateContextManager* const pool = StateContextManager::GetInstance();
                                  pool->interval_run_time = 1;
                                  board.Sleep(31s);
                                  for (unsigned short task = 1; task <= 3; ++task)
                                      board.Spawn("client", [&, task] {
                                          const auto context = std::make_unique<SimContext>(
                                              [&](StateContext&, char*) {
                                                  ulogPrintf(SimHost::kLogModule, 9, "in a hook\r\n");
                                                  return ONU_MNG_OK;
                                              },
                                              1);
                                          for (int round = 0; round < 6; ++round) {
                                              ASSERT_EQ(ONU_MNG_OK, context->Alloc(task, task, nullptr, 0));
                                              EXPECT_EQ(0, context->stop_times);
                                              EXPECT_EQ(ONU_MNG_OK, context->Operate());
                                              // From over its time on the next message fails; far over it the supervision ends it.
                                              board.Sleep(task * 1500ms * round);
                                              char any = 0;
                                              context->Release(task, task, &any, 1, false);
                                              EXPECT_EQ(STATE_IDLE, context->cur_state);
                                              EXPECT_EQ(0, context->stop_times);
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
                              }),
                              5);
}

// Two operators type while procedures run, end and time out.
TEST(Seeds, LetTwoOperatorsPrintWholeReports) {
    sim_scenario::ForEachSeed(
        Hosted([](Simulation& board) {
            onu_mng_init_cli_cmd();
            onu_mng_cli_install_element();
            StateContextManager::GetInstance()->interval_run_time = 1;
            std::vector<std::unique_ptr<SimContext>> contexts;
            for (int count = 0; count < 3; ++count)
                contexts.push_back(std::make_unique<SimContext>(kSucceed, 1));
            onu_mng_module_reg_service_module(
                new SimModule(kType, MSG_PROC_ASYNC, [&](const SimModule::Message& message) {
                    SimContext& context = *contexts[message.onu_id % contexts.size()];
                    context.Alloc(1, message.onu_id, nullptr, 0);
                    context.Operate();
                    return ONU_MNG_OK;
                }));
            ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
            board.Spawn("traffic", [&] {
                for (unsigned int number = 0; number < 10; ++number) {
                    Send(static_cast<unsigned short>(number % 4));
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
                        type("set log_trace flag enable ponno 1 onuid " + std::to_string(number) +
                             " debug_level 4");
                        const std::string report = type("show state_context");
                        EXPECT_NE(std::string::npos, report.find("Total result number = 3\r\n")) << report;
                        EXPECT_NE(std::string::npos, type("show service_module").find("SimModule"));
                        type("terminate state_context id " + std::to_string(contexts[0]->context_id));
                        type("show log_trace");
                        type("set log_trace flag disable");
                        board.Sleep(1s);
                    }
                });
            board.Join();
            board.Sleep(10min);
            for (const auto& context : contexts)
                EXPECT_EQ(STATE_IDLE, context->cur_state);
            StateContextManager::GetInstance()->EndSupervision();
            ModuleManager::GetInstance()->RemoveModule(kType);
            contexts.clear();
        }),
        5);
}

/// The schedules of a body that starts tasks, each of which makes so many calls, and waits for them: counted
/// without running one.
class Model {
public:
    static std::uint64_t Count(const std::vector<std::size_t>& calls, unsigned int preemptions) {
        Model model;
        model.tasks.push_back({calls.size() + 1, true});
        for (const std::size_t each : calls)
            model.tasks.push_back({each});
        return model.GoOn(0, preemptions);
    }

private:
    struct Task {
        std::size_t calls;      ///< that are left; the last one of the body, task 0, waits for the others
        bool is_ready = false;  ///< started, and neither ended nor waiting
        bool lost_turn = false; ///< at the call that is next, which it makes when it is chosen again
    };

    std::uint64_t GoOn(std::size_t running, unsigned int left) const {
        std::uint64_t count = 0;
        for (std::size_t other = 0; other < tasks.size(); ++other) {
            const Task& task = tasks[running];
            if (left == 0 || task.calls == 0 || task.lost_turn) break;
            if (other == running || !tasks[other].is_ready) continue;
            Model next = *this;
            next.tasks[running].lost_turn = true;
            count += next.GoOn(other, left - 1);
        }
        Model next = *this;
        return count + (next.Call(running) ? next.GoOn(running, left) : next.ChooseNext(left));
    }

    /// Whether the task goes on after its call.
    bool Call(std::size_t running) {
        Task& task = tasks[running];
        task.lost_turn = false;
        task.is_ready = task.calls > (running == 0 ? 1 : 0);
        if (!task.is_ready) return false;
        --task.calls;
        if (running == 0) tasks[tasks.size() - task.calls].is_ready = true;
        return true;
    }

    std::uint64_t ChooseNext(unsigned int left) const {
        std::uint64_t count = 0;
        for (std::size_t task = 0; task < tasks.size(); ++task)
            if (tasks[task].is_ready) count += GoOn(task, left);
        return count != 0 ? count : 1;
    }

    std::vector<Task> tasks;
};

TEST(Exploration, RunsEveryScheduleOnce) {
    const std::vector<std::size_t> cases[] = {{}, {0, 0}, {1, 1}, {3, 2}, {2, 2, 2}};
    for (const auto& calls : cases) {
        for (unsigned int preemptions = 0; preemptions <= 3; ++preemptions) {
            SimExploreOptions options;
            options.preemptions = preemptions;
            const SimExploration found = Simulation::Explore(options, [&](Simulation& board) {
                return board
                    .Run([&] {
                        board.Explored([&] {
                            for (const std::size_t each : calls)
                                board.Spawn("task", [each] {
                                    for (std::size_t call = 0; call < each; ++call)
                                        bep_semGiveEx(0, __FILE__, __LINE__);
                                });
                            board.Join();
                        });
                    })
                    .Ok();
            });
            EXPECT_TRUE(found.is_complete) << found.report;
            EXPECT_EQ(Model::Count(calls, preemptions), found.schedules)
                << calls.size() << " tasks, " << preemptions;
        }
    }
}

/// A fault that one preemption shows.
struct Faulty {
    const char* name;
    std::function<void(Simulation&)> body;
};

std::vector<Faulty> FaultyPrograms() {
    const auto new_semaphore = [](int available) {
        return bep_semBCreateEx(2, available, __FILE__, __LINE__);
    };
    const auto take = [](std::uint32_t semaphore) { bep_semTakeEx(semaphore, -1, __FILE__, __LINE__); };
    const auto give = [](std::uint32_t semaphore) { bep_semGiveEx(semaphore, __FILE__, __LINE__); };
    return {
        {"a wake-up is lost between the look and the wait",
         [=](Simulation& board) {
             bool is_there = false;
             bool is_waiting = false;
             const std::uint32_t signal = new_semaphore(0);
             Explore(board, {[&] {
                                 if (is_there) return;
                                 give(0);
                                 is_waiting = true;
                                 take(signal);
                             },
                             [&] {
                                 is_there = true;
                                 if (is_waiting) give(signal);
                             }});
         }},
        {"two tasks act on one look",
         [=](Simulation& board) {
             int owners = 0;
             const auto own = [&] {
                 if (owners != 0) return;
                 give(0);
                 EXPECT_EQ(1, ++owners);
             };
             Explore(board, {own, own});
         }},
        {"two locks are taken in two orders",
         [=](Simulation& board) {
             const std::uint32_t locks[] = {new_semaphore(1), new_semaphore(1)};
             const auto lock = [&](int first) {
                 return [&, first] {
                     take(locks[first]);
                     take(locks[1 - first]);
                     give(locks[1 - first]);
                     give(locks[first]);
                 };
             };
             Explore(board, {lock(0), lock(1)});
         }},
    };
}

TEST(Exploration, FindsAFaultWithTheFewestPreemptionsAndReplaysIt) {
    for (const Faulty& faulty : FaultyPrograms()) {
        SCOPED_TRACE(faulty.name);
        SimExploreOptions options;
        options.fresh_process = true;
        const auto scenario = [&](Simulation& board) {
            testing::TestPartResultArray failures;
            const testing::ScopedFakeTestPartResultReporter reporter(
                testing::ScopedFakeTestPartResultReporter::INTERCEPT_ALL_THREADS, &failures);
            board.Run([&] { faulty.body(board); });
            return failures.size() == 0;
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
