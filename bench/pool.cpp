// Pool blocks, allocated with zeros and freed.

#include <array>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

#include "bench/measure.h"
#include "bench/modules.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"

namespace bench {

namespace {

struct Pool {
    static void* Take(unsigned int size) {
        return MemoryAllocator::GetInstance()->MemAlloc(size, __FILE__, __func__, __LINE__);
    }
    static void Give(void* block) {
        MemoryAllocator::GetInstance()->MemFree(block, 0, __FILE__, __func__, __LINE__);
    }
};

struct Heap {
    static void* Take(unsigned int size) { return std::calloc(1, size); }
    static void Give(void* block) { std::free(block); }
};

/// The limit: one block that is filled repeatedly.
struct Fill {
    static void* Take(unsigned int size) {
        static thread_local char block[8192];
        Keep(block);
        return std::memset(block, 0, size);
    }
    static void Give(void*) {}
};

/// The sequence of requested sizes.
using Sizes = std::array<unsigned int, 256>;

Sizes OneSize() {
    Sizes sizes;
    sizes.fill(76);
    return sizes;
}

Sizes MixedSizes() {
    std::minstd_rand random(1);
    constexpr unsigned int kChoice[] = {16, 76, 1036, 4108};
    Sizes sizes;
    for (unsigned int& size : sizes)
        size = kChoice[random() / 16 % 4];
    return sizes;
}

template <typename Source>
void TakeAndGive(const Sizes& sizes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        void* block = Source::Take(sizes[i % sizes.size()]);
        Keep(block);
        Source::Give(block);
    }
}

/// A ring of addresses between two threads.
class Passage {
public:
    void Put(void* block) {
        while (end.load(std::memory_order_relaxed) - begin.load(std::memory_order_acquire) == kPlaces)
            std::this_thread::yield();
        const std::size_t place = end.load(std::memory_order_relaxed);
        places[place % kPlaces] = block;
        end.store(place + 1, std::memory_order_release);
    }
    void* Get() {
        const std::size_t place = begin.load(std::memory_order_relaxed);
        while (end.load(std::memory_order_acquire) == place)
            std::this_thread::yield();
        void* block = places[place % kPlaces];
        begin.store(place + 1, std::memory_order_release);
        return block;
    }

private:
    static constexpr std::size_t kPlaces = 256;
    alignas(64) std::atomic<std::size_t> begin{0};
    alignas(64) std::atomic<std::size_t> end{0};
    alignas(64) void* places[kPlaces] = {};
};

template <typename Source>
double OneThread(const Sizes& sizes) {
    return TimePerOperation([&](std::size_t count) { TakeAndGive<Source>(sizes, count); });
}

template <typename Source>
double TwoThreads(const Sizes& sizes) {
    return TimePerOperationOf(2, [&](unsigned int, std::size_t count) { TakeAndGive<Source>(sizes, count); });
}

template <typename Source>
double AcrossThreads(const Sizes& sizes) {
    Passage passage;
    return TimePerOperationOf(2, [&](unsigned int task, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            if (task == 0)
                passage.Put(Source::Take(sizes[i % sizes.size()]));
            else
                Source::Give(passage.Get());
        }
    });
}

using Measure = double (*)(const Sizes& sizes);

void AddRow(Rows& rows, const std::string& name, Sizes (*sizes)(), Measure ours, Measure peer, Measure limit,
            double goal) {
    Row row{"pool, " + name, Unit::kNanoseconds, 0.9, goal, {}};
    row.cases.push_back({Case::Kind::kOurs, "ours",
                         [=] {
                             StartSystem();
                             return ours(sizes());
                         },
                         ""});
    for (const Allocator& allocator : Allocators())
        row.cases.push_back(
            {Case::Kind::kPeer, allocator.name, [=] { return peer(sizes()); }, allocator.library});
    row.cases.push_back({Case::Kind::kLimit, "fill", [=] { return limit(sizes()); }, ""});
    rows.push_back(row);
}

void AddRowsOf(Rows& rows, const std::string& name, Sizes (*sizes)(), double goal) {
    AddRow(rows, name + ", one thread", sizes, OneThread<Pool>, OneThread<Heap>, OneThread<Fill>, goal);
    AddRow(rows, name + ", two threads", sizes, TwoThreads<Pool>, TwoThreads<Heap>, TwoThreads<Fill>, goal);
    AddRow(rows, name + ", across threads", sizes, AcrossThreads<Pool>, AcrossThreads<Heap>,
           AcrossThreads<Fill>, goal);
}

} // namespace

void AddPoolRows(Rows& rows) {
    AddRowsOf(rows, "76 B", OneSize, 1.2);
    AddRowsOf(rows, "16 to 4108 B", MixedSizes, 1.1);
}

} // namespace bench
