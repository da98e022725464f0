// The registry against a model that follows its rules literally, entry by entry.

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/log_lines.h"
#include "tests/support/seeded.h"

namespace {

constexpr unsigned short kAny = 0xFFFF;
constexpr unsigned int kLogModule = 21;

struct Onu {
    unsigned short pon;
    unsigned short onu;
    unsigned char* sn;
};

class Model {
public:
    void Add(const Onu& onu, int level) {
        if (std::set<int>* levels = Find(onu))
            levels->insert(level);
        else
            entries.try_emplace(OnuNo(onu.pon, onu.onu, onu.sn), std::set<int>{level});
    }
    bool IsTraced(const Onu& onu, int level) {
        const std::set<int>* levels = Find(onu);
        return levels != nullptr && levels->count(level) != 0;
    }
    void Clear() { entries.clear(); }

    bool is_on = false;

private:
    std::set<int>* Find(const Onu& onu) {
        if (!is_on) return nullptr;
        std::vector<OnuNo> keys = {OnuNo(onu.pon, onu.onu, onu.sn)};
        if (onu.sn != nullptr) keys.emplace_back(onu.pon, kAny, onu.sn);
        const std::vector<OnuNo> numbers = {{onu.pon, onu.onu}, {onu.pon, kAny}, {kAny, kAny}};
        keys.insert(keys.end(), numbers.begin(), numbers.end());
        for (const OnuNo& key : keys)
            if (const auto entry = entries.find(key); entry != entries.end()) return &entry->second;
        for (auto& [key, levels] : entries)
            for (const OnuNo& number : numbers)
                if (OnuNo(key.pon_no, key.onu_id) == number) return &levels;
        return nullptr;
    }

    std::map<OnuNo, std::set<int>> entries;
};

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
    void Switch(bool on) {
        registry->trace_switch = on;
        model.is_on = on;
    }
    void Add(const Onu& onu, int level) {
        registry->AddOnuTracer(onu.pon, onu.onu, onu.sn, level);
        model.Add(onu, level);
    }

    OnuMngLog* registry = OnuMngLog::GetInstance();
    Model model;
};

TEST_F(TraceRegistry, AnswersAsItsRulesForRandomRegistriesAndQuestions) {
    Seeded random;
    constexpr int kLevels[] = {4, 15, 40}; // the last one the log does not know
    unsigned char serials[3][8] = {"serial0", "serial1", "serial2"};
    const auto any_onu = [&]() {
        const auto number = [&]() {
            return static_cast<unsigned short>(random.Below(4) == 0 ? kAny : random.Below(3));
        };
        const std::size_t serial = random.Below(4);
        return Onu{number(), number(), serial == 3 ? nullptr : serials[serial]};
    };
    for (int round = 0; round < 300; ++round) {
        for (int step = 0; step < 12; ++step) {
            Switch(random.Below(5) != 0);
            Add(any_onu(), kLevels[random.Below(3)]);
        }
        Switch(true);
        for (int question = 0; question < 60; ++question) {
            const Onu onu = any_onu();
            const int level = kLevels[random.Below(3)];
            ASSERT_EQ(model.IsTraced(onu, level) ? 1 : 0,
                      onu_mng_log_is_trace_onu(onu.pon, onu.onu, onu.sn, level))
                << "PON " << onu.pon << " ONU " << onu.onu << " level " << level;
        }
        registry->ClearOnuTracer();
        model.Clear();
    }
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
