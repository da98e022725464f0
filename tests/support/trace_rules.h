/// Compares the trace registry with a model that applies its rules entry by entry.
#ifndef ONU_MNG_TESTS_SUPPORT_TRACE_RULES_H
#define ONU_MNG_TESTS_SUPPORT_TRACE_RULES_H

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <vector>

#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "tests/support/seeded.h"

inline constexpr unsigned short kAnyNumber = 0xFFFF;

struct TracedOnu {
    unsigned short pon;
    unsigned short onu;
    unsigned char* sn;
};

class TraceModel {
public:
    void Add(const TracedOnu& onu, int level) {
        if (std::set<int>* levels = Find(onu))
            levels->insert(level);
        else
            entries.try_emplace(OnuNo(onu.pon, onu.onu, onu.sn), std::set<int>{level});
    }
    bool IsTraced(const TracedOnu& onu, int level) {
        const std::set<int>* levels = Find(onu);
        return levels != nullptr && levels->count(level) != 0;
    }
    void Clear() { entries.clear(); }

    bool is_on = false;

private:
    std::set<int>* Find(const TracedOnu& onu) {
        if (!is_on) return nullptr;
        std::vector<OnuNo> keys = {OnuNo(onu.pon, onu.onu, onu.sn)};
        if (onu.sn != nullptr) keys.emplace_back(onu.pon, kAnyNumber, onu.sn);
        const std::vector<OnuNo> numbers = {
            {onu.pon, onu.onu}, {onu.pon, kAnyNumber}, {kAnyNumber, kAnyNumber}};
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

inline TracedOnu AnyTracedOnu(Choices& random) {
    static unsigned char serials[3][8] = {"serial0", "serial1", "serial2"};
    const auto number = [&random] {
        return static_cast<unsigned short>(random.Below(4) == 0 ? kAnyNumber : random.Below(3));
    };
    const unsigned int serial = random.Below(4);
    return {number(), number(), serial == 3 ? nullptr : serials[serial]};
}

/// Adds a dozen entries, queries many ONUs and removes all entries.
inline void ChangeAndAskTheRegistry(Choices& random) {
    constexpr int kLevels[] = {4, 15, 40}; // 40 is not a valid level of the log
    OnuMngLog& registry = *OnuMngLog::GetInstance();
    TraceModel model;
    const auto turn = [&](bool is_on) { registry.trace_switch = model.is_on = is_on; };
    for (int step = 0; step < 12; ++step) {
        turn(random.Below(5) != 0);
        const TracedOnu onu = AnyTracedOnu(random);
        const int level = kLevels[random.Below(3)];
        registry.AddOnuTracer(onu.pon, onu.onu, onu.sn, level);
        model.Add(onu, level);
    }
    turn(true);
    for (int question = 0; question < 60; ++question) {
        const TracedOnu onu = AnyTracedOnu(random);
        const int level = kLevels[random.Below(3)];
        ASSERT_EQ(model.IsTraced(onu, level) ? 1 : 0,
                  onu_mng_log_is_trace_onu(onu.pon, onu.onu, onu.sn, level))
            << "PON " << onu.pon << " ONU " << onu.onu << " level " << level;
    }
    registry.ClearOnuTracer();
}

#endif
