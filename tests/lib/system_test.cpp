// Registrations, start-up, the allocator, and queues and tasks at their limits.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/msg_queue.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/runable.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/log_lines.h"

namespace {

constexpr unsigned int kNone = 65535;

int IdToSn(unsigned int, unsigned char, unsigned char*, unsigned int) {
    return 1;
}
int SnToId(unsigned int, const unsigned char*, unsigned char*) {
    return 1;
}

/// Makes all registrations but those that a test takes back.
void RegisterAll() {
    onu_mng_system_reg_log_module(0); // 0 counts
    onu_mng_system_reg_cli_node(0);
    onu_mng_system_set_pon_onu_num(0, 0);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(IdToSn);
    onu_mng_system_reg_onu_sn_to_onu_id_handle(SnToId);
}

// The first test: it sees the process before anything is registered.
TEST(System, StartsOnlyWithEveryRegistration) {
    unsigned int logged_by = 0;
    ulogSetSink(
        [](void* module, unsigned int from, int, const char*) { *static_cast<unsigned int*>(module) = from; },
        &logged_by);
    EXPECT_EQ(onu_mng_system_get_log_module(), kNone);
    EXPECT_EQ(ModuleManager::GetInstance()->RegisterModule(nullptr), ONU_MNG_FAILURE);
    EXPECT_EQ(logged_by, kNone);
    ulogSetSink(nullptr, nullptr);

    const std::function<void()> missing[] = {
        [] { onu_mng_system_reg_log_module(kNone); },
        [] { onu_mng_system_reg_cli_node(kNone); },
        [] { onu_mng_system_set_pon_onu_num(kNone, 1); },
        [] { onu_mng_system_set_pon_onu_num(1, kNone); },
        [] { onu_mng_system_reg_onu_id_to_onu_sn_handle(nullptr); },
        [] { onu_mng_system_reg_onu_sn_to_onu_id_handle(nullptr); },
    };
    for (const auto& take_back : missing) {
        RegisterAll();
        take_back();
        testing::internal::CaptureStdout();
        EXPECT_EQ(onu_mng_system_init(), ONU_MNG_FAILURE);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "ONU_MNG_INTERFACE_MGR::Interface registration not completed\r\n");
        mpu_stat stat;
        EXPECT_EQ(mpuGetStat(0, &stat), -1) << "no pool is created";
    }
    RegisterAll();
    EXPECT_EQ(onu_mng_system_init(), ONU_MNG_OK);
    EXPECT_EQ(onu_mng_system_init(), ONU_MNG_OK);
    EXPECT_EQ(onu_mng_system_start(), ONU_MNG_OK) << "without modules";
}

TEST(Allocator, GivesZeroedBlocksInStepsOf16AndTellsWhatItCannot) {
    MemoryAllocator* const pool = MemoryAllocator::GetInstance();
    const auto alloc = [pool](unsigned int size) {
        return static_cast<char*>(pool->MemAlloc(size, "f", "t", 1));
    };
    LogLines log;
    for (const auto& [size, rounded] : {std::pair(1u, 16u), {16u, 16u}, {17u, 32u}}) {
        char* block = alloc(size);
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(std::string(block, rounded), std::string(rounded, '\0')) << size;
        std::fill_n(block, rounded, 'x'); // what the next one must not see, and the block's own to write
        EXPECT_EQ(pool->MemFree(block, 0, "f", "t", 1), ONU_MNG_OK);
    }
    EXPECT_EQ(log.Take(), Lines());
    EXPECT_EQ(alloc(0), nullptr);
    EXPECT_EQ(alloc(0x600001), nullptr);
    EXPECT_EQ(alloc(0xFFFFFFFF), nullptr);
    EXPECT_EQ(pool->MemFree(nullptr, 0, "f", "t", 1), ONU_MNG_FAILURE);
    EXPECT_EQ(log.Take(), Lines({"13 MemAlloc for zero length ",
                                 "10 Warning: alloc size 6291472 exceeds the mem pool size 6291456"}));
    testing::internal::CaptureStdout();
    pool->MemShow(static_cast<MemShowType>(3));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Queue, RefusesWhatIsNoBuffer) {
    MessageQueue queue;
    char message[4] = "abc";
    ASSERT_EQ(queue.Init(2, sizeof message), ONU_MNG_OK);
    LogLines log;
    EXPECT_EQ(queue.RecvMsg(nullptr, 4, -2), ONU_MNG_FAILURE);
    EXPECT_EQ(queue.RecvMsg(message, 0, -2), ONU_MNG_FAILURE);
    EXPECT_EQ(queue.SendMsg(nullptr, 4, -2), ONU_MNG_FAILURE);
    EXPECT_EQ(log.Take(),
              Lines({"13 MsgRecv input is NULL", "13 MsgRecv input is NULL", "13 MsgSend input is NULL"}));
    EXPECT_EQ(queue.RecvMsg(message, 4, -2), 0u);
    EXPECT_EQ(queue.SendMsg(message, 4, -7), ONU_MNG_OK) << "room is there, so nothing is waited for";
    EXPECT_EQ(queue.GetMsgNum(), 1);
    EXPECT_EQ(queue.RecvMsg(message, 4, -7), 4u);
}

TEST(Task, WithoutABodyCountsAsAliveOnceItWasStarted) {
    Thread task;
    EXPECT_FALSE(task.IsAlive());
    ASSERT_TRUE(task.Init("idle", 120, 65536));
    EXPECT_FALSE(task.IsAlive());
    ASSERT_TRUE(task.Start());
    EXPECT_TRUE(task.IsAlive());
}

// Claims a message but has no handler; the other one has nothing of its own at all.
class Claiming : public ServiceModule {
public:
    Claiming() : ServiceModule(2, "claiming", 120, 1, 4, 65536) {}
    bool Match(unsigned int, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType&) override {
        return true;
    }
};

TEST(ServiceModules, WithoutHooksClaimNothingAndAcceptEverything) {
    char data = 0;
    const auto send = [&data] { return onu_mng_module_send_msg(1, 7, 1, 5, &data, 1); };
    ASSERT_EQ(onu_mng_module_reg_service_module(new ServiceModule(1, "bare", 120, 1, 4, 65536)), ONU_MNG_OK);
    ASSERT_EQ(onu_mng_system_start(), ONU_MNG_OK);
    EXPECT_EQ(send(), ONU_MNG_FAILURE) << "nobody claims it";
    ASSERT_EQ(onu_mng_module_reg_service_module(new Claiming), ONU_MNG_OK);
    EXPECT_EQ(send(), ONU_MNG_FAILURE) << "not started";
    ASSERT_EQ(onu_mng_system_start(), ONU_MNG_OK);
    EXPECT_EQ(send(), ONU_MNG_OK);
}

} // namespace
