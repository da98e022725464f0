/// Measures operations: the common part of all benchmark rows.
#ifndef ONU_MNG_BENCH_MEASURE_H
#define ONU_MNG_BENCH_MEASURE_H

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One implementation of a row's operation. Each case is measured in its own process.
struct Case {
    enum class Kind { kOurs, kPeer, kLimit };

    Kind kind;
    std::string name;
    std::function<double()> measure; ///< returns the seconds for one operation
    std::string preload;             ///< a library that replaces malloc in the process; may be empty
};

enum class Unit { kMillionsPerSecond, kNanoseconds, kMicroseconds };

struct Row {
    std::string name;
    Unit unit;
    double target; ///< required ratio of our speed to that of the fastest peer
    double goal;
    std::vector<Case> cases;
};
using Rows = std::vector<Row>;

void AddMessageRows(Rows& rows);
void AddRoundTripRows(Rows& rows);
void AddPoolRows(Rows& rows);
void AddLockRows(Rows& rows);
void AddStateRows(Rows& rows);
void AddTraceRows(Rows& rows);
void AddReportRows(Rows& rows);

/// The duration of a measurement: `batches` batches of about `batch_s` seconds each.
struct Budget {
    double batch_s = 0.05;
    unsigned int batches = 5;
};
inline Budget budget;

double Median(std::vector<double> values);

/// Warms up, then returns the median time for one operation in seconds. `run(count)` does the operation `count`
/// times.
double TimePerOperation(const std::function<void(std::size_t count)>& run);

/// Like `TimePerOperation`, but runs `work(task, count)` in several threads at once, each on its own core if
/// there are enough. The time ends when all are done.
double TimePerOperationOf(unsigned int tasks,
                          const std::function<void(unsigned int task, std::size_t count)>& work);

/// Makes the compiler assume that `value` is used.
template <typename T>
inline void Keep(const T& value) {
    asm volatile("" : : "r,m"(value) : "memory");
}

/// A counter in its own cache line. One thread writes it, another reads it.
struct alignas(64) Counter {
    std::atomic<std::size_t> value{0};

    void Add() { value.store(value.load(std::memory_order_relaxed) + 1, std::memory_order_release); }
    /// Waits until the value is at least `count`. Yields the processor meanwhile.
    void Await(std::size_t count) const;
};

/// Puts library and peers on the same footing; call it first in a process that measures. Starts a thread that
/// only sleeps, because some libraries are faster in a process without threads. Gives up real-time
/// priorities: the threads of the peers have none, and a receiver that has one displaces its sender at every
/// message.
void BecomeComparable();

/// Binds the calling thread to one core.
void RunOnCore(unsigned int core);

/// The installed libraries that replace malloc. The first element stands for the system's malloc.
struct Allocator {
    const char* name;
    const char* library;
};
const std::vector<Allocator>& Allocators();
const Allocator& Mimalloc();

} // namespace bench

#endif
