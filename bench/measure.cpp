#include "bench/measure.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace bench {

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

double TimePerOperation(const std::function<void(std::size_t count)>& run) {
    const auto time_of = [&run](std::size_t count) {
        const auto start = std::chrono::steady_clock::now();
        run(count);
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    std::size_t count = 64;
    double seconds = time_of(count);
    while (seconds < budget.batch_s / 2) {
        const double growth = std::min(budget.batch_s / std::max(seconds, 1e-7), 8.0);
        count = static_cast<std::size_t>(static_cast<double>(count) * growth) + 1;
        seconds = time_of(count);
    }
    std::vector<double> samples;
    for (unsigned int batch = 0; batch < budget.batches; ++batch)
        samples.push_back(time_of(count) / static_cast<double>(count));
    return Median(samples);
}

double TimePerOperationOf(unsigned int tasks,
                          const std::function<void(unsigned int task, std::size_t count)>& work) {
    if (tasks == 1) return TimePerOperation([&work](std::size_t count) { work(0, count); });
    std::atomic<std::size_t> round{0};
    std::atomic<std::size_t> round_count{0};
    std::vector<Counter> done(tasks);
    std::vector<std::thread> others;
    for (unsigned int task = 1; task < tasks; ++task) {
        others.emplace_back([&, task] {
            RunOnCore(task % std::thread::hardware_concurrency());
            for (std::size_t seen = 0;; ++seen) {
                while (round.load(std::memory_order_acquire) == seen)
                    std::this_thread::yield();
                const std::size_t count = round_count;
                if (count == 0) return;
                work(task, count);
                done[task].Add();
            }
        });
    }
    RunOnCore(0);
    const double seconds = TimePerOperation([&](std::size_t count) {
        round_count = count;
        const std::size_t this_round = ++round;
        work(0, count);
        for (unsigned int task = 1; task < tasks; ++task)
            done[task].Await(this_round);
    });
    round_count = 0;
    ++round;
    for (std::thread& other : others)
        other.join();
    return seconds;
}

void Counter::Await(std::size_t count) const {
    while (value.load(std::memory_order_acquire) < count)
        std::this_thread::yield();
}

void RunOnCore(unsigned int core) {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(core, &cores);
    sched_setaffinity(0, sizeof cores, &cores);
}

void BecomeComparable() {
    std::thread([] {
        for (;;)
            pause();
    }).detach();
    const rlimit none{0, 0};
    setrlimit(RLIMIT_RTPRIO, &none);
    constexpr uid_t kNobody = 65534;
    if (geteuid() != 0 || setresuid(kNobody, kNobody, kNobody) == 0) return;
    std::perror("setresuid");
    std::exit(1);
}

const std::vector<Allocator>& Allocators() {
    static const std::vector<Allocator> allocators = {
        {"malloc", ""},
#ifdef BENCH_MIMALLOC
        {"mimalloc", BENCH_MIMALLOC},
#endif
#ifdef BENCH_JEMALLOC
        {"jemalloc", BENCH_JEMALLOC},
#endif
    };
    return allocators;
}

const Allocator& Mimalloc() {
    const std::vector<Allocator>& all = Allocators();
    return all.size() > 1 ? all[1] : all[0];
}

} // namespace bench
