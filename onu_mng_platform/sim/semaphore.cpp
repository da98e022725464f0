#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/sim/seam_call.h"

using namespace onu_mng_platform;

namespace {

constexpr CallName kCreate{"semBCreate", "semaphore", "available", nullptr};
constexpr CallName kTake{"semTake", "semaphore", "ticks", nullptr};
constexpr CallName kGive{"semGive", "semaphore", nullptr, nullptr};
constexpr CallName kDelete{"semDelete", "semaphore", nullptr, nullptr};

} // namespace

uint32_t bep_semBCreateEx(int, int available, const char* file, int line) {
    SeamCall call(kCreate, {file, line});
    call.With(available);
    if (call.IsToFail(SimFault::kSemaphoreCreate)) return call.Created(0);
    return call.Created(Board::Instance().Add(std::make_shared<BinarySemaphore>(available != 0)));
}

int bep_semTakeEx(uint32_t sem_id, int ticks, const char* file, int line) {
    SeamCall call(kTake, {file, line});
    call.On(sem_id).With(ticks);
    const auto semaphore = Board::Instance().Find<BinarySemaphore>(sem_id);
    if (semaphore == nullptr) return call.Result(-1);
    if (call.IsToFail(SimFault::kSemaphoreTake, ticks)) return call.Result(-1);
    if (!call.WaitFor(WaitKind::kTake, semaphore, ticks) || semaphore->deleted) return call.Result(-1);
    semaphore->available = false;
    semaphore->taker = call.Caller() != nullptr ? call.Caller()->name : "";
    semaphore->taken_at = {file, line};
    return call.Result(0);
}

int bep_semGiveEx(uint32_t sem_id, const char* file, int line) {
    SeamCall call(kGive, {file, line});
    call.On(sem_id);
    const auto semaphore = Board::Instance().Find<BinarySemaphore>(sem_id);
    if (semaphore == nullptr) return call.Result(-1);
    semaphore->available = true;
    return call.Result(0);
}

int bep_semDeleteEx(uint32_t sem_id) {
    SeamCall call(kDelete);
    call.On(sem_id);
    const auto semaphore = Board::Instance().Find<BinarySemaphore>(sem_id);
    if (semaphore == nullptr) return call.Result(-1);
    Board::Instance().Remove(*semaphore);
    return call.Result(0);
}
