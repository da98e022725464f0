#include "onu_mng_platform/sim/board.h"

#include <algorithm>
#include <cstring>

#include "onu_mng_platform/common/pool/pool.h"

namespace onu_mng_platform {

namespace {

thread_local Task* current_task = nullptr;

void AddPools(SimHoldings& holdings) {
    mpu_stat stat;
    for (int pool = 0; PoolGetStat(pool, &stat) == 0; ++pool) {
        holdings.blocks += static_cast<long>(stat.blocks);
        holdings.bytes += static_cast<long>(stat.used);
    }
}

} // namespace

Task* CurrentTask() {
    return current_task;
}
void SetCurrentTask(Task* task) {
    current_task = task;
}

void Queue::Put(const char* data, std::size_t size, std::uint64_t number) {
    const std::size_t last = (first + count++) % capacity;
    lengths[last] = size;
    numbers[last] = number;
    std::memcpy(&bytes[last * message_size], data, size);
}

std::size_t Queue::Get(char* data, std::size_t room, std::uint64_t& number) {
    const std::size_t size = std::min(room, lengths[first]);
    std::memcpy(data, &bytes[first * message_size], size);
    number = numbers[first];
    first = (first + 1) % capacity;
    --count;
    return size;
}

bool IsMet(const Wait& wait) {
    switch (wait.kind) {
    case WaitKind::kReceive: {
        const auto& queue = static_cast<const Queue&>(*wait.object);
        return !queue.deleted && queue.count != 0;
    }
    case WaitKind::kSend: {
        const auto& queue = static_cast<const Queue&>(*wait.object);
        return !queue.deleted && queue.count != queue.capacity;
    }
    case WaitKind::kTake: {
        const auto& semaphore = static_cast<const BinarySemaphore&>(*wait.object);
        return semaphore.deleted ? wait.deadline != kNever : semaphore.available;
    }
    case WaitKind::kEndOfTask:
        return static_cast<const Task&>(*wait.object).ended;
    default:
        return false;
    }
}

// Never destroyed: static objects of the program delete their semaphores after main().
Board& Board::Instance() {
    static Board& board = *new Board;
    return board;
}

std::uint32_t Board::Add(std::shared_ptr<Object> object) {
    entries.push_back({object->kind, object});
    object->id = static_cast<std::uint32_t>(entries.size());
    present.insert(object->id);
    return object->id;
}

void Board::Remove(Object& object) {
    object.deleted = true;
    present.erase(object.id);
    entries[object.id - 1].object.reset();
}

void Board::RemoveTasks() {
    const std::set<std::uint32_t> before = present;
    for (const std::uint32_t id : before)
        if (const auto task = Find<Task>(id)) Remove(*task);
}

SimHoldings Board::Holdings() const {
    SimHoldings holdings{};
    for (const std::uint32_t id : present) {
        const Entry& entry = entries[id - 1];
        holdings.queues += entry.kind == ObjectKind::kQueue;
        if (entry.kind == ObjectKind::kTask)
            holdings.tasks += !static_cast<const Task&>(*entry.object).is_host;
        if (entry.kind != ObjectKind::kSemaphore) continue;
        const auto& semaphore = static_cast<const BinarySemaphore&>(*entry.object);
        ++holdings.semaphores;
        holdings.locks_taken += semaphore.is_lock && !semaphore.available;
    }
    AddPools(holdings);
    return holdings;
}

} // namespace onu_mng_platform
