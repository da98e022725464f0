// Messages between two modules that answer each other.

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <thread>

#include "bench/measure.h"
#include "bench/modules.h"

namespace bench {

namespace {

constexpr unsigned int kSize = 64;

/// One end. It answers messages until `left` is 0.
struct End {
    unsigned int core;
    bool bound = false;

    /// Binds the end's task to its core at the first message. Called in that task.
    void Bind() {
        if (!bound) RunOnCore(core);
        bound = true;
    }
};

template <typename Module>
double TimeOfRoundTrip(unsigned int second_core) {
    RunOnCore(0);
    struct Table {
        End near{0};
        End far{0};
        Module* near_module = nullptr;
        Module* far_module = nullptr;
        std::size_t left = 0;
        Counter rounds;
    };
    auto* table = new Table;
    table->far.core = second_core;
    table->far_module = new Module(8, [table](char* data, unsigned int size) {
        table->far.Bind();
        Module::Send(*table->near_module, data, size);
    });
    table->near_module = new Module(7, [table](char* data, unsigned int size) {
        table->near.Bind();
        if (--table->left > 0)
            Module::Send(*table->far_module, data, size);
        else
            table->rounds.Add();
    });
    StartSystem();
    std::size_t round = 0;
    return TimePerOperation([&](std::size_t count) {
        char data[kSize] = {};
        table->left = count;
        Module::Send(*table->far_module, data, kSize);
        ++round;
        while (table->rounds.value < round)
            std::this_thread::sleep_for(std::chrono::microseconds(500));
    });
}

/// Two threads that wake each other, without a queue or a message.
class FutexPair {
public:
    static double TimeOfRoundTrip(unsigned int second_core) {
        RunOnCore(0);
        auto* pair = new FutexPair;
        std::thread([pair, second_core] {
            RunOnCore(second_core);
            for (;;) {
                pair->Wait(pair->far);
                pair->Wake(pair->near);
            }
        }).detach();
        return TimePerOperation([pair](std::size_t count) {
            for (std::size_t round = 0; round < count; ++round) {
                pair->Wake(pair->far);
                pair->Wait(pair->near);
            }
        });
    }

private:
    using Word = std::atomic<unsigned int>;

    void Wait(Word& word) {
        while (word.exchange(0, std::memory_order_acquire) == 0)
            syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0);
    }
    void Wake(Word& word) {
        word.store(1, std::memory_order_release);
        syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
    }

    alignas(64) Word near{0};
    alignas(64) Word far{0};
};

Row RoundTripRow(const char* name, unsigned int second_core, double target, double goal) {
    Row row{name, Unit::kMicroseconds, target, goal, {}};
    row.cases.push_back(
        {Case::Kind::kOurs, "ours", [=] { return TimeOfRoundTrip<OurModule>(second_core); }, ""});
    ForEachPeerModule([&](const std::string& queue, auto* type) {
        using Module = std::remove_pointer_t<decltype(type)>;
        const Allocator& allocator = Mimalloc();
        row.cases.push_back({Case::Kind::kPeer, queue + " + " + allocator.name,
                             [=] { return TimeOfRoundTrip<Module>(second_core); }, allocator.library});
    });
    row.cases.push_back(
        {Case::Kind::kLimit, "bare futex", [=] { return FutexPair::TimeOfRoundTrip(second_core); }, ""});
    return row;
}

} // namespace

void AddRoundTripRows(Rows& rows) {
    if (std::thread::hardware_concurrency() > 1)
        rows.push_back(RoundTripRow("round trip of two modules, two cores", 1, 0.8, 1.5));
    rows.push_back(RoundTripRow("round trip of two modules, one core", 0, 1.0, 1.0));
}

} // namespace bench
