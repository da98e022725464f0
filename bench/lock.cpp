// A lock around a minimum of work.

#include <mutex>
#include <shared_mutex>

#include "bench/measure.h"
#include "bench/modules.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"

namespace bench {

namespace {

template <typename Lock, typename Guard>
struct Guarded {
    static double Alone() {
        Guarded guarded;
        return TimePerOperation([&guarded](std::size_t count) { guarded.Work(count); });
    }
    static double Contended() {
        Guarded guarded;
        return TimePerOperationOf(2, [&guarded](unsigned int, std::size_t count) { guarded.Work(count); }) /
               2;
    }

    void Work(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            Guard guard(lock);
            ++counter;
            Keep(counter);
        }
    }

    Lock lock;
    std::size_t counter = 0;
};

/// The limit: two atomic exchanges.
double TwoExchanges() {
    std::atomic<unsigned int> word{0};
    return TimePerOperation([&word](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            word.exchange(1);
            word.exchange(0);
        }
    });
}

using Ours = Guarded<ReadWriteLock, LockGuard>;
using Mutex = Guarded<std::mutex, std::lock_guard<std::mutex>>;
using SharedMutex = Guarded<std::shared_mutex, std::lock_guard<std::shared_mutex>>;

} // namespace

void AddLockRows(Rows& rows) {
    using Kind = Case::Kind;
    rows.push_back({"lock, alone",
                    Unit::kNanoseconds,
                    1.0,
                    1.3,
                    {{Kind::kOurs, "ours", Ours::Alone, ""},
                     {Kind::kPeer, "std::mutex", Mutex::Alone, ""},
                     {Kind::kPeer, "std::shared_mutex", SharedMutex::Alone, ""},
                     {Kind::kLimit, "two exchanges", TwoExchanges, ""}}});
    rows.push_back({"lock, contended by two",
                    Unit::kNanoseconds,
                    1.0,
                    1.3,
                    {{Kind::kOurs, "ours", Ours::Contended, ""},
                     {Kind::kPeer, "std::mutex", Mutex::Contended, ""},
                     {Kind::kPeer, "std::shared_mutex", SharedMutex::Contended, ""}}});
}

} // namespace bench
