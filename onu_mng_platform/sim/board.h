/// The objects on the board: queues, semaphores and tasks.
#ifndef ONU_MNG_PLATFORM_SIM_BOARD_H
#define ONU_MNG_PLATFORM_SIM_BOARD_H

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <pthread.h>
#include <set>
#include <string>
#include <vector>

#include "onu_mng_platform/sim/baton.h"
#include "onu_mng_platform/sim/simulation.h"

namespace onu_mng_platform {

constexpr SimTime kNever = SimTime::max();
constexpr int kTicksPerSecond = 1000;

/// A place in the program.
struct CallSite {
    const char* file = nullptr;
    int line = 0;
};

enum class ObjectKind : unsigned char { kQueue, kSemaphore, kTask };

struct Object {
    explicit Object(ObjectKind kind_of_object) : kind(kind_of_object) {}
    virtual ~Object() = default;

    const ObjectKind kind;
    std::uint32_t id = 0;
    bool deleted = false; ///< callers no longer find it; tasks that wait for it still hold it
};

struct Queue : Object {
    static constexpr ObjectKind kKind = ObjectKind::kQueue;
    Queue(std::size_t max_msgs, std::size_t msg_size)
        : Object(kKind), capacity(max_msgs), message_size(msg_size), bytes(max_msgs * msg_size),
          lengths(max_msgs), numbers(max_msgs) {}

    void Put(const char* data, std::size_t size, std::uint64_t number);
    /// Removes the oldest message and copies at most `room` bytes of it. Returns the number of bytes copied.
    std::size_t Get(char* data, std::size_t room, std::uint64_t& number);

    const std::size_t capacity;
    const std::size_t message_size;
    std::vector<char> bytes; ///< a ring of `capacity` messages
    std::vector<std::size_t> lengths;
    std::vector<std::uint64_t> numbers; ///< identify the messages in the record
    std::size_t first = 0;
    std::size_t count = 0;
};

struct BinarySemaphore : Object {
    static constexpr ObjectKind kKind = ObjectKind::kSemaphore;
    explicit BinarySemaphore(bool is_available)
        : Object(kKind), is_lock(is_available), available(is_available) {}

    const bool is_lock; ///< created available
    bool available;
    std::string taker; ///< the task that took it last
    CallSite taken_at; ///< where it took it
};

/// The condition that a task waits for.
enum class WaitKind {
    kNothing,
    kReceive,
    kSend,
    kTake,
    kTime,
    kEndOfTask,
    kEndOfHosts,
    kOthers, ///< until no other task can run
    kOwnEnd, ///< to be deleted, in a call on a deleted queue
};

struct Wait {
    WaitKind kind = WaitKind::kNothing;
    std::shared_ptr<Object> object;
    SimTime deadline = kNever;
    CallSite site;
    SimTime since{0};
    bool can_end = false; ///< the task may end in this wait
};

/// Returns whether the condition of a wait holds. Always false for waits that only the deadline or the
/// scheduler ends.
bool IsMet(const Wait& wait);

class SimRun;

struct TaskCalls;
struct RecordedCall;

struct Task : Object {
    static constexpr ObjectKind kKind = ObjectKind::kTask;
    Task() : Object(kKind) {}

    SimRun* run = nullptr;
    std::string name;
    std::int64_t number = 0;      ///< in reports, as `Board::Number`
    TaskCalls* calls = nullptr;   ///< its last calls, in the record
    RecordedCall* call = nullptr; ///< the current call
    unsigned int priority = 0;
    bool is_host = false; ///< the run does not end before this task
    std::function<void()> entry;

    pthread_t thread{};
    Baton baton;
    Wait wait;
    const Task* deletes = nullptr; ///< the task that it is deleting
    bool end_requested = false;
    bool ended = false;
    int safe_depth = 0;
    int static_depth = 0; ///< function-local statics that it is constructing
    int board_depth = 0;  ///< not 0 while it runs the board's own code
};

/// Returns the calling thread's task; null if the thread is not a task.
Task* CurrentTask();
void SetCurrentTask(Task* task);

/// The objects by id. All kinds share one counter for ids, and no id is reused. No lock is needed: only the
/// task whose turn it is uses the board, or the only thread outside a run.
class Board {
public:
    static Board& Instance();

    std::uint32_t Add(std::shared_ptr<Object> object);
    /// Removes an object from the board. Tasks that wait for it still hold it.
    void Remove(Object& object);
    /// Removes all tasks from the board.
    void RemoveTasks();

    /// Returns null for an unknown id and for one of another kind.
    template <class T>
    std::shared_ptr<T> Find(std::uint32_t id) const {
        if (!WasEver(id, T::kKind)) return nullptr;
        return std::static_pointer_cast<T>(entries[id - 1].object);
    }
    /// Returns whether the id belongs to an object of this kind, even a deleted one.
    bool WasEver(std::uint32_t id, ObjectKind kind) const {
        return id != 0 && id <= entries.size() && entries[id - 1].kind == kind;
    }

    /// Starts the numbers of a run.
    void BeginNumbers() { last_old_id = static_cast<std::uint32_t>(entries.size()); }
    /// Returns the number that replaces an id in records and reports, because it is the same in all runs of a
    /// seed. It counts from 1 in the run. Objects from before the run have their negative id.
    std::int64_t Number(std::uint32_t id) const {
        return id > last_old_id ? std::int64_t{id} - last_old_id : -std::int64_t{id};
    }

    /// Returns the present objects and blocks, including those from before the run.
    SimHoldings Holdings() const;

    /// The current run; null if there is none.
    std::atomic<SimRun*> run{nullptr};
    std::atomic<bool> has_run{false}; ///< a run has ended in this process

private:
    struct Entry {
        ObjectKind kind;
        std::shared_ptr<Object> object;
    };
    std::vector<Entry> entries;
    std::set<std::uint32_t> present; ///< ids of the objects that are on the board
    std::uint32_t last_old_id = 0;
};

} // namespace onu_mng_platform

#endif
