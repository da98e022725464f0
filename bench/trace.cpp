// "Is this ONU traced at this level?" with 2,048 ONUs traced.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <unordered_map>

#ifdef BENCH_TBB
#include <tbb/concurrent_hash_map.h>
#endif

#include "bench/measure.h"
#include "bench/modules.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"

namespace bench {

namespace {

constexpr unsigned int kPons = 16;
constexpr unsigned int kOnusOfPon = 128;
constexpr int kLevel = 4;

struct Query {
    unsigned short pon;
    unsigned short onu;
    unsigned char sn[8];
};

/// The traced ONUs, or as many others, in random order to defeat caches.
std::vector<Query> Onus(bool traced) {
    std::vector<Query> onus;
    for (unsigned int pon = 1; pon <= kPons; ++pon) {
        for (unsigned int onu = 1; onu <= kOnusOfPon; ++onu) {
            const unsigned int id = traced ? onu : onu + kOnusOfPon;
            Query query{static_cast<unsigned short>(pon), static_cast<unsigned short>(id), {}};
            std::memcpy(query.sn, "KVXQ", 4);
            query.sn[6] = static_cast<unsigned char>(pon);
            query.sn[7] = static_cast<unsigned char>(id);
            query.sn[5] = static_cast<unsigned char>(id >> 8);
            onus.push_back(query);
        }
    }
    std::shuffle(onus.begin(), onus.end(), std::minstd_rand(1));
    return onus;
}

template <typename Ask>
double TimeOfCheck(bool hit, Ask ask) {
    const std::vector<Query> queries = Onus(hit);
    for (const Query& query : queries)
        if (ask(query) != hit) std::abort();
    return TimePerOperation([&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            Keep(ask(queries[i % (kPons * kOnusOfPon)]));
    });
}

double OurCheck(bool with_sn, bool hit) {
    StartSystem();
    OnuMngLog* registry = OnuMngLog::GetInstance();
    registry->trace_switch = true;
    for (Query& query : Onus(true))
        registry->AddOnuTracer(query.pon, query.onu, with_sn ? query.sn : nullptr, kLevel);
    return TimeOfCheck(hit, [with_sn](const Query& query) {
        unsigned char* sn = with_sn ? const_cast<unsigned char*>(query.sn) : nullptr;
        return onu_mng_log_is_trace_onu(query.pon, query.onu, sn, kLevel) == 1;
    });
}

/// The key of the peers: an ONU by its numbers, or by its PON and serial number.
struct Key {
    std::uint64_t numbers;
    std::uint64_t sn;

    explicit Key(const Query& query, bool with_sn) : numbers(query.pon), sn(0) {
        if (with_sn)
            std::memcpy(&sn, query.sn, sizeof sn);
        else
            numbers = numbers << 16 | query.onu;
    }
    bool operator==(const Key& other) const { return numbers == other.numbers && sn == other.sn; }
};

struct KeyHash {
    std::size_t operator()(const Key& key) const {
        constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;
        const std::uint64_t product = (key.numbers ^ key.sn) * kFactor;
        return static_cast<std::size_t>((product ^ product >> 32) * kFactor >> 32);
    }
    // TBB's names for both operations.
    std::size_t hash(const Key& key) const { return (*this)(key); }
    bool equal(const Key& a, const Key& b) const { return a == b; }
};

using Levels = unsigned int;

template <typename Mutex, typename Guard>
double PeerCheck(bool with_sn, bool hit) {
    Mutex mutex;
    std::unordered_map<Key, Levels, KeyHash> tracers;
    for (const Query& query : Onus(true))
        tracers.emplace(Key(query, with_sn), 1u << kLevel);
    return TimeOfCheck(hit, [&](const Query& query) {
        Guard guard(mutex);
        const auto found = tracers.find(Key(query, with_sn));
        return found != tracers.end() && (found->second >> kLevel & 1) != 0;
    });
}

#ifdef BENCH_TBB
double TbbCheck(bool with_sn, bool hit) {
    using Map = tbb::concurrent_hash_map<Key, Levels, KeyHash>;
    Map tracers;
    for (const Query& query : Onus(true))
        tracers.emplace(Key(query, with_sn), 1u << kLevel);
    return TimeOfCheck(hit, [&](const Query& query) {
        Map::const_accessor found;
        return tracers.find(found, Key(query, with_sn)) && (found->second >> kLevel & 1) != 0;
    });
}
#endif

Row TraceRow(const char* name, bool with_sn, bool hit, double target, double goal) {
    using Kind = Case::Kind;
    const auto of = [=](double (*check)(bool, bool)) { return [=] { return check(with_sn, hit); }; };
    Row row{name, Unit::kNanoseconds, target, goal, {{Kind::kOurs, "ours", of(OurCheck), ""}}};
    row.cases.push_back({Kind::kPeer, "unordered_map, std::mutex",
                         of(PeerCheck<std::mutex, std::lock_guard<std::mutex>>), ""});
    row.cases.push_back({Kind::kPeer, "unordered_map, std::shared_mutex",
                         of(PeerCheck<std::shared_mutex, std::shared_lock<std::shared_mutex>>), ""});
#ifdef BENCH_TBB
    row.cases.push_back({Kind::kPeer, "TBB hash map", of(TbbCheck), ""});
#endif
    return row;
}

} // namespace

void AddTraceRows(Rows& rows) {
    rows.push_back(TraceRow("trace check by numbers, hit", false, true, 1.0, 1.5));
    rows.push_back(TraceRow("trace check by numbers, miss", false, false, 1.0, 1.5));
    rows.push_back(TraceRow("trace check by serial number, hit", true, true, 0.8, 1.2));
    rows.push_back(TraceRow("trace check by serial number, miss", true, false, 0.8, 1.2));
}

} // namespace bench
