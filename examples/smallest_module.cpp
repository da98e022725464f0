/// The smallest host: one service module, and one message to it.

#include <cstdio>

#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"

class Greeter : public ServiceModule {
public:
    explicit Greeter(Semaphore& to_signal)
        : ServiceModule(1, "Greeter", 120, 1, 16, 65536), greeted(to_signal) {}
    ~Greeter() override { EndTask(); }

    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        sync_type = MSG_PROC_ASYNC; // queued for this module's task
        return msg_type == 7;
    }

    unsigned int HandleMsg(unsigned int, unsigned short pon_no, unsigned short onu_id, char* data,
                           unsigned int pkg_size) override {
        std::printf("ONU %d/%d says %.*s\n", pon_no, onu_id, static_cast<int>(pkg_size), data);
        greeted.Signal();
        return 0;
    }

private:
    Semaphore& greeted;
};

int main() {
    static Semaphore greeted; // created before the library, so it outlives the module's task at exit
    onu_mng_system_reg_log_module(1);
    onu_mng_system_reg_cli_node(1);
    onu_mng_system_set_pon_onu_num(16, 128);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(
        [](unsigned, unsigned char, unsigned char*, unsigned) { return 1; });
    onu_mng_system_reg_onu_sn_to_onu_id_handle(
        [](unsigned, const unsigned char*, unsigned char*) { return 1; });
    if (onu_mng_system_init() != 0) return 1;

    if (onu_mng_module_reg_service_module(new Greeter(greeted)) != 0 || onu_mng_system_start() != 0) return 1;

    char hello[] = {'h', 'e', 'l', 'l', 'o'};
    if (onu_mng_module_send_msg(0, 7, 1, 5, hello, sizeof hello) != 0) return 1;
    return greeted.TryWait(10) == 0 ? 0 : 1;
}
