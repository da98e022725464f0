#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>

#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"

namespace {

constexpr int kStatus = 7;

unsigned int Send(unsigned int msg_type) {
    char payload[] = "payload";
    return onu_mng_module_send_msg(0, msg_type, 1, 5, payload, sizeof payload);
}

void Exit() {
    std::exit(kStatus);
}

/// The message types of a module: what its `Match`, or its handler, does before it answers.
enum : unsigned int { kNothing, kExitsInMatch, kExits, kSendsExit, kForwards };

class Service : public ServiceModule {
public:
    Service(unsigned int type, MsgSyncProcType how)
        : ServiceModule(type, "service", 120, 1, 64, 65536), delivery(how) {}
    ~Service() override { EndTask(); }

    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        if (msg_type == kExitsInMatch) Exit();
        sync_type = delivery;
        return msg_type / 10 == mod_type;
    }
    unsigned int HandleMsg(unsigned int msg_type, unsigned short, unsigned short, char*,
                           unsigned int) override {
        if (msg_type % 10 == kExits) Exit();
        if (msg_type % 10 == kSendsExit) return Send(20 + kExits);
        if (msg_type % 10 == kForwards) return Send(20);
        return 0;
    }
    using ServiceModule::HandleMsg;

    const MsgSyncProcType delivery;
    StateContext context; ///< leaves the pool of contexts when the service is deleted
};

struct ExitingState : ServiceState {
    using ServiceState::Operate;
    using ServiceState::ServiceState;
    unsigned int Operate(StateContext*, char*, unsigned int) override {
        Exit();
        return 0;
    }
};

struct ExitingContext : StateContext {
    using StateContext::Occupy;
    void Occupy(char*, unsigned int) override { Exit(); }
};

/// Starts the library with a service of each delivery and two senders that never stop, and lets `ends` end it.
void RunUntil(const std::function<void()>& ends) {
    onu_mng_system_reg_log_module(1);
    onu_mng_system_reg_cli_node(1);
    onu_mng_system_set_pon_onu_num(1, 1);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(
        [](unsigned, unsigned char, unsigned char*, unsigned) { return 1; });
    onu_mng_system_reg_onu_sn_to_onu_id_handle(
        [](unsigned, const unsigned char*, unsigned char*) { return 1; });
    onu_mng_system_init();
    ModuleManager::GetInstance()->RegisterModule(new Service(1, MSG_PROC_ASYNC));
    ModuleManager::GetInstance()->RegisterModule(new Service(2, MSG_PROC_SYNC));
    onu_mng_system_start();
    for (unsigned int msg_type : {10 + kForwards, 20 + kNothing})
        std::thread([msg_type] {
            for (;;)
                Send(msg_type);
        }).detach();
    ends();
    std::this_thread::sleep_for(std::chrono::seconds(60));
}

struct Place {
    const char* name;
    std::function<void()> ends;
};

const Place kPlaces[] = {
    {"main()", Exit},
    {"a host's task",
     [] {
         bep_taskSpawnEx(
             "host", 100, 8, 65536, [](auto...) { Exit(); }, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0);
     }},
    {"a Match", [] { Send(kExitsInMatch); }},
    {"a module's task", [] { Send(10 + kExits); }},
    {"a synchronous handler", [] { Send(20 + kExits); }},
    {"a synchronous handler in a module's task", [] { Send(10 + kSendsExit); }},
    {"a hook under the lock of a context",
     [] {
         static ExitingContext context;
         for (unsigned int state : {STATE_INIT, STATE_SUCC, STATE_FAIL})
             context.RegisterState(new ServiceState(state));
         context.Alloc(1, 1, nullptr, 0);
     }},
    {"a hook of a terminated context",
     [] {
         static StateContext context;
         context.RegisterState(new ServiceState(STATE_INIT));
         context.RegisterState(new ServiceState(STATE_SUCC));
         context.RegisterState(new ExitingState(STATE_FAIL));
         context.Alloc(1, 1, nullptr, 0);
         context.ChangeState(STATE_FAIL, false);
         context.stop_times = StateContext::kAbsorbedStops;
         StateContextManager::GetInstance()->Terminate(context.context_id);
     }},
};

TEST(ProcessEnd, IsOrderlyFromEveryTaskWhileMessagesAreUnderWay) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const Place& place : kPlaces) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EXIT(RunUntil(place.ends), testing::ExitedWithCode(kStatus), "") << place.name;
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4)) << place.name;
    }
}

TEST(ProcessEnd, DoesNotWaitForEverForAHandlerThatDoesNotReturn) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(RunUntil([] {
                    static std::atomic<bool> inside{false};
                    struct Stuck : Service {
                        Stuck() : Service(3, MSG_PROC_ASYNC) {}
                        using Service::HandleMsg;
                        unsigned int HandleMsg(unsigned int, unsigned short, unsigned short, char*,
                                               unsigned int) override {
                            inside = true;
                            usleep(60 * 1000 * 1000); // no end point, as the C library's own sleep is
                            return 0;
                        }
                    };
                    ModuleManager::GetInstance()->RegisterModule(new Stuck);
                    onu_mng_system_start();
                    Send(30);
                    while (!inside)
                        std::this_thread::yield();
                    Exit();
                }),
                testing::ExitedWithCode(kStatus), "the process exits before all modules have ended");
}

/// Destroyed last, because it is made first.
struct LooksBack {
    ~LooksBack() {
        if (StateContextManager::GetInstance()->IsAlive()) std::_Exit(1);
    }
};

TEST(ProcessEnd, EndsTheSupervisionOfAHostWithoutModules) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            static const LooksBack looks_back;
            StateContextManager::GetInstance()->Init(100);
            Exit();
        },
        testing::ExitedWithCode(kStatus), "");
}

} // namespace
