#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_platform/mpu.h"
#include "tests/support/log_lines.h"

namespace {

constexpr unsigned int kWatchdogSeconds = 20;

/// Claims one message type and hands each message to `on_message`.
class Recorder : public ServiceModule {
public:
    struct Message {
        unsigned int msg_type;
        unsigned short pon_no, onu_id;
        char* data;
        unsigned int pkg_size;
    };

    Recorder(unsigned int type, unsigned int claims, unsigned int capacity = 8)
        : ServiceModule(type, "recorder", 120, 3, capacity, 65536), claimed_type(claims) {}
    ~Recorder() override { EndTask(); }

    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        if (writes_sync_type) sync_type = delivery;
        return msg_type == claimed_type;
    }
    unsigned int HandleMsg(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id, char* data,
                           unsigned int pkg_size) override {
        return on_message(Message{msg_type, pon_no, onu_id, data, pkg_size});
    }
    unsigned int InitModule() override {
        return fails_to_init ? ONU_MNG_FAILURE : ServiceModule::InitModule();
    }

    const unsigned int claimed_type;
    MsgSyncProcType delivery = MSG_PROC_ASYNC;
    bool writes_sync_type = true;
    bool fails_to_init = false;
    std::function<unsigned int(const Message&)> on_message = [](const Message&) { return ONU_MNG_OK; };
};

class Modules : public testing::Test {
protected:
    static constexpr unsigned int kType = 40;

    void SetUp() override { ASSERT_EQ(0u, MemoryAllocator::GetInstance()->Init("modules", 1 << 16, 1, 0)); }
    void TearDown() override {
        manager->RemoveModule(kType);
        EXPECT_EQ(0u, manager->GetSize());
        EXPECT_EQ(0u, LiveBlocks()) << "packets that did not go back to the pool";
    }

    Recorder* Add(unsigned int claims, unsigned int capacity = 8) {
        auto* module = new Recorder(kType, claims, capacity);
        EXPECT_EQ(0u, onu_mng_module_reg_service_module(module));
        return module;
    }
    static unsigned int Send(unsigned int msg_type, std::string payload = "payload") {
        return onu_mng_module_send_msg(2, msg_type, 1, 5, payload.data(),
                                       static_cast<unsigned int>(payload.size()));
    }
    unsigned int Handled(unsigned int result = ONU_MNG_OK) {
        handled.Signal();
        return result;
    }
    static std::size_t LiveBlocks() {
        mpu_stat stat;
        return mpuGetStat(0, &stat) == 0 ? stat.blocks : ~std::size_t{0};
    }

    ModuleManager* manager = ModuleManager::GetInstance();
    LogLines lines;
    // Used by handlers, which run until TearDown() has removed their modules.
    Semaphore entered;
    Semaphore leave;
    Semaphore handled;
};

TEST_F(Modules, TheFirstThatClaimsAMessageGetsIt) {
    Recorder* first = Add(7);
    Recorder* second = Add(7);
    first->delivery = second->delivery = MSG_PROC_SYNC;
    first->on_message = [](const Recorder::Message&) { return 1u; };
    second->on_message = [](const Recorder::Message&) { return 77u; };
    ASSERT_EQ(0u, first->InitModule());
    lines.Take();

    // Not started: the message is lost, although the second module would claim it too.
    EXPECT_EQ(ONU_MNG_FAILURE, Send(7));
    EXPECT_EQ(Lines{"13 (PON:1, ONU:5)omci module 40 has not been init yet. discard the msg "}, lines.Take());

    ASSERT_EQ(0u, onu_mng_system_start());
    EXPECT_EQ(1u, Send(7)) << "the handler's own result";
    lines.Take();
    EXPECT_EQ(ONU_MNG_FAILURE, Send(8));
    EXPECT_EQ(Lines{"13 (PON:1, ONU:5)Cannot find module to send msg, src_mod = 2, msg_type = 8, "
                    "pon = 1, onu = 5"},
              lines.Take());
}

TEST_F(Modules, ASilentMatchInheritsTheDeliveryAnEarlierOneChose) {
    Recorder* first = Add(1);
    Recorder* second = Add(2);
    second->writes_sync_type = false;
    second->on_message = [&](const Recorder::Message&) { return Handled(5); };
    ASSERT_EQ(0u, onu_mng_system_start());
    EXPECT_EQ(0u, Send(2)) << "queued: the first module asked for that";
    EXPECT_EQ(0, handled.TryWait(kWatchdogSeconds));
    first->writes_sync_type = false;
    EXPECT_EQ(5u, Send(2)) << "handled at once";
}

TEST_F(Modules, AQueuedMessageIsACopyAndASynchronousOneIsTheSendersBuffer) {
    Recorder* module = Add(7);
    Lines seen;
    char payload[] = "one";
    char* seen_at = nullptr;
    module->on_message = [&](const Recorder::Message& message) {
        seen_at = message.data;
        seen.push_back(std::to_string(message.msg_type) + "/" + std::to_string(message.pon_no) + "/" +
                       std::to_string(message.onu_id) + " " + std::string(message.data, message.pkg_size));
        return Handled();
    };
    ASSERT_EQ(0u, onu_mng_system_start());
    ASSERT_EQ(0u, onu_mng_module_send_msg(2, 7, 3, 9, payload, 3));
    ASSERT_EQ(0, handled.TryWait(kWatchdogSeconds));
    EXPECT_NE(payload, seen_at);
    module->delivery = MSG_PROC_SYNC;
    ASSERT_EQ(0u, onu_mng_module_send_msg(2, 7, 3, 9, payload, 2));
    EXPECT_EQ(payload, seen_at);
    EXPECT_EQ((Lines{"7/3/9 one", "7/3/9 on"}), seen);

    lines.Take();
    EXPECT_EQ(ONU_MNG_FAILURE, onu_mng_module_send_msg(2, 7, 3, 9, payload, 0));
    EXPECT_EQ(ONU_MNG_FAILURE, onu_mng_module_send_msg(2, 7, 3, 9, nullptr, 3));
    EXPECT_EQ(2u, lines.Take().size());
    module->delivery = MSG_PROC_ASYNC;
    for (const unsigned int impossible : {0xFFFFFFFFu, 0xFFFFFFF4u, 0xFFFFFFE0u, 0x10000u}) {
        EXPECT_EQ(ONU_MNG_FAILURE, onu_mng_module_send_msg(2, 7, 3, 9, payload, impossible));
        EXPECT_TRUE(lines.Has("13 new MessagePacket failed"));
        lines.Take();
    }
}

TEST_F(Modules, AFullQueueRefusesAtOnceAndKeepsNothing) {
    Recorder* module = Add(7, 2);
    module->on_message = [&](const Recorder::Message&) {
        entered.Signal();
        leave.TryWait(kWatchdogSeconds);
        return 3u;
    };
    ASSERT_EQ(0u, onu_mng_system_start());
    ASSERT_EQ(0u, Send(7));
    ASSERT_EQ(0, entered.TryWait(kWatchdogSeconds));
    EXPECT_EQ(0u, Send(7));
    EXPECT_EQ(0u, Send(7));
    EXPECT_EQ(2, module->msg_queue.GetMsgNum());
    EXPECT_EQ(3u, LiveBlocks());
    lines.Take();
    EXPECT_EQ(ONU_MNG_FAILURE, Send(7, "0123456789"));
    EXPECT_EQ(
        (Lines{"11 msgQSend failed",
               "11 ServiceModule::SendMsg failed. msg_type 7, pon 1, onu 5, pkg_size 10 ret 0x800001f5"}),
        lines.Take());
    EXPECT_EQ(3u, LiveBlocks());
    leave.Signal();
    ASSERT_EQ(0, entered.TryWait(kWatchdogSeconds)) << "the next is handled after a failure";
    EXPECT_TRUE(lines.Has("10 recorder handle msg failed"));
    leave.Signal();
}

TEST_F(Modules, AHandlerThatThrowsLosesItsMessageOnly) {
    Recorder* module = Add(1);
    module->on_message = [&](const Recorder::Message& message) {
        handled.Signal();
        if (message.data[0] == 'b') throw std::runtime_error("bad message");
        if (message.data[0] == 'o') throw 42;
        return ONU_MNG_OK;
    };
    ASSERT_EQ(0u, onu_mng_system_start());
    for (const char* payload : {"bad", "odd", "good"}) {
        ASSERT_EQ(0u, Send(1, payload));
        ASSERT_EQ(0, handled.TryWait(kWatchdogSeconds)) << payload;
    }
    EXPECT_TRUE(lines.Has("13 recorder handle msg ended by an exception: bad message"));
    EXPECT_TRUE(lines.Has("13 recorder handle msg ended by an exception: not a std::exception"));
}

TEST_F(Modules, AllAreInitialisedPastAFailureButThenNoneIsStarted) {
    Recorder* modules[] = {Add(1), Add(2), Add(3)};
    modules[1]->fails_to_init = true;
    lines.Take();
    EXPECT_EQ(ONU_MNG_FAILURE, onu_mng_system_start());
    EXPECT_EQ((Lines{"12 Init module recorder succeeded", "14 Init module 40 failed",
                     "12 Init module recorder succeeded", "13 InitModules failed "}),
              lines.Take());
    EXPECT_TRUE(modules[2]->is_init);
    EXPECT_FALSE(modules[0]->is_start);
    modules[1]->fails_to_init = false;
    const std::uint32_t queue = modules[0]->msg_queue.GetQueueId();
    EXPECT_EQ(0u, onu_mng_system_start());
    EXPECT_EQ(queue, modules[0]->msg_queue.GetQueueId()) << "initialised once only";
    EXPECT_TRUE(modules[1]->is_start);
    EXPECT_TRUE(lines.Has("12 Start module recorder succeeded"));
}

TEST_F(Modules, AreNumberedForGoodAndFoundByTypeAndPriorities) {
    Recorder* first = Add(1);
    Recorder* other = new Recorder(kType + 1, 1);
    ASSERT_EQ(0u, manager->RegisterModule(other));
    EXPECT_EQ(first->mod_id + 1, other->mod_id);
    EXPECT_EQ(ONU_MNG_FAILURE, manager->RegisterModule(other)) << "registered already";
    EXPECT_EQ(ONU_MNG_FAILURE, manager->RegisterModule(nullptr));
    EXPECT_EQ(other, manager->GetModule(kType + 1, 65535, 99));
    EXPECT_EQ(other, manager->GetModule(kType + 1, 120, 3));
    EXPECT_EQ(nullptr, manager->GetModule(kType + 1, 120, 4));
    EXPECT_EQ(other, dynamic_cast<ServiceModule*>(manager->GetItem(1)));
    EXPECT_EQ(nullptr, manager->GetItem(2));
    EXPECT_EQ(0u, manager->RemoveModule(kType + 1));
    EXPECT_EQ(0u, manager->RemoveModule(kType + 1));
    EXPECT_EQ(first->mod_id + 2, Add(1)->mod_id);
}

TEST_F(Modules, AreNotRemovedByTheirOwnTask) {
    Recorder* module = Add(3);
    module->on_message = [&](const Recorder::Message&) {
        manager->RemoveModule(kType);
        return Handled();
    };
    ASSERT_EQ(0u, onu_mng_system_start());
    ASSERT_EQ(0u, Send(3));
    ASSERT_EQ(0, handled.TryWait(kWatchdogSeconds));
    EXPECT_EQ(1u, manager->GetSize());
}

TEST_F(Modules, AreRegisteredAndRemovedWhileOthersSendAndList) {
    std::atomic<bool> done{false};
    std::vector<std::thread> others;
    for (unsigned int claims : {1u, 2u})
        others.emplace_back([&done, claims] {
            while (!done)
                Send(claims);
        });
    others.emplace_back([&] {
        while (!done)
            manager->ForEachModule([](ServiceModule& module) { EXPECT_EQ("recorder", module.mod_name); });
    });
    ulogSetThreshold(16);
    for (int round = 0; round < 100; ++round) {
        auto* synchronous = new Recorder(kType, 1);
        synchronous->delivery = MSG_PROC_SYNC;
        EXPECT_EQ(0u, manager->RegisterModule(synchronous));
        for (int more = 0; more < round % 10; ++more)
            Add(2);
        EXPECT_EQ(0u, onu_mng_system_start());
        manager->RemoveModule(kType);
        EXPECT_EQ(0u, manager->GetSize());
    }
    done = true;
    for (std::thread& other : others)
        other.join();
}

TEST_F(Modules, AreReachedByAnyNumberOfTasks) {
    Add(7)->delivery = MSG_PROC_SYNC;
    ASSERT_EQ(0u, onu_mng_system_start());
    constexpr int kTasks = 200;
    std::atomic<int> sent{0};
    std::vector<std::thread> tasks;
    for (int task = 0; task < kTasks; ++task)
        tasks.emplace_back([&] {
            EXPECT_EQ(0u, Send(7));
            for (++sent; sent != kTasks;)
                std::this_thread::yield();
        });
    for (std::thread& task : tasks)
        task.join();
}

TEST_F(Modules, AreDeletedBehindASynchronousHandlerThatRemovesThem) {
    struct Watched : Recorder {
        Watched(unsigned int claims, int& counter) : Recorder(kType, claims), deleted(counter) {}
        ~Watched() override { ++deleted; }
        int& deleted;
    };
    int deleted = 0;
    auto* module = new Watched(1, deleted);
    module->delivery = MSG_PROC_SYNC;
    module->on_message = [&](const Recorder::Message&) {
        EXPECT_EQ(0u, manager->RemoveModule(kType));
        EXPECT_EQ(0u, manager->GetSize());
        EXPECT_EQ(ONU_MNG_FAILURE, Send(1)) << "no message reaches it any more";
        EXPECT_EQ(0, deleted) << "its handler runs";
        return 7u;
    };
    for (auto* each : {module, new Watched(2, deleted), new Watched(3, deleted)})
        ASSERT_EQ(0u, manager->RegisterModule(each));
    ASSERT_EQ(0u, onu_mng_system_start());
    EXPECT_EQ(7u, Send(1));
    EXPECT_EQ(3, deleted);
}

TEST_F(Modules, RefuseWhatIsNoPacket) {
    Recorder* module = Add(7);
    module->on_message = [&](const Recorder::Message&) { return Handled(); };
    ASSERT_EQ(0u, onu_mng_system_start());
    char* null_address = nullptr;
    char two_bytes[2] = {1, 2};
    EXPECT_EQ(0u, module->SendMsg(reinterpret_cast<char*>(&null_address), sizeof null_address));
    EXPECT_EQ(0u, module->SendMsg(two_bytes, sizeof two_bytes));
    EXPECT_EQ(ONU_MNG_FAILURE, module->SendMsg(nullptr, 8));
    EXPECT_EQ(ONU_MNG_FAILURE, module->ServiceModule::HandleMsg(nullptr, 8));
    EXPECT_EQ(0u, Send(7));
    EXPECT_EQ(0, handled.TryWait(kWatchdogSeconds));
    const Lines seen = lines.Take();
    EXPECT_EQ(2, std::count(seen.begin(), seen.end(), "13 msgRecv invalid MessagePacket"));
    EXPECT_EQ(1, std::count(seen.begin(), seen.end(), "13 handle invalid msg"));

    auto* idle = new Recorder(kType + 1, 8); // its queue is emptied when it is removed
    ASSERT_EQ(0u, manager->RegisterModule(idle) | idle->InitModule());
    EXPECT_EQ(0u, idle->SendMsg(two_bytes, sizeof two_bytes));
    lines.Take();
    EXPECT_EQ(0u, manager->RemoveModule(kType + 1));
    EXPECT_EQ(Lines{}, lines.Take());
}

} // namespace
