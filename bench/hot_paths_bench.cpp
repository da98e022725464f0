// The hot paths of the library on real tasks, peers beside them in the same run: compare ratios of medians,
// not nanoseconds (--benchmark_repetitions=9 --benchmark_report_aggregates_only=true).

#include <benchmark/benchmark.h>
#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_log_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned int kSyncMessage = 1;
constexpr unsigned int kAsyncMessage = 2;
constexpr unsigned int kOmciFrameSize = 48;

class Counter : public ServiceModule {
public:
    Counter() : ServiceModule(1, "Counter", 120, 1, 4096, 65536) {}
    ~Counter() override { EndTask(); }
    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        sync_type = msg_type == kAsyncMessage ? MSG_PROC_ASYNC : MSG_PROC_SYNC;
        return msg_type <= kAsyncMessage;
    }
    unsigned int HandleMsg(unsigned int, unsigned short, unsigned short, char* data, unsigned int) override {
        benchmark::DoNotOptimize(data[0]);
        handled.fetch_add(1, std::memory_order_release);
        return 0;
    }
    static inline std::atomic<std::int64_t> handled{0};
};

/// Claims nothing: what a message passes on its way.
class Bystander : public ServiceModule {
public:
    Bystander() : ServiceModule(2, "Bystander", 120, 1, 4, 65536) {}
    ~Bystander() override { EndTask(); }
};

class Ring : public ServiceState {
public:
    explicit Ring(unsigned int id) : ServiceState(id) {}
    unsigned int GetNextState() override { return state_id == STATE_INIT ? 10u : STATE_INIT; }
};

int NoSerialNumber(unsigned int, unsigned char, unsigned char*, unsigned int) {
    return 1;
}
int NoId(unsigned int, const unsigned char*, unsigned char*) {
    return 1;
}

bool StartSystem() {
    onu_mng_system_reg_log_module(1);
    onu_mng_system_reg_cli_node(1);
    onu_mng_system_set_pon_onu_num(16, 128);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(NoSerialNumber);
    onu_mng_system_reg_onu_sn_to_onu_id_handle(NoId);
    if (onu_mng_system_init() != 0) return false;
    for (int count = 0; count < 9; ++count)
        onu_mng_module_reg_service_module(new Bystander);
    onu_mng_module_reg_service_module(new Counter);
    return onu_mng_system_start() == 0;
}

void PoolBlock(benchmark::State& state) {
    MemoryAllocator* pool = MemoryAllocator::GetInstance();
    for (auto _ : state) {
        void* block = pool->MemAllocUnfilled(kOmciFrameSize + 12, 0, "bench", "", 0);
        benchmark::DoNotOptimize(block);
        pool->MemFree(block, 0, "bench", "", 0);
    }
}
BENCHMARK(PoolBlock)->Threads(1)->Threads(2);

void PeerCalloc(benchmark::State& state) {
    for (auto _ : state) {
        void* block = std::calloc(1, 64);
        benchmark::DoNotOptimize(block);
        std::free(block);
    }
}
BENCHMARK(PeerCalloc)->Threads(1)->Threads(2);

void Lock(benchmark::State& state) {
    static ReadWriteLock lock;
    for (auto _ : state) {
        lock.WriteLock();
        lock.WriteUnlock();
    }
}
BENCHMARK(Lock)->Threads(1)->Threads(2);

void PeerMutex(benchmark::State& state) {
    static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    for (auto _ : state) {
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
    }
}
BENCHMARK(PeerMutex)->Threads(1)->Threads(2);

/// Ten modules are asked, the last one handles in this task.
void RouteSynchronous(benchmark::State& state) {
    char frame[kOmciFrameSize] = {};
    for (auto _ : state)
        onu_mng_module_send_msg(1, kSyncMessage, 1, 5, frame, sizeof frame);
}
BENCHMARK(RouteSynchronous)->Threads(1)->Threads(2);

/// The whole road: routed, copied, queued, handled by the module's task. Senders stay within the queue.
void RouteAsynchronous(benchmark::State& state) {
    char frame[kOmciFrameSize] = {};
    std::int64_t sent = Counter::handled;
    for (auto _ : state) {
        while (sent - Counter::handled.load(std::memory_order_acquire) > 2048)
            sched_yield();
        onu_mng_module_send_msg(1, kAsyncMessage, 1, 5, frame, sizeof frame);
        ++sent;
    }
    while (Counter::handled < sent)
        sched_yield();
}
BENCHMARK(RouteAsynchronous)->UseRealTime();

/// Argument 0: tracing off; 1: on, with as many traced ONUs as the argument says, and this one is not.
void TraceCheck(benchmark::State& state) {
    OnuMngLog* registry = OnuMngLog::GetInstance();
    registry->trace_switch = state.range(0) > 0;
    for (int onu = 0; onu < state.range(0); ++onu) {
        unsigned char sn[8] = {
            'O', 'N', 'U', 'S', 0, 0, static_cast<unsigned char>(onu >> 8), static_cast<unsigned char>(onu)};
        registry->AddOnuTracer(2, static_cast<unsigned short>(onu), sn, 4);
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(onu_mng_log_is_trace_onu(1, 5, nullptr, 4));
    registry->trace_switch = false;
    registry->ClearOnuTracer();
}
BENCHMARK(TraceCheck)->Arg(0)->Arg(1)->Arg(1000);

void StateStep(benchmark::State& state) {
    StateContext context;
    for (const unsigned int id : {STATE_INIT, STATE_SUCC, STATE_FAIL, 10u})
        context.RegisterState(new Ring(id));
    char message = 0;
    context.Alloc(1, 5, &message, 1);
    for (auto _ : state)
        context.Handle(STATE_MSG_OPERATE, &message, 1);
}
BENCHMARK(StateStep);

/// What a supervision round asks of each context.
void SupervisionCheck(benchmark::State& state) {
    StateContext context;
    for (const unsigned int id : {STATE_INIT, STATE_SUCC, STATE_FAIL})
        context.RegisterState(new Ring(id));
    char message = 0;
    context.Alloc(1, 5, &message, 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(context.IsOverTime());
}
BENCHMARK(SupervisionCheck);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    ulogSetThreshold(13);
    if (!StartSystem()) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
