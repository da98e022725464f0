#include <new>

#include "onu_mng_platform/bep.h"
#include "port.h"

using namespace threads_port;

namespace {

struct Semaphore {
    explicit Semaphore(bool available) : is_available(available) {}

    std::condition_variable changed;
    bool is_available;
    bool is_gone = false;
};

using Semaphores = Registry<Semaphore>;

} // namespace

extern "C" uint32_t bep_semBCreateEx(int /*options*/, int available, const char* /*file*/, int /*line*/) {
    const Guard guard(g_lock);
    try {
        return Semaphores::Instance().Add(std::make_shared<Semaphore>(available != 0));
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

extern "C" int bep_semTakeEx(uint32_t sem_id, int ticks, const char* /*file*/, int /*line*/) {
    Guard guard(g_lock);
    const auto semaphore = Semaphores::Instance().Find(sem_id);
    if (semaphore == nullptr || (ticks == 0 && !semaphore->is_available)) return -1;
    const Deadline deadline = After(ticks);
    Thread& self = Thread::Current();
    const auto is_ready = [&] { return semaphore->is_gone || semaphore->is_available; };
    if (!self.Await(guard, semaphore->changed, deadline, is_ready)) return -1;
    if (semaphore->is_gone) {
        if (!deadline) self.AwaitEnd(guard, deadline);
        return -1;
    }
    semaphore->is_available = false;
    return 0;
}

extern "C" int bep_semGiveEx(uint32_t sem_id, const char* /*file*/, int /*line*/) {
    const Guard guard(g_lock);
    const auto semaphore = Semaphores::Instance().Find(sem_id);
    if (semaphore == nullptr) return -1;
    semaphore->is_available = true;
    semaphore->changed.notify_all();
    return 0;
}

extern "C" int bep_semDeleteEx(uint32_t sem_id) {
    const Guard guard(g_lock);
    const auto semaphore = Semaphores::Instance().Find(sem_id);
    if (semaphore == nullptr) return -1;
    semaphore->is_gone = true;
    semaphore->changed.notify_all();
    Semaphores::Instance().Remove(sem_id);
    return 0;
}
