// The library under schedules drawn from seeds. Each test runs under 1,000 of them; a failure prints the
// command that replays its seed.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
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

constexpr unsigned int kAsync = 20;

unsigned int Send(unsigned short onu_id) {
    char byte = 1;
    return onu_mng_module_send_msg(0, kAsync, 1, onu_id, &byte, 1);
}

// A module goes while messages wait in its queue and its handler is in the middle of one.
TEST(Interleavings, OfRemovalsAndHandlersLeaveNoPacket) {
    ForEachSeed([](Simulation& board) {
        unsigned int started = 0;
        const auto handle = [&](const SimModule::Message&) {
            ++started;
            board.Sleep(1ms);
            ulogPrintf(SimHost::kLogModule, 9, "still there\r\n");
            return ONU_MNG_OK;
        };
        onu_mng_module_reg_service_module(new SimModule(kAsync, MSG_PROC_ASYNC, handle));
        onu_mng_module_reg_service_module(new SimModule(kAsync, MSG_PROC_ASYNC, handle));
        ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
        for (unsigned int number = 0; number < 8; ++number)
            Send(0);
        board.Sleep(SimTime(board.Result().seed % 5 * 500'000));
        EXPECT_EQ(ONU_MNG_OK, ModuleManager::GetInstance()->RemoveModule(kAsync));
        EXPECT_EQ(0, board.Holdings().blocks);
        const unsigned int at_removal = started;
        board.Sleep(1s);
        EXPECT_EQ(at_removal, started);
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
                for (unsigned short onu = sender; onu < kOnus; onu = static_cast<unsigned short>(onu + 4))
                    for (int sent = 0; sent < (onu % 3 == 0 ? 1 : 3);)
                        if (Send(onu) == ONU_MNG_OK)
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
