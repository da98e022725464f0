/// Our service modules, and the substitutes that a program without the library would use.
#ifndef ONU_MNG_BENCH_MODULES_H
#define ONU_MNG_BENCH_MODULES_H

#include <semaphore.h>

#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#if __has_include(<concurrentqueue/blockingconcurrentqueue.h>)
#define BENCH_MOODYCAMEL
#include <concurrentqueue/blockingconcurrentqueue.h>
#endif
#if __has_include(<boost/lockfree/queue.hpp>)
#define BENCH_BOOST
#include <boost/lockfree/queue.hpp>
#endif
#ifdef BENCH_TBB
#include <tbb/concurrent_queue.h>
#endif

#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"

namespace bench {

constexpr unsigned int kQueueLength = 1024;

/// Starts the library with the modules registered before. Ends the process on failure.
void StartSystem();

using Handler = std::function<void(char* data, unsigned int size)>;

// Both kinds of modules have the same interface: `new Module(type, handler)`, then `StartSystem()`, then
// `Send`. `Send` copies the data into a packet, queues the packet's address and wakes the task. The task
// calls the handler and frees the packet. Modules are never destroyed, because the process ends after the
// measurement.

class OurModule : public ServiceModule {
public:
    OurModule(unsigned int type, Handler handle_with)
        : ServiceModule(type, "Module", 120, 1, kQueueLength, 65536), handle(std::move(handle_with)) {
        onu_mng_module_reg_service_module(this);
    }
    ~OurModule() override { EndTask(); }

    static bool Send(OurModule& to, char* data, unsigned int size) {
        return onu_mng_module_send_msg(1, to.mod_type, 1, 5, data, size) == 0;
    }

    bool Match(unsigned int msg_type, unsigned int, unsigned short, unsigned short, char*, unsigned int,
               MsgSyncProcType& sync_type) override {
        sync_type = MSG_PROC_ASYNC;
        return msg_type == mod_type;
    }
    unsigned int HandleMsg(unsigned int, unsigned short, unsigned short, char* data,
                           unsigned int size) override {
        handle(data, size);
        return 0;
    }

private:
    const Handler handle;
};

struct PeerPacket {
    unsigned int type;
    unsigned short pon;
    unsigned short onu;
    unsigned int size;
    char* Payload() { return reinterpret_cast<char*>(this + 1); }
};

/// `Queue` is a queue of addresses with `bool Push(PeerPacket*)` and `PeerPacket* Pop()`. `Pop` sleeps while
/// the queue is empty.
template <typename Queue>
class PeerModule {
public:
    PeerModule(unsigned int type_to_claim, Handler handle_with)
        : type(type_to_claim), handle(std::move(handle_with)), task([this] { Run(); }) {
        task.detach();
    }

    static bool Send(PeerModule& to, char* data, unsigned int size) {
        auto* packet = static_cast<PeerPacket*>(std::malloc(sizeof(PeerPacket) + size));
        if (packet == nullptr) return false;
        *packet = {to.type, 1, 5, size};
        std::memcpy(packet->Payload(), data, size);
        if (to.queue.Push(packet)) return true;
        std::free(packet);
        return false;
    }

private:
    void Run() {
        for (;;) {
            PeerPacket* packet = queue.Pop();
            handle(packet->Payload(), packet->size);
            std::free(packet);
        }
    }

    const unsigned int type;
    const Handler handle;
    Queue queue;
    std::thread task;
};

class MutexRing {
public:
    bool Push(PeerPacket* packet) {
        bool wake = false;
        {
            std::lock_guard<std::mutex> guard(mutex);
            if (end - begin == kQueueLength) return false;
            ring[end++ % kQueueLength] = packet;
            wake = sleeps;
        }
        if (wake) filled.notify_one();
        return true;
    }
    PeerPacket* Pop() {
        std::unique_lock<std::mutex> guard(mutex);
        while (begin == end) {
            sleeps = true;
            filled.wait(guard);
            sleeps = false;
        }
        return ring[begin++ % kQueueLength];
    }

private:
    std::mutex mutex;
    std::condition_variable filled;
    bool sleeps = false;
    std::size_t begin = 0;
    std::size_t end = 0;
    PeerPacket* ring[kQueueLength];
};

/// Adds a semaphore to a queue without a blocking receive, so that the receiver sleeps instead of polling.
template <typename Queue>
class WithSemaphore {
public:
    WithSemaphore() { sem_init(&filled, 0, 0); }
    bool Push(PeerPacket* packet) {
        if (!queue.Push(packet)) return false;
        sem_post(&filled);
        return true;
    }
    PeerPacket* Pop() {
        while (sem_wait(&filled) != 0) {
        }
        return queue.Pop();
    }

private:
    Queue queue;
    sem_t filled;
};

#ifdef BENCH_MOODYCAMEL
class Moodycamel {
public:
    bool Push(PeerPacket* packet) { return queue.enqueue(packet); }
    PeerPacket* Pop() {
        PeerPacket* packet = nullptr;
        queue.wait_dequeue(packet);
        return packet;
    }

private:
    moodycamel::BlockingConcurrentQueue<PeerPacket*> queue{kQueueLength};
};
#endif

#ifdef BENCH_TBB
class TbbQueue {
public:
    TbbQueue() { queue.set_capacity(kQueueLength); }
    bool Push(PeerPacket* packet) { return queue.try_push(packet); }
    PeerPacket* Pop() {
        PeerPacket* packet = nullptr;
        queue.pop(packet);
        return packet;
    }

private:
    tbb::concurrent_bounded_queue<PeerPacket*> queue;
};
#endif

#ifdef BENCH_BOOST
class BoostQueue {
public:
    bool Push(PeerPacket* packet) { return queue.bounded_push(packet); }
    PeerPacket* Pop() {
        PeerPacket* packet = nullptr;
        while (!queue.pop(packet)) {
        }
        return packet;
    }

private:
    boost::lockfree::queue<PeerPacket*> queue{kQueueLength};
};
#endif

/// Calls `add(name, module)` for each kind of peer. `module` is a null pointer that only conveys the type.
template <typename Add>
void ForEachPeerModule(Add add) {
    add("mutex ring", static_cast<PeerModule<MutexRing>*>(nullptr));
#ifdef BENCH_MOODYCAMEL
    add("moodycamel", static_cast<PeerModule<Moodycamel>*>(nullptr));
#endif
#ifdef BENCH_TBB
    add("TBB queue", static_cast<PeerModule<TbbQueue>*>(nullptr));
#endif
#ifdef BENCH_BOOST
    add("Boost lockfree + semaphore", static_cast<PeerModule<WithSemaphore<BoostQueue>>*>(nullptr));
#endif
}

} // namespace bench

#endif
