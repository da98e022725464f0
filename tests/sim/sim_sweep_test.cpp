// Every platform call and every allocation of the library made to fail, one after the other: call 1, 2, 3,
// ... of a kind, once and from there on, until a scenario runs through without one. After each the failure
// has been told, nothing is lost, locked or leaked, and the same scenario works.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/sim/fresh_process.h"
#include "onu_mng_platform/sim/simulation.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/sim_host.h"
#include "tests/support/sim_scenario.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr SimFault kAllFaults[] = {
    SimFault::kQueueCreate,     SimFault::kQueueSend,     SimFault::kQueueReceive,
    SimFault::kSemaphoreCreate, SimFault::kSemaphoreTake, SimFault::kTaskSpawn,
    SimFault::kPoolCreate,      SimFault::kPoolAlloc,     SimFault::kNew};

/// Which call fails.
struct Injection {
    SimFault kind;
    unsigned int nth;
    bool and_all_after;

    void Arm(Simulation& board) const {
        if (and_all_after)
            board.FailFrom(kind, nth);
        else
            board.FailNth(kind, nth);
    }
};

/// Runs `scenario` in a fresh process for each injection until it makes none; `scenario` returns whether it
/// did. Returns how many were made.
unsigned int Sweep(const std::string& name, const std::function<bool(const Injection&)>& scenario) {
    constexpr int kNoneMade = 10;
    unsigned int made = 0;
    for (const SimFault kind : kAllFaults) {
        for (const bool and_all_after : {false, true}) {
            for (unsigned int nth = 1;; ++nth) {
                const int failures = sim_scenario::Failures();
                const int result = RunInFreshProcess([&] {
                    const bool was_made = scenario({kind, nth, and_all_after});
                    if (sim_scenario::Failures() != failures) return 1;
                    return was_made ? 0 : kNoneMade;
                });
                if (result == kNoneMade) break;
                EXPECT_EQ(0, result) << name << ": call " << nth << " of " << SimFaultName(kind)
                                     << (and_all_after ? " and all after it" : "");
                if (result != 0) return made;
                ++made;
            }
        }
    }
    return made;
}

/// Told in the log, at a level that is always written.
bool IsTold(const Simulation& board, std::size_t since) {
    for (std::size_t line = since; line < board.Log().size(); ++line)
        if (board.Log()[line].level != ONU_MNG_LOG_START) return true;
    return false;
}

/// What holds after every scenario, once the library is down.
void ExpectNothingLeft(const Simulation& board) {
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_EQ(0, board.Holdings().tasks);
    EXPECT_EQ(0, board.Holdings().queues);
    EXPECT_EQ(0, board.Holdings().blocks);
    EXPECT_EQ(0, board.Holdings().locks_taken);
}

constexpr unsigned int kSync = 10;
constexpr unsigned int kAsync = 20;

unsigned int Send(unsigned int type) {
    char byte = 1;
    return onu_mng_module_send_msg(0, type, 1, 5, &byte, 1);
}

/// How far a start-up came.
struct StartUp {
    unsigned int init;
    unsigned int registered;
    unsigned int start;
    unsigned int sync;
    unsigned int async;
};

StartUp Start(std::unique_ptr<SimModule> (&modules)[2]) {
    StartUp status{};
    status.init = SimHost::Init();
    for (auto& module : modules) {
        if (module == nullptr) continue;
        const unsigned int ret = onu_mng_module_reg_service_module(module.get());
        if (ret == ONU_MNG_OK) module.release();
        status.registered |= ret;
    }
    status.start = onu_mng_system_start();
    status.sync = Send(kSync);
    status.async = Send(kAsync);
    return status;
}

/// Each failed step is told as it should be.
void ExpectStepsTold(const Simulation& board, const StartUp& status) {
    const auto told = [&](std::initializer_list<const char*> texts) {
        std::size_t count = 0;
        for (const char* text : texts)
            count += board.Logged(text);
        return count;
    };
    for (const unsigned int step : {status.init, status.registered, status.start, status.sync, status.async})
        EXPECT_TRUE(step == ONU_MNG_OK || step == ONU_MNG_FAILURE) << std::hex << step;
    EXPECT_EQ(status.init == ONU_MNG_OK ? 0u : 1u,
              told({"Init memory pool failed\r\n", "Init state context mgr failed\r\n"}));
    EXPECT_EQ(status.registered != ONU_MNG_OK, told({"no memory to register the module\r\n"}) != 0);
    EXPECT_EQ(status.start == ONU_MNG_OK ? 0u : 1u,
              told({"InitModules failed \r\n", "StartModules failed\r\n"}));
    const std::size_t unsent = (status.sync != ONU_MNG_OK) + (status.async != ONU_MNG_OK);
    std::size_t told_unsent = told({"new MessagePacket failed\r\n", "msgQSend failed\r\n"});
    for (const SimLogLine& line : board.Log())
        told_unsent += line.text.find("has not been init yet") != std::string::npos ||
                       line.text.find("Cannot find module") != std::string::npos;
    EXPECT_EQ(unsent, told_unsent);
}

TEST(FailureSweep, OfStartUp) {
    const unsigned int made = Sweep("start-up", [](const Injection& injection) {
        Simulation board(1);
        board.Run([&] {
            int handled = 0;
            const auto count = [&](const SimModule::Message&) {
                ++handled;
                return ONU_MNG_OK;
            };
            std::unique_ptr<SimModule> modules[] = {
                std::make_unique<SimModule>(kSync, MSG_PROC_SYNC, count),
                std::make_unique<SimModule>(kAsync, MSG_PROC_ASYNC, count)};
            injection.Arm(board);
            const StartUp status = Start(modules);
            board.Settle();
            board.FailNone();
            ExpectStepsTold(board, status);
            board.Sleep(2s); // a module whose receives failed waits a second before the next
            EXPECT_TRUE(board.Failed() == 0 || IsTold(board, 0));
            EXPECT_EQ((status.sync == ONU_MNG_OK) + (status.async == ONU_MNG_OK), handled);

            const StartUp again = Start(modules);
            EXPECT_EQ(ONU_MNG_OK, again.init | again.registered | again.start | again.sync | again.async);
            board.Settle();
            EXPECT_EQ((status.sync == ONU_MNG_OK) + (status.async == ONU_MNG_OK) + 2, handled);
            SimHost::Stop();
        });
        ExpectNothingLeft(board);
        return board.Failed() != 0;
    });
    EXPECT_LE(20u, made);
    std::cout << "start-up: " << made << " injections\n";
}

/// Three senders and a relay, with failures from when `arm` is called until all is quiet. Every message is
/// handled once, or its sender was told; every refusal stands in the log; afterwards all works.
void Storm(Simulation& board, const std::function<void()>& arm) {
    const SimHost host;
    int accepted = 0;
    int handled = 0;
    const auto send = [&](unsigned int type) {
        const unsigned int ret = Send(type);
        EXPECT_TRUE(ret == ONU_MNG_OK || ret == ONU_MNG_FAILURE) << std::hex << ret;
        accepted += ret == ONU_MNG_OK;
    };
    const auto handle = [&](const SimModule::Message& message) {
        ++handled;
        if (message.msg_type == kSync) send(kAsync);
        return ONU_MNG_OK;
    };
    onu_mng_module_reg_service_module(new SimModule(kSync, MSG_PROC_SYNC, handle));
    onu_mng_module_reg_service_module(new SimModule(kAsync, MSG_PROC_ASYNC, handle, 4));
    ASSERT_EQ(ONU_MNG_OK, onu_mng_system_start());
    for (int sender = 0; sender < 3; ++sender)
        board.Spawn("sender", [&] {
            for (const unsigned int type : {kAsync, kSync, kAsync, kSync})
                send(type);
        });
    arm();
    board.Join();
    board.Settle();
    board.FailNone();
    board.Sleep(2s); // a module whose receives failed waits a second before the next
    EXPECT_EQ(accepted, handled);
    const std::size_t refused = 3 * (4 + 2) - static_cast<std::size_t>(accepted);
    EXPECT_EQ(refused, board.Logged("msgQSend failed\r\n") + board.Logged("new MessagePacket failed\r\n"));
    EXPECT_TRUE(board.Failed() == 0 || IsTold(board, 0));
    const int before = handled;
    EXPECT_EQ(ONU_MNG_OK, Send(kAsync) | Send(kSync));
    board.Settle();
    EXPECT_EQ(before + 3, handled);
}

TEST(FailureSweep, OfAMessageStorm) {
    const unsigned int made = Sweep("message storm", [](const Injection& injection) {
        Simulation board(injection.nth);
        board.Run([&] { Storm(board, [&] { injection.Arm(board); }); });
        ExpectNothingLeft(board);
        return board.Failed() != 0;
    });
    EXPECT_LE(50u, made);
    std::cout << "message storm: " << made << " injections\n";
}

TEST(FailureShare, OfAMessageStorm) {
    sim_scenario::ForEachSeed([](Simulation& board) {
        const std::uint64_t seed = board.Result().seed;
        board.Run([&] {
            Storm(board, [&] {
                for (const SimFault kind :
                     {SimFault::kPoolAlloc, SimFault::kQueueSend, SimFault::kQueueReceive})
                    board.FailShare(kind, static_cast<unsigned int>(2 + seed % 7));
            });
        });
        ExpectNothingLeft(board);
    });
}

unsigned int Accept(const SimModule::Message&) {
    return ONU_MNG_OK;
}
unsigned int Succeed(StateContext&, char*) {
    return ONU_MNG_OK;
}

/// What the operations below work on, made beforehand so that a fault hits nothing but the library.
struct Bench {
    explicit Bench(SimModule* started) : running(started) {}

    unsigned int Show(cmd_handler handler) {
        const bool printed = handler(nullptr, terminal, 0, nullptr) == 0;
        text = terminal.Text();
        return printed ? ONU_MNG_OK : ONU_MNG_FAILURE;
    }
    void RemakeModule() {
        if (module == nullptr) ModuleManager::GetInstance()->RemoveModule(kSync);
        module = std::make_unique<SimModule>(kSync, MSG_PROC_SYNC, Accept);
    }

    SimModule* const running;
    std::unique_ptr<SimModule> module = std::make_unique<SimModule>(kSync, MSG_PROC_SYNC, Accept);
    SimContext context{Succeed};
    StateContext bare;
    std::unique_ptr<SimState> state = std::make_unique<SimState>(77, 0, 0, Succeed);
    std::optional<StateContext> made;
    std::optional<Semaphore> semaphore;
    CapturedTerminal terminal;
    std::string text;
};

/// One operation: `act` is what a fault may hit.
struct Operation {
    const char* name;
    std::function<unsigned int()> act;
    std::function<void()> undo = [] {};  ///< takes back what `act` did, whether it succeeded or not
    std::optional<SimFault> untold = {}; ///< the kind of failure that the result alone tells
};

std::vector<Operation> Operations(Bench& bench) {
    const auto yes = [](bool is_so) { return is_so ? ONU_MNG_OK : ONU_MNG_FAILURE; };
    OnuMngLog* const traces = OnuMngLog::GetInstance();
    static const unsigned char sn[] = "KVXQ\x12\x34\x56\x78";
    return {
        {"register a module",
         [&] {
             const unsigned int ret = onu_mng_module_reg_service_module(bench.module.get());
             if (ret == ONU_MNG_OK) bench.module.release();
             return ret;
         },
         [&] { bench.RemakeModule(); }},
        {"initialise a module", [&] { return bench.module->InitModule(); }},
        {"start a module", [&] { return bench.module->StartModule(); }},
        {"send a message", [] { return Send(kAsync); }},
        {"make a context",
         [&, yes] {
             bench.made.emplace();
             return yes(bench.made->context_id != StateContext::kUnregisteredId);
         },
         [&] { bench.made.reset(); }},
        {"register a state",
         [&] {
             const unsigned int ret = bench.bare.RegisterState(bench.state.get());
             if (ret == ONU_MNG_OK) bench.state.release();
             return ret;
         },
         [] {}, SimFault::kNew},
        {"run a procedure",
         [&] {
             char any = 0;
             return bench.context.Alloc(1, 5, nullptr, 0) | bench.context.Operate() |
                    bench.context.Release(1, 5, &any, 1, true);
         }},
        {"make a semaphore",
         [&, yes] {
             bench.semaphore.emplace();
             bench.semaphore->Signal();
             return yes(bench.semaphore->TryWait(1) == 0);
         },
         [&] { bench.semaphore.reset(); }, SimFault::kSemaphoreTake},
        {"trace an ONU",
         [=] {
             traces->AddOnuTracer(1, 6, sn, 4);
             return yes(traces->IsTraceOnu(1, 6, sn, 4));
         },
         [=] { traces->ClearOnuTracer(); }},
        {"walk the modules", [=] { return yes(ModuleManager::GetInstance()->CreateIterator() != nullptr); },
         [] {}, SimFault::kNew},
        {"register the reports", [] { return onu_mng_init_cli_cmd(); }},
        {"show the tracers", [&] { return bench.Show(cl_onu_mng_show_log_trace_func); }},
        {"show the contexts", [&] { return bench.Show(cl_onu_mng_show_state_context_cmd_fun); }},
        {"show the modules", [&] { return bench.Show(cl_onu_mng_show_service_module_cmd_fun); }},
        {"show the summary", [&] { return bench.Show(cl_onu_mng_show_service_module_summary_cmd_fun); }},
        {"show the environment", [&] { return bench.Show(cl_onu_mng_show_system_env_func); }},
    };
}
constexpr std::size_t kOperations = 16;

/// Does operation `index` under an injection and, if it failed, again without. Returns whether a call was
/// made to fail.
bool Operate(std::size_t index, const Injection& injection) {
    Simulation board(1);
    board.Run([&] {
        const SimHost host;
        auto* const running = new SimModule(kAsync, MSG_PROC_ASYNC, Accept);
        ASSERT_EQ(ONU_MNG_OK, onu_mng_module_reg_service_module(running) | onu_mng_system_start());
        Bench bench(running);
        OnuMngLog::GetInstance()->trace_switch = true;
        OnuMngLog::GetInstance()->AddOnuTracer(1, 5, nullptr, 4);
        const std::vector<Operation> operations = Operations(bench);
        ASSERT_EQ(kOperations, operations.size());
        const Operation& operation = operations[index];
        if (operation.name != std::string("register the reports")) onu_mng_init_cli_cmd();
        board.Settle();

        const std::size_t lines = board.Log().size();
        injection.Arm(board);
        const unsigned int result = operation.act();
        board.FailNone();
        const std::string text = bench.text;
        const bool is_told = IsTold(board, lines) || text.find("not enough memory") != std::string::npos;
        EXPECT_TRUE(board.Failed() == 0 || is_told || operation.untold == injection.kind)
            << operation.name << " fails in silence";
        board.Sleep(2s);
        if (result != ONU_MNG_OK || !bench.text.empty()) {
            operation.undo();
            EXPECT_EQ(ONU_MNG_OK, operation.act()) << operation.name << " again";
        }
        EXPECT_TRUE(text == bench.text || result != ONU_MNG_OK || is_told) << text;
        operation.undo();
        OnuMngLog::GetInstance()->ClearOnuTracer();
    });
    ExpectNothingLeft(board);
    return board.Failed() != 0;
}

TEST(FailureSweep, OfEveryOperation) {
    unsigned int made = 0;
    for (std::size_t operation = 0; operation < kOperations; ++operation)
        made += Sweep("operation " + std::to_string(operation),
                      [=](const Injection& injection) { return Operate(operation, injection); });
    EXPECT_LE(100u, made);
    std::cout << "operations: " << made << " injections\n";
}

} // namespace
