// The registry of traced ONUs.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/log_lines.h"
#include "tests/support/trace_rules.h"

namespace {

constexpr unsigned short kAny = 0xFFFF;
constexpr unsigned int kLogModule = 21;

class TraceRegistry : public testing::Test {
protected:
    void SetUp() override {
        onu_mng_system_reg_log_module(kLogModule);
        ASSERT_EQ(0u, MemoryAllocator::GetInstance()->Init("trace", 1 << 20, 1, 0));
        Switch(false);
        registry->ClearOnuTracer();
    }
    void TearDown() override {
        Switch(false);
        registry->ClearOnuTracer();
    }
    void Switch(bool on) { registry->trace_switch = on; }
    void Add(const TracedOnu& onu, int level) { registry->AddOnuTracer(onu.pon, onu.onu, onu.sn, level); }

    OnuMngLog* registry = OnuMngLog::GetInstance();
};

TEST_F(TraceRegistry, AnswersAsItsRulesForRandomRegistriesAndQuestions) {
    Seeded random;
    for (int round = 0; round < 300; ++round)
        ASSERT_NO_FATAL_FAILURE(ChangeAndAskTheRegistry(random));
}

TEST_F(TraceRegistry, GivesNothingOfAnOnuThatIsNotTracedAndNothingAtAllWhileOff) {
    Switch(true);
    Add({1, 5, nullptr}, 4);
    OnuLogPara unchanged;
    OnuLogPara* para = &unchanged;
    EXPECT_FALSE(registry->MatchOnu(3, 3, nullptr, para));
    EXPECT_EQ(nullptr, para);
    Switch(false);
    para = &unchanged;
    EXPECT_FALSE(registry->MatchOnu(1, 5, nullptr, para));
    EXPECT_EQ(&unchanged, para);
}

TEST_F(TraceRegistry, AnswersWhileAnOperatorChangesIt) {
    Switch(true);
    Add({1, 5, nullptr}, 4);
    std::atomic<bool> was_cleared{false};
    std::atomic<bool> is_over{false};
    std::thread operator_task([&]() {
        for (int round = 0; round < 6; ++round) {
            for (unsigned char onu = 0; onu < 250; ++onu) {
                unsigned char serial[8] = {onu};
                registry->AddOnuTracer(2, onu, round % 2 == 0 ? serial : nullptr, 4);
            }
            for (unsigned short onu = 0; onu < 250; ++onu)
                EXPECT_TRUE(registry->IsTraceOnu(2, onu, nullptr, 4)) << onu;
            was_cleared = true;
            registry->ClearOnuTracer();
        }
        is_over = true;
    });
    while (!is_over) {
        const bool is_traced = registry->IsTraceOnu(1, 5, nullptr, 4);
        EXPECT_TRUE(is_traced || was_cleared) << "an entry is lost while others are added";
        EXPECT_FALSE(registry->IsTraceOnu(2, 3, nullptr, 5));
        EXPECT_FALSE(registry->IsTraceOnu(3, 3, nullptr, 4));
    }
    operator_task.join();
}

TEST_F(TraceRegistry, ClosesInTheLogWhatItOpened) {
    LogLines log;
    ulogSetThreshold(16);
    const auto is_open = [&log](int level) {
        ulogPrintf(kLogModule, level, "seen\r\n");
        return !log.Take().empty();
    };
    Switch(true);
    Add({1, kAny, nullptr}, 3);
    Add({1, 5, nullptr}, 4); // widens the PON's
    Add({2, 5, nullptr}, 5);
    Switch(false);
    Add({2, 5, nullptr}, 6); // in no entry
    for (const int level : {3, 4, 5, 6})
        EXPECT_TRUE(is_open(level)) << level;
    registry->ClearOnuTracer();
    for (const int level : {3, 4, 5, 6})
        EXPECT_FALSE(is_open(level)) << level;
}

} // namespace
