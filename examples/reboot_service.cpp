/// A service that reboots ONUs: one state machine per ONU, driven by messages.
///
///   start message ──> INIT ── request sent ──> WAIT ── answer ok ──> SUCC ──> free
///                                                └──── refused ────> FAIL ──> free
///
/// If an ONU never answers, the supervision takes its procedure from WAIT to FAIL, 6 to 7 rounds after the
/// state's time limit of 10 seconds.

#include <cstdio>
#include <memory>
#include <vector>

#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"

namespace {

constexpr unsigned int MSG_START_REBOOT = 1;
constexpr unsigned int MSG_ANSWER = 2;
constexpr unsigned int STATE_WAIT = 10;
constexpr unsigned int kRebootService = 1;
constexpr unsigned long kAnswerSeconds = 10;

/// Signalled for each procedure that ended.
Semaphore* ended;

/// Sends the reboot request. A real service sends an OMCI frame to the PON here.
class Request : public ServiceState {
public:
    Request() : ServiceState(STATE_INIT) {}
    unsigned int Operate(StateContext* context, char*, unsigned int) override {
        std::printf("ONU %d/%d: reboot requested\n", context->pon_no.load(), context->onu_id.load());
        return 0;
    }
    unsigned int GetNextState() override { return ret == 0 ? STATE_WAIT : STATE_FAIL; }
};

/// Handles the answer. Its first byte is the OMCI result.
class Wait : public ServiceState {
public:
    Wait() : ServiceState(STATE_WAIT, kAnswerSeconds) {}
    unsigned int Operate(StateContext*, char* answer, unsigned int) override {
        return static_cast<unsigned char>(*answer);
    }
    unsigned int GetNextState() override { return ret == 0 ? STATE_SUCC : STATE_FAIL; }
    bool IsAutoNextState() override { return true; }
};

/// SUCC and FAIL: prints the outcome of the procedure and frees the context.
class End : public ServiceState {
public:
    End(unsigned int id, const char* how_it_ended) : ServiceState(id), outcome(how_it_ended) {}
    unsigned int Operate(StateContext* context, char*, unsigned int) override {
        std::printf("ONU %d/%d: %s\n", context->pon_no.load(), context->onu_id.load(), outcome);
        ended->Signal();
        return 0;
    }

private:
    const char* outcome;
};

class RebootContext : public StateContext {
public:
    RebootContext() : StateContext(kRebootService) {
        RegisterState(request);
        RegisterState(wait);
        RegisterState(new End(STATE_SUCC, "reboots"));
        RegisterState(new End(STATE_FAIL, "refused"));
    }

    /// Restarts the states' clocks. They still count from the previous reboot of this context.
    void Occupy(char*, unsigned int) override {
        request->state_clock.Now();
        wait->state_clock.Now();
    }

private:
    Request* request = new Request; // the context owns its states once they are registered
    Wait* wait = new Wait;
};

/// Owns a fixed number of contexts, one for each procedure that may run at a time.
class RebootModule : public ServiceModule {
public:
    explicit RebootModule(unsigned int procedures)
        : ServiceModule(kRebootService, "Reboot", 120, 1, 64, 65536) {
        for (unsigned int count = 0; count < procedures; ++count)
            contexts.push_back(std::make_unique<RebootContext>());
    }
    ~RebootModule() override { EndTask(); }

    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        sync_type = MSG_PROC_ASYNC;
        return msg_type == MSG_START_REBOOT || msg_type == MSG_ANSWER;
    }

    unsigned int HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id, char* data,
                           unsigned int pkg_size) override {
        for (const auto& context : contexts) {
            const bool is_mine = msg_type == MSG_START_REBOOT
                                     ? context->Alloc(pon_no, onu_id, data, pkg_size) == 0
                                     : context->Match(pon_no, onu_id, nullptr, 0, true);
            if (is_mine) return context->Handle(STATE_MSG_OPERATE, data, pkg_size);
        }
        return 1; // all contexts are busy, or none waits for this answer; the framework logs that
    }

private:
    std::vector<std::unique_ptr<RebootContext>> contexts;
};

int IdToSerialNumber(unsigned int, unsigned char, unsigned char*, unsigned int) {
    return 1;
}
int SerialNumberToId(unsigned int, const unsigned char*, unsigned char*) {
    return 1;
}

bool StartSystem() {
    onu_mng_system_reg_log_module(1);
    onu_mng_system_reg_cli_node(1);
    onu_mng_system_set_pon_onu_num(16, 128);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(IdToSerialNumber);
    onu_mng_system_reg_onu_sn_to_onu_id_handle(SerialNumberToId);
    return onu_mng_system_init() == 0 && onu_mng_module_reg_service_module(new RebootModule(8)) == 0 &&
           onu_mng_system_start() == 0;
}

} // namespace

int main() {
    static Semaphore procedure_ended;
    ended = &procedure_ended;
    if (!StartSystem()) return 1;

    char nothing = 0;
    char result_ok = 0;
    char result_busy = 6;
    onu_mng_module_send_msg(0, MSG_START_REBOOT, 1, 5, &nothing, 1);
    onu_mng_module_send_msg(0, MSG_ANSWER, 1, 5, &result_ok, 1);
    const bool first = procedure_ended.TryWait(10) == 0;
    onu_mng_module_send_msg(0, MSG_START_REBOOT, 1, 6, &nothing, 1);
    onu_mng_module_send_msg(0, MSG_ANSWER, 1, 6, &result_busy, 1);
    const bool second = procedure_ended.TryWait(10) == 0;
    return first && second ? 0 : 1;
}
