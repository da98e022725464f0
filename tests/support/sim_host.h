/// A host on the simulated board: starts and stops the library, and provides a module and a state context for
/// scenarios.
#ifndef ONU_MNG_TESTS_SUPPORT_SIM_HOST_H
#define ONU_MNG_TESTS_SUPPORT_SIM_HOST_H

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/sim/simulation.h"

/// Starts the library in the body of a run and stops it at the end. The library has no operation for that,
/// because an OLT never stops, so this ends the supervision and the modules one by one.
class SimHost {
public:
    static constexpr unsigned int kLogModule = 7;
    static constexpr unsigned int kNode = 5;

    SimHost() : status(Init()) {}
    ~SimHost() { Stop(); }
    SimHost(const SimHost&) = delete;
    SimHost& operator=(const SimHost&) = delete;

    static unsigned int Init() {
        onu_mng_system_reg_log_module(kLogModule);
        onu_mng_system_reg_cli_node(kNode);
        onu_mng_system_set_pon_onu_num(16, 128);
        onu_mng_system_reg_onu_id_to_onu_sn_handle(
            [](unsigned, unsigned char, unsigned char*, unsigned) { return -1; });
        onu_mng_system_reg_onu_sn_to_onu_id_handle(
            [](unsigned, const unsigned char*, unsigned char*) { return -1; });
        return onu_mng_system_init();
    }

    static void Stop() {
        StateContextManager::GetInstance()->EndSupervision();
        ModuleManager* modules = ModuleManager::GetInstance();
        while (auto* module = dynamic_cast<ServiceModule*>(modules->GetItem(0)))
            modules->RemoveModule(module->mod_type);
    }

    const unsigned int status; ///< of onu_mng_system_init()
};

/// Runs `body` with the library started, stops the library and expects that nothing is left.
inline void RunHost(onu_mng_platform::Simulation& board, const std::function<void()>& body) {
    board.Run([&] {
        {
            const SimHost host;
            EXPECT_EQ(ONU_MNG_OK, host.status);
            body();
        }
        EXPECT_EQ(0, board.Holdings().tasks) << "of the library";
        EXPECT_EQ(0, board.Holdings().queues);
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_EQ(0, board.Holdings().blocks);
    EXPECT_EQ(0, board.Holdings().locks_taken);
}

/// Claims one message type and calls a function for each message.
class SimModule : public ServiceModule {
public:
    struct Message {
        unsigned int msg_type;
        unsigned short pon_no;
        unsigned short onu_id;
        char* data;
        unsigned int pkg_size;
    };
    using Handler = std::function<unsigned int(const Message&)>;

    SimModule(unsigned int claims, MsgSyncProcType sync_type, Handler handler, unsigned int capacity = 8)
        : ServiceModule(claims, "SimModule", 120, 1, capacity, 65536), delivery(sync_type),
          on_message(std::move(handler)) {}
    ~SimModule() override { EndTask(); }

    using ServiceModule::HandleMsg;
    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        sync_type = delivery;
        return msg_type == mod_type;
    }
    unsigned int HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id, char* data,
                           unsigned int pkg_size) override {
        return on_message({msg_type, pon_no, onu_id, data, pkg_size});
    }

private:
    const MsgSyncProcType delivery;
    const Handler on_message;
};

/// A state that calls a function.
class SimState : public ServiceState {
public:
    using Work = std::function<unsigned int(StateContext&, char* p_msg)>;

    SimState(unsigned int id, unsigned int on_success, unsigned int on_failure, Work hook,
             unsigned long seconds = kDefaultMaxRunTime)
        : ServiceState(id, seconds), success(on_success), failure(on_failure), work(std::move(hook)) {}

    using ServiceState::Operate;
    unsigned int Operate(StateContext* context, char* p_msg, unsigned int) override {
        return work(*context, p_msg);
    }
    unsigned int GetNextState() override { return ret == ONU_MNG_OK ? success : failure; }

private:
    const unsigned int success;
    const unsigned int failure;
    const Work work;
};

/// INIT → WORK → SUCC → IDLE; a failure goes through FAIL to IDLE.
class SimContext : public StateContext {
public:
    static constexpr unsigned int kWork = 10;

    /// Every state calls `hook`.
    explicit SimContext(SimState::Work hook, unsigned long seconds = ServiceState::kDefaultMaxRunTime) {
        RegisterState(new SimState(STATE_INIT, kWork, STATE_FAIL, hook, seconds));
        RegisterState(new SimState(kWork, STATE_SUCC, STATE_FAIL, hook, seconds));
        RegisterState(new SimState(STATE_SUCC, STATE_IDLE, STATE_IDLE, hook, seconds));
        RegisterState(new SimState(STATE_FAIL, STATE_IDLE, STATE_IDLE, hook, seconds));
    }

    using StateContext::Match;
    bool Match(char*, unsigned int) override { return true; }
    unsigned int Operate() { return Handle(STATE_MSG_OPERATE, &message, 1); }

private:
    char message = 'm';
};

#endif
