#include "onu_mng_lib/onu_mng_log.h"

#include <cstring>
#include <iterator>
#include <new>
#include <tuple>
#include <utility>

#include "onu_mng_lib/onu_mng_common/immortal.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned short kAny = OnuNo::kNotSet;

std::uint32_t Numbers(unsigned short pon, unsigned short onu) {
    return std::uint32_t{pon} << 16 | onu;
}

/// Three-way comparison of two identities, with a result below, equal to or above 0. A null `sn` means no
/// serial number.
int Compare(unsigned short a_pon, unsigned short a_onu, const unsigned char* a_sn, unsigned short b_pon,
            unsigned short b_onu, const unsigned char* b_sn) {
    if (a_pon != b_pon) return a_pon < b_pon ? -1 : 1;
    if (a_sn != nullptr && b_sn != nullptr) return std::memcmp(a_sn, b_sn, ONU_MNG_SN_SIZE);
    if (a_sn != nullptr || b_sn != nullptr) return b_sn != nullptr ? -1 : 1;
    return a_onu - b_onu;
}

} // namespace

bool OnuMngLog::KeyLess::operator()(const OnuNo& a, const KeyView& b) const {
    return Compare(a.pon_no, a.onu_id, a.GetSn(), b.pon, b.onu, b.sn) < 0;
}

bool OnuMngLog::KeyLess::operator()(const KeyView& a, const OnuNo& b) const {
    return Compare(a.pon, a.onu, a.sn, b.pon_no, b.onu_id, b.GetSn()) < 0;
}

OnuMngLog* OnuMngLog::GetInstance() {
    static Immortal<OnuMngLog> instance;
    return instance.Get();
}

bool OnuMngLog::MatchOnu(unsigned short pon, unsigned short onu, const unsigned char* sn, OnuLogPara*& para) {
    if (!trace_switch) return false;
    const auto entry = FindGoverning(pon, onu, sn);
    para = entry == tracer_map.end() ? nullptr : &entry->second;
    return para != nullptr;
}

/// Returns the entry that applies to an ONU; the end of `tracer_map` if there is none.
OnuMngLog::TracerMap::iterator OnuMngLog::FindGoverning(unsigned short pon, unsigned short onu,
                                                        const unsigned char* sn) {
    // The key order ignores the ONU id of keys with a serial number, so one look-up also covers (pon, 0xFFFF,
    // sn).
    const KeyView keys[] = {{pon, onu, sn}, {pon, onu, nullptr}, {pon, kAny, nullptr}, {kAny, kAny, nullptr}};
    for (const KeyView* key = sn == nullptr ? keys + 1 : keys; key != std::end(keys); ++key) {
        const auto entry = tracer_map.find(*key);
        if (entry != tracer_map.end()) return entry;
    }
    return first_with_sn.empty() ? tracer_map.end() : FindByNumbers(pon, onu);
}

/// Returns the first entry in key order whose numbers are the ONU's, its PON's or the wildcards. Only entries
/// with a serial number are left to search: the look-ups by key have found none without.
OnuMngLog::TracerMap::iterator OnuMngLog::FindByNumbers(unsigned short pon, unsigned short onu) {
    auto first = tracer_map.end();
    for (const std::uint32_t numbers : {Numbers(pon, onu), Numbers(pon, kAny), Numbers(kAny, kAny)}) {
        const auto found = first_with_sn.find(numbers);
        if (found == first_with_sn.end()) continue;
        if (first == tracer_map.end() || found->second->first < first->first) first = found->second;
    }
    return first;
}

void OnuMngLog::AddOnuTracer(unsigned short pon, unsigned short onu, const unsigned char* sn, int level) {
    const unsigned int log_module = onu_mng_system_get_log_module();
    {
        LockGuard guard(lock);
        if (Insert(pon, onu, sn, level)) {
            ulogSetModIgnore(log_module, level, 1);
            return;
        }
    }
    ulogPrintf(log_module, ONU_MNG_LOG_ERROR, "(PON:%d, ONU:%d)no memory to trace level %d\r\n", pon, onu,
               level);
}

/// @return false if memory is short; the registry is then unchanged.
bool OnuMngLog::Insert(unsigned short pon, unsigned short onu, const unsigned char* sn, int level) {
    try {
        const auto entry = trace_switch ? FindGoverning(pon, onu, sn) : tracer_map.end();
        if (entry == tracer_map.end()) return InsertEntry(pon, onu, sn, level);
        entry->second.debug_levels.insert(level);
        Publish(entry);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Allocates everything first: the nodes of both maps in temporary maps, and room in the index. Moving the
/// nodes over cannot fail, so a failure leaves the registry unchanged.
bool OnuMngLog::InsertEntry(unsigned short pon, unsigned short onu, const unsigned char* sn, int level) {
    if (tracer_map.find(KeyView{pon, onu, sn}) != tracer_map.end()) {
        if (level >= 0 && level < kLogLevels) stray_levels.set(static_cast<std::size_t>(level));
        return true;
    }
    TracerMap tracer;
    const auto entry =
        tracer.emplace(std::piecewise_construct, std::forward_as_tuple(pon, onu, sn), std::tuple<>()).first;
    if (entry->first.HasSn() != (sn != nullptr)) return false;
    entry->second.debug_levels.insert(level);
    SnIndex numbers;
    if (sn != nullptr) numbers.emplace(Numbers(pon, onu), entry);
    index.Reserve(sn != nullptr);
    tracer_map.merge(tracer);
    if (sn != nullptr) {
        const auto place = first_with_sn.find(Numbers(pon, onu));
        if (place == first_with_sn.end())
            first_with_sn.merge(numbers);
        else if (entry->first < place->second->first)
            place->second = entry;
    }
    Publish(entry);
    return true;
}

/// Copies the levels of an entry into the index.
void OnuMngLog::Publish(TracerMap::iterator entry) {
    const OnuNo& key = entry->first;
    const bool governs_numbers =
        !key.HasSn() || (first_with_sn.find(Numbers(key.pon_no, key.onu_id))->second == entry &&
                         tracer_map.find(KeyView{key.pon_no, key.onu_id, nullptr}) == tracer_map.end());
    index.Set({key.pon_no, key.onu_id, key.GetSn(), governs_numbers}, entry->second.debug_levels);
}

void OnuMngLog::ClearOnuTracer() {
    const unsigned int log_module = onu_mng_system_get_log_module();
    LockGuard guard(lock);
    for (const auto& [key, para] : tracer_map)
        for (const int level : para.debug_levels)
            ulogSetModIgnore(log_module, level, 0);
    for (int level = 0; level < kLogLevels; ++level)
        if (stray_levels.test(static_cast<std::size_t>(level))) ulogSetModIgnore(log_module, level, 0);
    stray_levels.reset();
    index.Clear();
    first_with_sn.clear();
    tracer_map.clear();
}

bool OnuMngLog::IsTraceOnu(unsigned short pon, unsigned short onu, const unsigned char* sn, int level) {
    if (!trace_switch.load(std::memory_order_acquire)) return false;
    if (const std::optional<bool> traced = index.IsTraced(pon, onu, sn, level, trace_switch)) return *traced;
    LockGuard guard(lock);
    OnuLogPara* para = nullptr;
    return MatchOnu(pon, onu, sn, para) && para->debug_levels.count(level) != 0;
}
