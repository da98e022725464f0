// Measures how the hot paths scale. Prints a table for each curve and writes its points to DIR/NAME.tsv.
//
// onu_mng_curves DIR [NAME]
//   NAME  only the curve of that name

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "bench/measure.h"
#include "bench/messages.h"
#include "bench/modules.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"

namespace bench {

namespace {

/// One curve. `measure(x)` returns its values at `x`; each point is measured in its own process.
struct Curve {
    const char* name;
    const char* of_x;
    std::vector<std::string> values;
    std::vector<unsigned int> points;
    std::function<std::vector<double>(unsigned int x)> measure;
};

std::vector<unsigned int> PowersOf(unsigned int step, unsigned int last) {
    std::vector<unsigned int> points;
    for (unsigned int point = 1; point <= last; point *= step)
        points.push_back(point);
    return points;
}

// ---- Modules, contexts, tracers ----

/// Claims one type of message and handles it in the sender's task.
class SyncModule : public ServiceModule {
public:
    explicit SyncModule(unsigned int type) : ServiceModule(type, "Module", 120, 1, 4, 65536) {
        onu_mng_module_reg_service_module(this);
    }
    ~SyncModule() override { EndTask(); }
    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        sync_type = MSG_PROC_SYNC;
        return msg_type == mod_type;
    }
};

std::vector<double> Routing(unsigned int modules) {
    for (unsigned int type = 1; type <= modules; ++type)
        new SyncModule(type);
    StartSystem();
    char data[64] = {};
    return {1e9 * TimePerOperation([&](std::size_t count) {
                for (std::size_t i = 0; i < count; ++i)
                    onu_mng_module_send_msg(1, modules, 1, 5, data, sizeof data);
            })};
}

std::vector<double> SupervisionRound(unsigned int contexts) {
    StartSystem();
    char message = 0;
    for (unsigned int i = 0; i < contexts; ++i) {
        auto* context = new StateContext;
        for (const unsigned int id : {STATE_INIT, STATE_SUCC, STATE_FAIL})
            context->RegisterState(new ServiceState(id));
        if (context->Alloc(static_cast<unsigned short>(i / 128), static_cast<unsigned short>(i % 128),
                           &message, 1) != 0)
            std::exit(1);
    }
    return {1e6 * TimePerOperation([](std::size_t count) {
                for (std::size_t i = 0; i < count; ++i)
                    StateContextManager::GetInstance()->ForEachContext(
                        [](StateContext& context) { Keep(context.IsOverTime()); });
            })};
}

std::vector<double> TraceCheck(unsigned int tracers) {
    StartSystem();
    OnuMngLog* registry = OnuMngLog::GetInstance();
    registry->trace_switch = true;
    constexpr unsigned int kOnusOfPon = 128;
    for (unsigned int i = 0; i < tracers; ++i) {
        unsigned char sn[8] = {
            'K', 'V', 'X', 'Q', 0, 0, static_cast<unsigned char>(i >> 8), static_cast<unsigned char>(i)};
        registry->AddOnuTracer(static_cast<unsigned short>(i / kOnusOfPon),
                               static_cast<unsigned short>(i % kOnusOfPon), sn, 4);
    }
    const auto ask = [tracers](unsigned int first_onu) {
        return 1e9 * TimePerOperation([=](std::size_t count) {
                   for (std::size_t i = 0; i < count; ++i) {
                       const auto onu = static_cast<unsigned int>(i * 7919 % tracers);
                       Keep(onu_mng_log_is_trace_onu(
                           static_cast<unsigned short>(onu / kOnusOfPon),
                           static_cast<unsigned short>(first_onu + onu % kOnusOfPon), nullptr, 4));
                   }
               });
    };
    return {ask(0), ask(kOnusOfPon)};
}

// ---- Messages ----

std::vector<double> Senders(unsigned int senders) {
    return {1e-6 / TimeOfMessage<OurModule>(64, senders)};
}

std::vector<double> Payload(unsigned int size) {
    const double seconds = TimeOfMessage<OurModule>(size, 1);
    return {1e-6 / seconds, size / seconds / 1e6};
}

// ---- The pool ----

void* Take(unsigned int size) {
    return MemoryAllocator::GetInstance()->MemAlloc(size, __FILE__, __func__, __LINE__);
}
void Give(void* block) {
    MemoryAllocator::GetInstance()->MemFree(block, 0, __FILE__, __func__, __LINE__);
}

/// Fills the pool with blocks of mixed sizes and frees some of them at random.
void FillPool(unsigned int percent) {
    std::minstd_rand random(1);
    constexpr unsigned int kSizes[] = {4108, 1036, 76, 16};
    std::vector<std::pair<void*, unsigned int>> blocks;
    std::size_t used = 0;
    for (unsigned int smallest = 0; smallest < 4;) {
        const unsigned int size = kSizes[smallest + random() / 16 % (4 - smallest)];
        if (void* block = Take(size)) {
            blocks.emplace_back(block, size);
            used += size;
        } else {
            ++smallest;
        }
    }
    const std::size_t all = used;
    std::shuffle(blocks.begin(), blocks.end(), random);
    for (const auto& [block, size] : blocks) {
        if (used * 100 <= all * percent) break;
        Give(block);
        used -= size;
    }
}

std::vector<double> PoolFill(unsigned int percent) {
    StartSystem();
    FillPool(percent);
    return {1e9 * TimePerOperation([](std::size_t count) {
                for (std::size_t i = 0; i < count; ++i) {
                    void* block = Take(76);
                    Keep(block);
                    Give(block);
                }
            })};
}

// ---- Single operations: p50, p99 and p99.9 in nanoseconds ----

template <typename Prepare, typename Operation>
std::vector<double> Percentiles(Prepare prepare, Operation operation) {
    using Clock = std::chrono::steady_clock;
    std::vector<double> samples;
    for (std::size_t i = 0; i < 200000; ++i) {
        prepare();
        const auto start = Clock::now();
        operation();
        samples.push_back(std::chrono::duration<double, std::nano>(Clock::now() - start).count());
    }
    std::sort(samples.begin(), samples.end());
    std::vector<double> values;
    for (const double share : {0.5, 0.99, 0.999})
        values.push_back(samples[static_cast<std::size_t>(share * static_cast<double>(samples.size()))]);
    return values;
}

/// Measures single operations. `kind` is 0 for nothing but the two readings of the clock, 1 for a request to
/// the pool, 2 for a send to a full queue.
std::vector<double> Single(unsigned int kind) {
    const auto nothing = [] {};
    if (kind == 0) return Percentiles(nothing, nothing);
    if (kind == 1) {
        StartSystem();
        std::vector<void*> blocks(64);
        std::size_t next = 0;
        return Percentiles(
            [&] {
                next = (next + 1) % blocks.size();
                if (blocks[next] != nullptr) Give(blocks[next]);
            },
            [&] { blocks[next] = Take(76); });
    }
    auto* module = new OurModule(7, [](char*, unsigned int) { pause(); });
    StartSystem();
    char data[64] = {};
    while (OurModule::Send(*module, data, sizeof data)) {
    }
    return Percentiles(nothing, [&] { OurModule::Send(*module, data, sizeof data); });
}

// ---- All of them ----

std::vector<Curve> Curves() {
    return {
        {"modules", "modules", {"routing, ns"}, PowersOf(2, 64), Routing},
        {"contexts", "contexts", {"supervision round, us"}, PowersOf(4, 65536), SupervisionRound},
        {"tracers", "tracers", {"hit, ns", "miss, ns"}, PowersOf(4, 16384), TraceCheck},
        {"senders", "senders", {"messages, M/s"}, {1, 2, 3, 4}, Senders},
        {"payload", "payload, B", {"messages, M/s", "payload, MB/s"}, PowersOf(4, 65536), Payload},
        {"pool", "pool in use, %", {"block, ns"}, {10, 25, 50, 75, 90, 95, 99}, PoolFill},
        {"single",
         "0: clock, 1: pool, 2: full queue",
         {"p50, ns", "p99, ns", "p99.9, ns"},
         {0, 1, 2},
         Single},
    };
}

/// Measures one point in its own process. @return its values; empty if the process fails.
std::vector<double> MeasureApart(const Curve& curve, unsigned int x) {
    std::vector<double> values(curve.values.size());
    int ends[2];
    if (pipe(ends) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        BecomeComparable();
        const std::vector<double> measured = curve.measure(x);
        const ssize_t size = static_cast<ssize_t>(measured.size() * sizeof(double));
        std::_Exit(write(ends[1], measured.data(), static_cast<std::size_t>(size)) == size ? 0 : 1);
    }
    close(ends[1]);
    const ssize_t size = read(ends[0], values.data(), values.size() * sizeof(double));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0 || size != static_cast<ssize_t>(values.size() * sizeof(double))) return {};
    return values;
}

std::vector<double> MediansApart(const Curve& curve, unsigned int x) {
    constexpr unsigned int kRounds = 3;
    std::vector<std::vector<double>> samples(curve.values.size());
    for (unsigned int round = 0; round < kRounds; ++round) {
        const std::vector<double> values = MeasureApart(curve, x);
        for (std::size_t value = 0; value < values.size(); ++value)
            samples[value].push_back(values[value]);
    }
    std::vector<double> medians;
    for (const std::vector<double>& of_value : samples)
        if (!of_value.empty()) medians.push_back(Median(of_value));
    return medians;
}

bool Draw(const Curve& curve, const std::string& directory) {
    std::FILE* file = std::fopen((directory + "/" + curve.name + ".tsv").c_str(), "w");
    if (file == nullptr) return false;
    std::printf("\n| %s |", curve.of_x);
    for (const std::string& value : curve.values)
        std::printf(" %s |", value.c_str());
    std::printf("\n|---|");
    for (std::size_t value = 0; value < curve.values.size(); ++value)
        std::printf("---|");
    std::printf("\n");
    for (const unsigned int x : curve.points) {
        const std::vector<double> medians = MediansApart(curve, x);
        std::printf("| %u |", x);
        std::fprintf(file, "%u", x);
        for (const double median : medians) {
            std::printf(" %.3g |", median);
            std::fprintf(file, "\t%.6g", median);
        }
        std::printf("\n");
        std::fprintf(file, "\n");
        std::fflush(stdout);
    }
    return std::fclose(file) == 0;
}

} // namespace

} // namespace bench

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::fputs("usage: onu_mng_curves DIR [NAME]\n", stderr);
        return 2;
    }
    bench::budget = {0.02, 3};
    for (const bench::Curve& curve : bench::Curves()) {
        if ((argc == 3 && std::string(argv[2]) != curve.name) || bench::Draw(curve, argv[1])) continue;
        std::perror(argv[1]);
        return 1;
    }
    return 0;
}
