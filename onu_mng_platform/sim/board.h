/// The things on the board: queues, semaphores and tasks by their ids.
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
    bool deleted = false; ///< gone for callers; tasks that wait for it still hold it
};

struct Queue : Object {
    static constexpr ObjectKind kKind = ObjectKind::kQueue;
    Queue(std::size_t max_msgs, std::size_t msg_size)
        : Object(kKind), capacity(max_msgs), message_size(msg_size), bytes(max_msgs * msg_size),
          lengths(max_msgs), numbers(max_msgs) {}

    void Put(const char* data, std::size_t size, std::uint64_t number);
    /// Copies at most `room` bytes of the oldest message; returns how many.
    std::size_t Get(char* data, std::size_t room, std::uint64_t& number);

    const std::size_t capacity;
    const std::size_t message_size;
    std::vector<char> bytes; ///< a ring of `capacity` messages
    std::vector<std::size_t> lengths;
    std::vector<std::uint64_t> numbers; ///< by which a record knows a message again
    std::size_t first = 0;
    std::size_t count = 0;
};

struct BinarySemaphore : Object {
    static constexpr ObjectKind kKind = ObjectKind::kSemaphore;
    explicit BinarySemaphore(bool is_available)
        : Object(kKind), is_lock(is_available), available(is_available) {}

    const bool is_lock; ///< created available
    bool available;
    std::string taker; ///< the task that took it last, and where
    CallSite taken_at;
};

/// What keeps a task from running.
enum class WaitKind {
    kNothing,
    kReceive,
    kSend,
    kTake,
    kTime,
    kEndOfTask,
    kEndOfHosts,
    kOthers, ///< for the moment at which nothing else runs
    kOwnEnd, ///< to be deleted, in a call for a queue that is gone
};

struct Wait {
    WaitKind kind = WaitKind::kNothing;
    std::shared_ptr<Object> object;
    SimTime deadline = kNever;
    CallSite site;
    SimTime since{0};
    bool can_end = false; ///< the task may be ended in this wait
};

/// Whether what a wait waits for is there; never for one that only its deadline or the scheduler ends.
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
    RecordedCall* call = nullptr; ///< the call that it is in
    unsigned int priority = 0;
    bool is_host = false; ///< the run waits for its end
    std::function<void()> entry;

    pthread_t thread{};
    Baton baton;
    Wait wait;
    const Task* deletes = nullptr; ///< the task for whose end it waits
    bool end_requested = false;
    bool ended = false;
    int safe_depth = 0;
    int static_depth = 0; ///< function-local statics that it is constructing
    int board_depth = 0;  ///< not 0 while it works for the board and not for the program
};

/// The calling thread's task; null in a thread that is none.
Task* CurrentTask();
void SetCurrentTask(Task* task);

/// Objects by id. Ids count up through all kinds and are never used again. No lock: only the task whose turn
/// it is, or the one thread outside of a run, comes here.
class Board {
public:
    static Board& Instance();

    std::uint32_t Add(std::shared_ptr<Object> object);
    /// Takes an object off the board; those that wait for it keep it.
    void Remove(Object& object);
    /// Takes every task off the board.
    void RemoveTasks();

    /// Null for an id that is none, or of another kind.
    template <class T>
    std::shared_ptr<T> Find(std::uint32_t id) const {
        if (!WasEver(id, T::kKind)) return nullptr;
        return std::static_pointer_cast<T>(entries[id - 1].object);
    }
    /// Whether the id was given to an object of this kind, which may be gone.
    bool WasEver(std::uint32_t id, ObjectKind kind) const {
        return id != 0 && id <= entries.size() && entries[id - 1].kind == kind;
    }

    /// Numbers from now on count from here.
    void BeginNumbers() { last_old_id = static_cast<std::uint32_t>(entries.size()); }
    /// What stands for an id in records and reports, the same in two runs of a seed: counted from the start
    /// of the run; what was on the board before keeps its id, below 0.
    std::int64_t Number(std::uint32_t id) const {
        return id > last_old_id ? std::int64_t{id} - last_old_id : -std::int64_t{id};
    }

    /// What is there now, counted from nothing.
    SimHoldings Holdings() const;

    /// The run that goes on; null for none.
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
