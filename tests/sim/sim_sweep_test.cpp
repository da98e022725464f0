// Every platform call and every allocation of the library made to fail: each alone, each with all that follow,
// and in pairs. After each the failure has been told as it should be, nothing is lost, locked or leaked, and the
// same works.

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/sim_host.h"
#include "tests/support/sim_scenario.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr SimFault kKinds[] = {SimFault::kQueueCreate,     SimFault::kQueueSend,     SimFault::kQueueReceive,
                               SimFault::kSemaphoreCreate, SimFault::kSemaphoreTake, SimFault::kTaskSpawn,
                               SimFault::kPoolCreate,      SimFault::kPoolAlloc,     SimFault::kNew};

#ifdef __SANITIZE_THREAD__
constexpr unsigned int kPairStep = 8; // pairs are slow under ThreadSanitizer, which finds races elsewhere
#else
constexpr unsigned int kPairStep = 1;
#endif

/// Which call fails: the first of two if there is a second, else alone or with all after it.
struct Injection {
    SimFault kind;
    unsigned int first;
    unsigned int second = 0;
    bool and_all_after = false;

    void Arm(Simulation& board) const {
        if (and_all_after)
            board.FailFrom(kind, first);
        else
            board.FailNth(kind, first, second);
    }
    std::string Text() const {
        return std::string(SimFaultName(kind)) + " " + std::to_string(first) +
               (second != 0     ? " and " + std::to_string(second)
                : and_all_after ? " and all after it"
                                : "");
    }
};

/// What a sweep has done, where the process that started it sees it, also when the one that does it dies.
struct Progress {
    unsigned int injections;
    unsigned int made; ///< failures by the current one
    char current[80];
};

unsigned int total = 0;

/// Prints the sum at the end.
class Total : public testing::Environment {
    void TearDown() override { std::cout << total << " injections in all\n"; }
};
const testing::Environment* const kTotal = testing::AddGlobalTestEnvironment(new Total);

/// Calls `inject`, which returns how many failures it made, for each injection: of every kind once and from
/// there on, and of any kind with each later call. A series ends when its call is never made.
void ForEachInjection(Progress& progress, const std::function<unsigned int(const Injection&)>& inject) {
    const int failures = sim_scenario::Failures();
    const auto made = [&](const Injection& injection) {
        if (sim_scenario::Failures() != failures) return 0u;
        const std::string text = injection.Text();
        SCOPED_TRACE(text);
        progress.current[text.copy(progress.current, sizeof progress.current - 1)] = '\0';
        const unsigned int count = inject(injection);
        progress.injections += count >= (injection.second != 0 ? 2 : 1);
        return count;
    };
    for (const SimFault kind : kKinds)
        for (const bool and_all_after : {false, true})
            for (unsigned int first = 1; made({kind, first, 0, and_all_after}) != 0;)
                ++first;
    for (unsigned int first = 1, count = 1; count != 0; ++first)
        for (unsigned int second = first + 1; (count = made({SimFault::kAny, first, second})) > 1;)
            second += kPairStep;
}

/// Sweeps in a copy of this process. Returns the number of injections.
unsigned int Sweep(const std::string& name, const std::function<void(Progress&)>& sweep) {
    static Progress& progress = *static_cast<Progress*>(
        mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    progress = {};
    EXPECT_TRUE(sim_scenario::Passes([&] { sweep(progress); })) << name << ": " << progress.current;
    total += progress.injections;
    return progress.injections;
}

using Scenario = std::function<void(Simulation&, const Injection&)>;

/// Runs a scenario under every injection: all in one process, which an unharmed run prepares, or, to find the
/// library untouched, each in its own.
unsigned int SweepRuns(const std::string& name, std::uint64_t seeds, bool untouched,
                       const Scenario& scenario) {
    const unsigned int injections = Sweep(name, [&](Progress& progress) {
        for (std::uint64_t seed = 1; seed <= seeds; ++seed) {
            const auto run = [&](const Injection& injection) {
                Simulation board(seed);
                scenario(board, injection);
                EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
                const SimHoldings left = board.Holdings();
                EXPECT_EQ(0, left.tasks + left.queues + left.blocks + left.locks_taken);
                progress.made = board.Failed();
                return progress.made;
            };
            if (!untouched) run({SimFault::kAny, 0});
            ForEachInjection(progress, [&](const Injection& injection) {
                if (!untouched) return run(injection);
                EXPECT_TRUE(sim_scenario::Passes([&] { run(injection); }));
                return progress.made;
            });
        }
    });
    std::cout << name << ": " << injections << " injections\n";
    return injections;
}

/// Told in the log, at a level that is always written.
bool IsTold(const Simulation& board) {
    return std::any_of(board.Log().begin(), board.Log().end(),
                       [](const SimLogLine& line) { return line.level != ONU_MNG_LOG_START; });
}

constexpr unsigned int kSync = 10;
constexpr unsigned int kAsync = 20;

unsigned int Send(unsigned int type) {
    char byte = 1;
    return onu_mng_module_send_msg(0, type, 1, 5, &byte, 1);
}

/// Whether one of the texts stands in the log from a line on.
bool Says(const Simulation& board, std::size_t since, const std::vector<std::string>& texts) {
    return std::any_of(board.Log().begin() + static_cast<std::ptrdiff_t>(since), board.Log().end(),
                       [&](const SimLogLine& line) {
                           return std::any_of(texts.begin(), texts.end(), [&](const std::string& text) {
                               return line.text.find(text) != std::string::npos;
                           });
                       });
}

/// A step of a start-up and the lines of which one says that it failed.
struct Step {
    std::function<unsigned int()> act;
    std::vector<std::string> lines;
};

unsigned int Register(std::unique_ptr<SimModule>& module) {
    if (module == nullptr) return ONU_MNG_OK;
    const unsigned int ret = onu_mng_module_reg_service_module(module.get());
    if (ret == ONU_MNG_OK) module.release();
    return ret;
}

TEST(FailureSweep, OfStartUp) {
    EXPECT_LE(
        300u / kPairStep, SweepRuns("start-up", 1, true, [](Simulation& board, const Injection& injection) {
            board.Run([&] {
                int accepted = 0;
                int handled = 0;
                const auto count = [&](const SimModule::Message&) {
                    ++handled;
                    return ONU_MNG_OK;
                };
                auto sync = std::make_unique<SimModule>(kSync, MSG_PROC_SYNC, count);
                auto async = std::make_unique<SimModule>(kAsync, MSG_PROC_ASYNC, count);
                const auto send = [&](unsigned int type) {
                    const unsigned int ret = Send(type);
                    accepted += ret == ONU_MNG_OK;
                    return ret;
                };
                const std::vector<std::string> unsent = {"new MessagePacket failed\r\n",
                                                         "msgQSend failed\r\n", "has not been init yet",
                                                         "Cannot find module"};
                const std::string no_memory = "no memory to register the module\r\n";
                const Step steps[] = {
                    {SimHost::Init, {"Init memory pool failed\r\n", "Init state context mgr failed\r\n"}},
                    {[&] { return Register(sync); }, {no_memory}},
                    {[&] { return Register(async); }, {no_memory}},
                    {onu_mng_system_start, {"InitModules failed \r\n", "StartModules failed\r\n"}},
                    {[&] { return send(kSync); }, unsent},
                    {[&] { return send(kAsync); }, unsent},
                };
                injection.Arm(board);
                for (const Step& step : steps) {
                    const std::size_t since = board.Log().size();
                    const unsigned int ret = step.act();
                    EXPECT_TRUE(ret == ONU_MNG_OK || ret == ONU_MNG_FAILURE) << std::hex << ret;
                    EXPECT_EQ(ret != ONU_MNG_OK, Says(board, since, step.lines)) << &step - steps;
                }
                board.Settle();
                board.FailNone();
                board.Sleep(2s); // a module whose receives failed waits a second before the next
                EXPECT_TRUE(board.Failed() == 0 || IsTold(board));
                EXPECT_EQ(accepted, handled);
                for (const Step& step : steps)
                    EXPECT_EQ(ONU_MNG_OK, step.act()) << &step - steps << " again";
                board.Settle();
                EXPECT_EQ(accepted, handled);
                SimHost::Stop();
            });
        }));
}

// Three senders and a relay. Every message is handled once, or its sender was told; every refusal stands in the
// log; afterwards all works.
void Storm(Simulation& board, const Injection& injection) {
    board.Run([&] {
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
        EXPECT_EQ(ONU_MNG_OK, onu_mng_system_start());
        for (int sender = 0; sender < 3; ++sender)
            board.Spawn("sender", [&] {
                for (const unsigned int type : {kAsync, kSync, kAsync, kSync})
                    send(type);
            });
        injection.Arm(board);
        board.Join();
        board.Settle();
        board.FailNone();
        board.Sleep(2s);
        EXPECT_EQ(accepted, handled);
        EXPECT_EQ(3 * (4 + 2) - accepted, static_cast<int>(board.Logged("msgQSend failed\r\n") +
                                                           board.Logged("new MessagePacket failed\r\n")));
        EXPECT_TRUE(board.Failed() == 0 || IsTold(board));
        const int before = handled;
        EXPECT_EQ(ONU_MNG_OK, Send(kAsync) | Send(kSync));
        board.Settle();
        EXPECT_EQ(before + 3, handled);
    });
}

TEST(FailureSweep, OfAMessageStorm) {
    EXPECT_LE(5000u / kPairStep, SweepRuns("message storms", 10, false, Storm));
}

// A procedure whose ONU falls silent is ended by the supervision, and its module is removed with messages in its
// queue.
TEST(FailureSweep, OfASupervisedProcedure) {
    const auto scenario = [](Simulation& board, const Injection& injection) {
        board.Run([&] {
            const SimHost host;
            StateContextManager::GetInstance()->interval_run_time = 1;
            int ended = 0;
            SimContext context(
                [&](StateContext& where, char*) {
                    ended += where.cur_state == STATE_FAIL;
                    return ONU_MNG_OK;
                },
                1);
            onu_mng_module_reg_service_module(
                new SimModule(kAsync, MSG_PROC_ASYNC, [&](const SimModule::Message&) {
                    if (context.cur_state == STATE_IDLE) context.Alloc(1, 5, nullptr, 0);
                    return context.Operate();
                }));
            EXPECT_EQ(ONU_MNG_OK, onu_mng_system_start());
            OnuMngLog::GetInstance()->trace_switch = true;
            OnuMngLog::GetInstance()->AddOnuTracer(1, 5, nullptr, ONU_MNG_LOG_TRACE);
            injection.Arm(board);
            const bool is_sent = Send(kAsync) == ONU_MNG_OK;
            board.Sleep(1min);
            board.FailNone();
            board.Sleep(1min);
            EXPECT_EQ(is_sent, ended);
            EXPECT_EQ(STATE_IDLE, context.cur_state);
            EXPECT_TRUE(board.Failed() == 0 || IsTold(board));

            EXPECT_EQ(ONU_MNG_OK, Send(kAsync) | Send(kAsync));
            EXPECT_EQ(ONU_MNG_OK, ModuleManager::GetInstance()->RemoveModule(kAsync));
            OnuMngLog::GetInstance()->ClearOnuTracer();
        });
    };
    EXPECT_LE(15'000u / kPairStep, SweepRuns("supervised procedures", 2, false, scenario));
}

unsigned int Accept(const SimModule::Message&) {
    return ONU_MNG_OK;
}
unsigned int Succeed(StateContext&, char*) {
    return ONU_MNG_OK;
}

/// What the operations below work on, made beforehand so that a fault hits nothing but the library.
struct Bench {
    unsigned int Type(const char* line) {
        return vty_execute(terminal, SimHost::kNode, line) == 0 ? ONU_MNG_OK : ONU_MNG_FAILURE;
    }
    void RemakeModule() {
        if (module == nullptr) ModuleManager::GetInstance()->RemoveModule(kSync);
        module = std::make_unique<SimModule>(kSync, MSG_PROC_SYNC, Accept);
    }
    void RemakeState() {
        bare.emplace();
        if (state == nullptr) state = std::make_unique<SimState>(77, 0, 0, Succeed);
    }

    std::unique_ptr<SimModule> module = std::make_unique<SimModule>(kSync, MSG_PROC_SYNC, Accept);
    SimContext context{Succeed};
    std::optional<StateContext> bare{std::in_place};
    std::unique_ptr<SimState> state = std::make_unique<SimState>(77, 0, 0, Succeed);
    std::optional<StateContext> made;
    std::optional<Semaphore> semaphore;
    CapturedTerminal terminal;
    std::string text;
};

/// What a failing call of a kind does to an operation: its result, and what stands in the log or on the terminal.
struct Told {
    SimFault kind;
    unsigned int result;
    std::string line;
};

/// One operation: `act` is what a fault may hit.
struct Operation {
    const char* name;
    std::function<unsigned int()> act;
    std::function<void()> undo; ///< takes back what `act` did, whether it succeeded or not
    std::vector<Told> told;
};

std::vector<Operation> Operations(Bench& bench) {
    OnuMngLog* const traces = OnuMngLog::GetInstance();
    const auto yes = [](bool is_so) { return is_so ? ONU_MNG_OK : ONU_MNG_FAILURE; };
    const auto none = [] {};
    const auto remake_module = [&] { bench.RemakeModule(); };
    const auto clear_tracers = [=] {
        traces->ClearOnuTracer();
        traces->trace_switch = true;
        traces->AddOnuTracer(1, 5, nullptr, 4);
    };
    static const unsigned char sn[] = "KVXQ\x12\x34\x56\x78";
    std::vector<Operation> operations = {
        {"register a module",
         [&] { return Register(bench.module); },
         remake_module,
         {{SimFault::kNew, ONU_MNG_FAILURE, "no memory to register the module\r\n"}}},
        {"initialise a module",
         [&] { return bench.module->InitModule(); },
         remake_module,
         {{SimFault::kQueueCreate, ONU_MNG_FAILURE, "msgQueue Init failed\r\n"}}},
        {"start a module",
         [&] { return bench.module->StartModule(); },
         remake_module,
         {{SimFault::kTaskSpawn, ONU_MNG_FAILURE, "start failed\r\n"}}},
        {"send a message",
         [] { return Send(kAsync); },
         none,
         {{SimFault::kPoolAlloc, ONU_MNG_FAILURE, "new MessagePacket failed\r\n"},
          {SimFault::kQueueSend, ONU_MNG_FAILURE, "ServiceModule::SendMsg failed. "}}},
        {"make a context",
         [&, yes] {
             bench.made.emplace();
             return yes(bench.made->context_id != StateContext::kUnregisteredId);
         },
         [&] { bench.made.reset(); },
         {{SimFault::kNew, ONU_MNG_FAILURE, "no memory to register the state context\r\n"},
          {SimFault::kSemaphoreCreate, ONU_MNG_OK, "semBCreate failed\r\n"}}},
        {"register a state",
         [&] {
             const unsigned int ret = bench.bare->RegisterState(bench.state.get());
             if (ret == ONU_MNG_OK) bench.state.release();
             return ret;
         },
         [&] { bench.RemakeState(); },
         {{SimFault::kNew, ONU_MNG_FAILURE, ""}}},
        {"run a procedure",
         [&] {
             char any = 0;
             return bench.context.Alloc(1, 5, nullptr, 0) | bench.context.Operate() |
                    bench.context.Release(1, 5, &any, 1, true);
         },
         none,
         {}},
        {"make a semaphore",
         [&, yes] {
             bench.semaphore.emplace();
             bench.semaphore->Signal();
             return yes(bench.semaphore->TryWait(1) == 0);
         },
         [&] { bench.semaphore.reset(); },
         {{SimFault::kSemaphoreCreate, ONU_MNG_OK, "semBCreate failed\r\n"},
          {SimFault::kSemaphoreCreate, ONU_MNG_FAILURE, "semBCreate failed\r\n"},
          {SimFault::kSemaphoreTake, ONU_MNG_FAILURE, ""}}},
        {"trace an ONU",
         [=] {
             traces->AddOnuTracer(1, 6, sn, 4);
             return yes(traces->IsTraceOnu(1, 6, sn, 4));
         },
         clear_tracers,
         {{SimFault::kNew, ONU_MNG_FAILURE, ")no memory to trace level "},
          {SimFault::kPoolAlloc, ONU_MNG_FAILURE, ")no memory to trace level "}}},
        {"register the reports",
         [] { return onu_mng_init_cli_cmd(); },
         [] { onu_mng_init_cli_cmd(); },
         {{SimFault::kNew, ONU_MNG_OK, "no memory to register report "}}},
    };
    const std::pair<const char*, std::function<void()>> commands[] = {
        {"set log_trace flag enable ponno 1 onuid 7 debug_level 4,5", clear_tracers},
        {"set log_trace flag enable ponno 1 onusn KVXQ-12345678 debug_level 4", clear_tracers},
        {"set log_trace flag disable", clear_tracers},
        {"show log_trace", none},
        {"show state_context", none},
        {"terminate state_context id 1", [&] { bench.context.Release(false); }},
        {"show service_module", none},
        {"show service_module summary", none},
        {"show memory global", none},
        {"show memory detail", none},
        {"show memory debug", none},
        {"show system env", none},
        {"set state_machine interval_run_time 30", none},
        {"show state_machine interval_run_time", none},
    };
    for (const auto& [line, undo] : commands)
        operations.push_back({line,
                              [&, line = line] { return bench.Type(line); },
                              undo,
                              {{SimFault::kNew, ONU_MNG_FAILURE, "% Out of memory.\r\n"},
                               {SimFault::kNew, ONU_MNG_FAILURE, "not enough memory for the "},
                               {SimFault::kNew, ONU_MNG_FAILURE, "dbglvl should be specified\r\n"},
                               {SimFault::kNew, ONU_MNG_OK, "not enough memory for the report\r\n"},
                               {SimFault::kNew, ONU_MNG_OK, ")no memory to trace level "},
                               {SimFault::kPoolAlloc, ONU_MNG_OK, ")no memory to trace level "},
                               {SimFault::kPoolAlloc, ONU_MNG_OK, "AllocBuffer for string failed. "}}});
    for (Operation& operation : operations)
        operation.told.push_back({SimFault::kSemaphoreTake, ONU_MNG_OK, "semTake failed\r\n"});
    return operations;
}

/// Does an operation under an injection and then unharmed. Returns how many failures were made.
unsigned int Operate(Simulation& board, Bench& bench, const Operation& operation,
                     const Injection& injection) {
    const SimHoldings before = board.Holdings();
    const std::size_t since = board.Log().size();
    std::map<SimFault, unsigned int> failed;
    for (const SimFault kind : kKinds)
        failed[kind] = board.Failed(kind);
    const unsigned int failed_before = board.Failed();
    injection.Arm(board);
    const unsigned int result = operation.act();
    board.FailNone();
    bench.text = bench.terminal.Text();
    const unsigned int made = board.Failed() - failed_before;
    bool is_expected = made == 0 && result == ONU_MNG_OK;
    for (const SimFault kind : kKinds) {
        const bool has_failed = board.Failed(kind) != failed[kind];
        bool is_told = !has_failed;
        for (const Told& told : operation.told) {
            if (told.kind != kind || !has_failed) continue;
            if (bench.text.find(told.line) == std::string::npos && !Says(board, since, {told.line})) continue;
            is_told = true;
            is_expected |= result == told.result;
        }
        EXPECT_TRUE(is_told) << SimFaultName(kind) << " fails in silence; the terminal shows " << bench.text;
    }
    EXPECT_TRUE(is_expected) << "result " << std::hex << result << "; the terminal shows " << bench.text;
    operation.undo();
    board.Settle();
    EXPECT_TRUE(before == board.Holdings());
    EXPECT_EQ(ONU_MNG_OK, operation.act()) << "again";
    operation.undo();
    board.Settle();
    EXPECT_TRUE(before == board.Holdings());
    return made;
}

/// With the library up, reports registered and a tracer.
void SweepOperation(Simulation& board, std::size_t index, Progress& progress) {
    board.Run([&] {
        const SimHost host;
        onu_mng_module_reg_service_module(new SimModule(kAsync, MSG_PROC_ASYNC, Accept));
        EXPECT_EQ(ONU_MNG_OK,
                  onu_mng_system_start() | onu_mng_init_cli_cmd() | onu_mng_cli_install_element());
        Bench bench;
        OnuMngLog::GetInstance()->trace_switch = true;
        OnuMngLog::GetInstance()->AddOnuTracer(1, 5, nullptr, 4);
        const Operation operation = Operations(bench)[index];
        SCOPED_TRACE(operation.name);
        Operate(board, bench, operation, {SimFault::kAny, 0});
        ForEachInjection(progress, [&](const Injection& injection) {
            return Operate(board, bench, operation, injection);
        });
        OnuMngLog::GetInstance()->ClearOnuTracer();
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

TEST(FailureSweep, OfEveryOperationAndCommand) {
    constexpr std::size_t kOperations = 24;
    unsigned int injections = 0;
    for (std::size_t index = 0; index < kOperations; ++index)
        injections += Sweep("operation " + std::to_string(index), [&](Progress& progress) {
            SimOptions options;
            options.decisions = ""; // the other tasks run when this one waits
            Simulation board(options);
            SweepOperation(board, index, progress);
        });
    std::cout << "operations and commands: " << injections << " injections\n";
    EXPECT_LE(1500u / kPairStep, injections);
}

} // namespace
