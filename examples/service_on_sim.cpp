/// Tests a service that detects silent ONUs, on the simulated board.

#include <cstdio>
#include <map>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/sim/simulation.h"

using onu_mng_platform::SimFault;
using onu_mng_platform::SimResult;
using onu_mng_platform::Simulation;

namespace {

constexpr unsigned int MSG_HEARTBEAT = 7;
constexpr unsigned int kHeartbeats = 1;

/// The service: records heartbeats and reports whether an ONU has been silent for more than a minute.
class Heartbeats : public ServiceModule {
public:
    Heartbeats() : ServiceModule(kHeartbeats, "Heartbeats", 120, 1, 64, 65536) {}
    ~Heartbeats() override { EndTask(); }

    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        sync_type = MSG_PROC_ASYNC;
        return msg_type == MSG_HEARTBEAT;
    }
    unsigned int HandleMsg(unsigned int, unsigned short, unsigned short onu_id, char*,
                           unsigned int) override {
        LockGuard guard(stamps_lock);
        stamps[onu_id].Now();
        return 0;
    }
    bool IsSilent(unsigned short onu_id) {
        LockGuard guard(stamps_lock);
        const auto stamp = stamps.find(onu_id);
        return stamp == stamps.end() || Clock() - stamp->second > 60'000;
    }

private:
    ReadWriteLock stamps_lock;
    std::map<unsigned short, Clock> stamps;
};

unsigned int SendHeartbeat(unsigned short onu_id) {
    char beat = 1;
    return onu_mng_module_send_msg(0, MSG_HEARTBEAT, 1, onu_id, &beat, 1);
}

/// Starts the library as a host does.
Heartbeats* StartHost() {
    onu_mng_system_reg_log_module(1);
    onu_mng_system_reg_cli_node(1);
    onu_mng_system_set_pon_onu_num(16, 128);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(
        [](unsigned, unsigned char, unsigned char*, unsigned) { return 1; });
    onu_mng_system_reg_onu_sn_to_onu_id_handle(
        [](unsigned, const unsigned char*, unsigned char*) { return 1; });
    auto* service = new Heartbeats;
    const bool is_up = onu_mng_system_init() == 0 && onu_mng_module_reg_service_module(service) == 0 &&
                       onu_mng_system_start() == 0;
    return is_up ? service : nullptr;
}

/// Stops it again, for the next run in this process.
void StopHost() {
    ModuleManager::GetInstance()->RemoveModule(kHeartbeats);
    StateContextManager::GetInstance()->EndSupervision();
}

int failures = 0;

void Expect(bool holds, const char* what) {
    if (holds) return;
    std::printf("FAILED: %s\n", what);
    ++failures;
}

/// One run. The same seed gives the same run; other seeds give other interleavings of the five tasks.
void TestHeartbeats(std::uint64_t seed) {
    Simulation board(seed);
    const SimResult& result = board.Run([&board] {
        Heartbeats* service = StartHost();
        if (service == nullptr) return Expect(false, "the host starts");
        for (unsigned short onu_id = 1; onu_id <= 3; ++onu_id)
            board.Spawn("sender", [&board, onu_id] {
                for (int beat = 0; beat < 5; ++beat) {
                    Expect(SendHeartbeat(onu_id) == 0, "a heartbeat is taken");
                    board.Sleep(std::chrono::seconds(10 * onu_id));
                }
            });
        board.Join(); // 150 virtual seconds later
        Expect(service->IsSilent(1), "ONU 1 has been silent for 110 seconds");
        Expect(!service->IsSilent(3), "ONU 3 has been silent for 30 seconds only");

        board.FailNth(SimFault::kPoolAlloc, 1);
        Expect(SendHeartbeat(1) != 0, "the sender is told when the pool is exhausted");
        Expect(SendHeartbeat(1) == 0, "and the next heartbeat is taken");
        board.Settle(); // the service's task has handled it
        Expect(!service->IsSilent(1), "ONU 1 is back");
        StopHost();
    });
    Expect(result.Ok(), result.report.c_str());
    Expect(board.Logged("new MessagePacket failed\r\n") == 1, "the failure stands in the log");
    Expect(board.Holdings().blocks == 0, "every packet went back to the pool");
}

} // namespace

int main() {
    for (std::uint64_t seed = 1; seed <= 200 && failures == 0; ++seed) {
        TestHeartbeats(seed);
        if (failures != 0) std::printf("under seed %llu\n", static_cast<unsigned long long>(seed));
    }
    return failures == 0 ? 0 : 1;
}
