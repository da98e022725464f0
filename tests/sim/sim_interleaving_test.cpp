// The library under schedules drawn from seeds. Each test runs under 1,000 of them; a failure prints the
// command that replays its seed.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/sim/simulation.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/sim_host.h"
#include "tests/support/sim_scenario.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr auto kDone = [](StateContext&, char*) { return ONU_MNG_OK; };

/// Runs `body` with the library up under every seed.
void ForEachSeed(const std::function<void(Simulation&)>& body, std::uint64_t share = 1) {
    sim_scenario::ForEachSeed([&](Simulation& board) { RunHost(board, [&] { body(board); }); }, share);
}

/// One message of a storm: who sent it, its place in the sender's order, and bytes that say whether the copy
/// is whole.
struct Payload {
    static constexpr unsigned int kMost = 200;

    Payload(unsigned int from, unsigned int place) : sender(from), number(place) {
        std::memset(filling, static_cast<int>(from * 16 + place), sizeof filling);
    }
    static unsigned int Size(unsigned int place) { return 8 + place * 13 % (kMost - 8); }
    bool IsWhole(unsigned int size) const {
        if (size != Size(number)) return false;
        for (unsigned int byte = 0; byte < size - 8; ++byte)
            if (filling[byte] != static_cast<unsigned char>(sender * 16 + number)) return false;
        return true;
    }

    unsigned int sender;
    unsigned int number;
    unsigned char filling[kMost - 8];
};

constexpr unsigned int kSync = 10;
constexpr unsigned int kAsync = 20;
constexpr unsigned int kRelayed = 30;

unsigned int SendPayload(unsigned int type, unsigned int sender, unsigned int number) {
    Payload payload(sender, number);
    return onu_mng_module_send_msg(sender, type, 1, static_cast<unsigned short>(sender),
                                   reinterpret_cast<char*>(&payload), Payload::Size(number));
}

// Each message is handled exactly once, whole and in its sender's order, or its sender was told; a handler
// may send on to another module meanwhile.
TEST(Interleavings, OfManySendersLoseNothing) {
    ForEachSeed([](Simulation& board) {
        constexpr unsigned int kSenders = 4;
        constexpr unsigned int kMessages = 12;
        std::map<unsigned int, std::vector<Payload>> handled;
        std::map<unsigned int, std::vector<unsigned int>> accepted;
        const auto keep = [&](const SimModule::Message& message) {
            const auto& payload = *reinterpret_cast<const Payload*>(message.data);
            EXPECT_TRUE(payload.IsWhole(message.pkg_size));
            EXPECT_EQ(payload.sender, message.onu_id);
            ulogPrintf(SimHost::kLogModule, 9, "a call in the handler\r\n");
            handled[message.msg_type * 100 + payload.sender].emplace_back(payload.sender, payload.number);
            return payload.number % 5 == 4 ? 77u : ONU_MNG_OK;
        };
        const auto relay = [&](const SimModule::Message& message) {
            const auto& payload = *reinterpret_cast<const Payload*>(message.data);
            if (SendPayload(kRelayed, payload.sender, payload.number) == ONU_MNG_OK)
                accepted[kRelayed * 100 + payload.sender].push_back(payload.number);
            return keep(message);
        };
        onu_mng_module_reg_service_module(new SimModule(kSync, MSG_PROC_SYNC, keep));
        onu_mng_module_reg_service_module(new SimModule(kAsync, MSG_PROC_ASYNC, relay, 6));
        onu_mng_module_reg_service_module(new SimModule(kRelayed, MSG_PROC_ASYNC, keep, 5));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
        std::size_t refused = 0;
        for (unsigned int sender = 0; sender < kSenders; ++sender)
            board.Spawn("sender", [&, sender] {
                for (unsigned int number = 0; number < kMessages; ++number) {
                    const unsigned int type = (sender + number) % 3 == 0 ? kSync : kAsync;
                    const unsigned int ret = SendPayload(type, sender, number);
                    EXPECT_EQ(type == kSync && number % 5 == 4 ? 77u
                              : ret == ONU_MNG_OK              ? ONU_MNG_OK
                                                               : ONU_MNG_FAILURE,
                              ret);
                    if (type == kSync || ret == ONU_MNG_OK)
                        accepted[type * 100 + sender].push_back(number);
                    else
                        ++refused;
                    if (number % 4 == 3) board.Sleep(1ms);
                }
            });
        board.Join();
        board.Settle();
        std::size_t total = 0;
        for (const auto& [key, numbers] : accepted) {
            std::vector<unsigned int> in_order;
            for (const Payload& payload : handled[key])
                in_order.push_back(payload.number);
            EXPECT_EQ(numbers, in_order) << key;
            if (key < kRelayed * 100) total += numbers.size();
        }
        EXPECT_EQ(kSenders * kMessages, total + refused);
        EXPECT_LE(refused, board.Logged("msgQSend failed\r\n"));
    });
}

// A module goes while messages wait in its queue and its handler is in the middle of one.
TEST(Interleavings, OfRemovalsAndHandlersLeaveNoPacket) {
    ForEachSeed([](Simulation& board) {
        constexpr unsigned int kType = 3;
        unsigned int started = 0;
        const auto handle = [&](const SimModule::Message&) {
            ++started;
            board.Sleep(1ms);
            ulogPrintf(SimHost::kLogModule, 9, "still there\r\n");
            return ONU_MNG_OK;
        };
        onu_mng_module_reg_service_module(new SimModule(kType, MSG_PROC_ASYNC, handle));
        onu_mng_module_reg_service_module(new SimModule(kType, MSG_PROC_ASYNC, handle));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
        for (unsigned int number = 0; number < 8; ++number)
            SendPayload(kType, 0, number);
        board.Sleep(SimTime(board.Result().seed % 5 * 500'000));
        EXPECT_EQ(ONU_MNG_OK, ModuleManager::GetInstance()->RemoveModule(kType));
        EXPECT_EQ(0, board.Holdings().blocks);
        const unsigned int at_removal = started;
        board.Sleep(1s);
        EXPECT_EQ(at_removal, started);
    });
}

/// A module whose destructor waits for a lock.
class LockingModule : public SimModule {
public:
    LockingModule(unsigned int type, Handler handler, ReadWriteLock& to_take)
        : SimModule(type, MSG_PROC_ASYNC, std::move(handler)), lock(to_take) {}
    ~LockingModule() override {
        EndTask();
        const LockGuard guard(lock);
    }

private:
    ReadWriteLock& lock;
};

// The task that removes modules is itself deleted, somewhere.
TEST(Interleavings, OfARemoverThatIsEndedLeaveTheManagerUsable) {
    ForEachSeed([](Simulation& board) {
        constexpr unsigned int kType = 3;
        const auto handle = [&](const SimModule::Message&) {
            board.Sleep(1ms);
            return ONU_MNG_OK;
        };
        ReadWriteLock lock;
        onu_mng_module_reg_service_module(new LockingModule(kType, handle, lock));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
        for (unsigned int number = 0; number < 8; ++number)
            SendPayload(kType, 0, number);
        board.Spawn("holder", [&] {
            const LockGuard guard(lock);
            board.Sleep(1ms);
        });
        const auto remove = [](intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                               intptr_t, intptr_t) { ModuleManager::GetInstance()->RemoveModule(kType); };
        const std::uint32_t remover =
            bep_taskSpawnEx("remover", 100, 8, 4096, remove, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
        ulogPrintf(SimHost::kLogModule, 9, "a moment\r\n");
        EXPECT_EQ(0, bep_taskDeleteEx(remover));
        EXPECT_EQ(ONU_MNG_OK, ModuleManager::GetInstance()->RemoveModule(kType));
        EXPECT_EQ(0u, ModuleManager::GetInstance()->GetSize());
        board.Join();
    });
}

// Terminations of every kind arrive while hooks run. Whatever the order, the procedure ends in FAIL or SUCC
// once, and the context is free and fresh afterwards.
TEST(Interleavings, OfTerminationsAndHooksEndTheProcedureOnce) {
    ForEachSeed([](Simulation& board) {
        std::vector<unsigned int> visited;
        SimContext context([&](StateContext&, char*) {
            board.Sleep(1ms);
            return ONU_MNG_OK;
        });
        SimContext* const target = &context;
        ASSERT_EQ(ONU_MNG_OK, context.Alloc(1, 5, nullptr, 0));
        const unsigned int id = context.context_id;
        board.Spawn("client", [&] {
            for (int message = 0; message < 4; ++message) {
                const unsigned int ret = target->Operate();
                const bool is_known =
                    ret == ONU_MNG_OK || ret == ONU_MNG_STATE_REFUSED || ret == ONU_MNG_STATE_UNMATCHED;
                EXPECT_TRUE(is_known) << std::hex << ret;
            }
        });
        board.Spawn("operator", [&] {
            board.Sleep(SimTime(board.Result().seed % 4 * 500'000));
            for (int request = 0; request < 8; ++request) {
                const unsigned int ret = StateContextManager::GetInstance()->Terminate(id);
                EXPECT_TRUE(ret == ONU_MNG_OK || ret == ONU_MNG_STATE_REFUSED ||
                            ret == ONU_MNG_STATE_UNMATCHED);
            }
        });
        if (board.Result().seed % 3 == 0)
            board.Spawn("emergency", [&] {
                board.Sleep(1ms);
                target->Handle(STATE_MSG_IMMEDIATE_TERMINATE, nullptr, 0);
            });
        board.Join();
        EXPECT_EQ(STATE_IDLE, context.cur_state) << "four messages end the procedure, terminated or not";
        EXPECT_FALSE(context.occupied);
        EXPECT_EQ(0, context.stop_times);
        ASSERT_EQ(ONU_MNG_OK, context.Alloc(2, 6, nullptr, 0));
        EXPECT_EQ(ONU_MNG_OK, context.Operate());
        EXPECT_EQ(SimContext::kWork, context.cur_state);
    });
}

// Contexts are released, allocated again, made and destroyed while the supervision goes round.
TEST(Interleavings, OfReallocationAndSupervisionNeverTouchANewJob) {
    ForEachSeed([](Simulation& board) {
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
    });
}

// Two operators type at once while procedures run, end and time out.
TEST(Interleavings, OfTwoOperatorsAndTheirTrafficPrintWholeReports) {
    ForEachSeed([](Simulation& board) {
        onu_mng_init_cli_cmd();
        onu_mng_cli_install_element();
        StateContextManager::GetInstance()->interval_run_time = 1;
        std::vector<std::unique_ptr<SimContext>> contexts;
        for (int count = 0; count < 3; ++count)
            contexts.push_back(std::make_unique<SimContext>(kDone, 1));
        onu_mng_module_reg_service_module(
            new SimModule(kAsync, MSG_PROC_ASYNC, [&](const SimModule::Message& message) {
                SimContext& context = *contexts[message.onu_id % contexts.size()];
                context.Alloc(1, message.onu_id, nullptr, 0);
                context.Operate();
                return ONU_MNG_OK;
            }));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
        board.Spawn("traffic", [&] {
            for (unsigned int number = 0; number < 10; ++number) {
                SendPayload(kAsync, number % 4, number);
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
        ModuleManager::GetInstance()->RemoveModule(kAsync);
        contexts.clear();
    });
}

// A full OLT: 4,096 ONUs, of which every third falls silent in the middle of its procedure.
TEST(Interleavings, OfFourThousandOnusEndEveryProcedure) {
    constexpr unsigned int kOnus = 4096;
    const auto scenario = [](Simulation& board) {
        std::vector<std::unique_ptr<SimContext>> contexts(kOnus);
        std::vector<int> ended(kOnus);
        const auto work = [&](StateContext& context, char*) {
            if (context.cur_state == STATE_SUCC || context.cur_state == STATE_FAIL) ++ended[context.onu_id];
            return ONU_MNG_OK;
        };
        for (auto& context : contexts)
            context = std::make_unique<SimContext>(work, 60);
        onu_mng_module_reg_service_module(new SimModule(
            kAsync, MSG_PROC_ASYNC,
            [&](const SimModule::Message& message) {
                SimContext& context = *contexts[message.onu_id];
                if (context.cur_state == STATE_IDLE) context.Alloc(1, message.onu_id, nullptr, 0);
                return context.Operate();
            },
            64));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
        for (unsigned short sender = 0; sender < 4; ++sender)
            board.Spawn("pon", [&, sender] {
                char message = 1;
                for (unsigned short onu = sender; onu < kOnus; onu = static_cast<unsigned short>(onu + 4))
                    for (int sent = 0; sent < (onu % 3 == 0 ? 1 : 3);)
                        if (onu_mng_module_send_msg(0, kAsync, 1, onu, &message, 1) == ONU_MNG_OK)
                            ++sent;
                        else
                            board.Sleep(1ms); // the queue is full
            });
        board.Join();
        board.Sleep(10min);
        EXPECT_EQ(std::vector<int>(kOnus, 1), ended);
        ModuleManager::GetInstance()->RemoveModule(kAsync);
        StateContextManager::GetInstance()->EndSupervision();
        contexts.clear();
    };
    ForEachSeed(scenario, 50);
}

// Tasks that are the first to need a singleton, and the one pool, at the same moment.
TEST(Interleavings, OfFirstUsesMakeOneOfEach) {
    sim_scenario::ForEachSeed([](Simulation& board) {
        board.Run([&] {
            std::vector<void*> seen;
            for (int task = 0; task < 4; ++task)
                board.Spawn("first", [&, task] {
                    MemoryAllocator* const memory = MemoryAllocator::GetInstance();
                    EXPECT_EQ(ONU_MNG_OK, memory->Init("pool", 4096, 1, 0));
                    void* const block = memory->MemAlloc(16, __FILE__, __func__, __LINE__);
                    EXPECT_NE(nullptr, block);
                    EXPECT_EQ(ONU_MNG_OK, memory->MemFree(block, 16, __FILE__, __func__, __LINE__));
                    seen.push_back(task % 2 == 0 ? static_cast<void*>(OnuMngLog::GetInstance())
                                                 : static_cast<void*>(StateContextManager::GetInstance()));
                });
            board.Join();
            EXPECT_EQ(4u, seen.size());
        });
        EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
        EXPECT_EQ(0, board.Holdings().blocks);
    });
}

} // namespace
