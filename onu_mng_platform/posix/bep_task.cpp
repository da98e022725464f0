#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <exception>
#include <limits>
#include <mutex>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/sync/short_lock.h"
#include "onu_mng_platform/posix/sleeper.h"
#include "onu_mng_platform/posix/slot_table.h"

namespace onu_mng_platform {
namespace {

/// A task exists from its start until it is deleted, even after its entry has returned. It is `kEnding` while
/// a thread deletes it.
enum State : uint32_t { kNone, kExists, kEnding };

constexpr uint32_t Word(uint32_t generation, State state) {
    return generation << 2 | state;
}
constexpr uint32_t GenerationOf(uint32_t word) {
    return word >> 2;
}

struct Task {
    std::atomic<uint32_t> word{Word(0, kNone)};
    uint32_t next_free = 0;
    Sleeper sleeper{Sleeper::Kind::kTask};
    pthread_t thread{};
    bep_task_entry entry = nullptr;
    intptr_t arguments[10] = {};
    char name[16] = {};            // truncated to the system's limit
    const Task* deletes = nullptr; // the task that this one is deleting; guarded by g_deletions
};

SlotTable<Task, 64, 1024, 1024> g_tasks;
ShortLock g_deletions;
thread_local Task* t_self = nullptr; // null in threads that are not tasks

void RunEntry(const Task& task) {
    const intptr_t* const a = task.arguments;
    task.entry(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
}

/// Runs a task's entry. An exception ends this task only.
void RunGuarded(const Task& task) {
    try {
        RunEntry(task);
    } catch (const TaskEnd&) {
    } catch (const std::exception& failure) {
        LogPort(15, "Task %s has ended by an exception: %s\r\n", task.name, failure.what());
    } catch (...) {
        if (std::current_exception() == nullptr) throw; // pthread_exit() and pthread_cancel() end the thread
        LogPort(15, "Task %s has ended by an exception that is no std::exception\r\n", task.name);
    }
}

/// Protects a task from the end of its entry on, because nothing would catch a TaskEnd that is thrown while
/// thread-local objects are destroyed.
struct LastProtection {
    explicit LastProtection(Sleeper& own) : sleeper(own) {}
    ~LastProtection() { sleeper.Protect(); }
    LastProtection(const LastProtection&) = delete;
    LastProtection& operator=(const LastProtection&) = delete;

    Sleeper& sleeper;
};

void* RunTask(void* context) {
    Task& task = *static_cast<Task*>(context);
    pthread_setname_np(pthread_self(), task.name);
    Sleeper::Become(task.sleeper);
    t_self = &task;
    const LastProtection protection(task.sleeper);
    RunGuarded(task);
    return nullptr;
}

/// The attributes for starting a thread. `get()` returns null if memory is short.
class ThreadAttributes {
public:
    ThreadAttributes() : is_valid_(pthread_attr_init(&attributes_) == 0) {}
    ~ThreadAttributes() {
        if (is_valid_) pthread_attr_destroy(&attributes_);
    }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;

    pthread_attr_t* get() { return is_valid_ ? &attributes_ : nullptr; }

private:
    pthread_attr_t attributes_;
    bool is_valid_;
};

/// Returns the stack size for a task that asks for `asked` bytes. It adds the system's own need and the guard
/// page, which the system takes out of the size.
size_t StackSize(unsigned int asked) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t own = std::max(static_cast<size_t>(PTHREAD_STACK_MIN), size_t{16 * 1024});
    const size_t most = std::numeric_limits<size_t>::max() / 2; // prevents an overflow
    return (std::min<size_t>(asked, most) + own + page - 1) / page * page + page;
}

/// Maps 0 (highest) to 255 (lowest) to the system's real-time priorities.
int RealTimePriority(unsigned int priority) {
    const int highest = sched_get_priority_max(SCHED_RR);
    const int lowest = sched_get_priority_min(SCHED_RR);
    return highest - static_cast<int>(std::min(priority, 255U)) * (highest - lowest) / 255;
}

void SayPriorityRefused() {
    static std::atomic_flag said = ATOMIC_FLAG_INIT;
    if (said.test_and_set()) return;
    LogPort(
        11,
        "Tasks run without their priorities: the process has no right to them. Grant it CAP_SYS_NICE or a "
        "real-time priority limit (ulimit -r 99)\r\n");
}

/// Starts the thread of a task. Returns 0 or an error number.
int StartThread(Task& task, unsigned int priority, unsigned int stack_size) {
    ThreadAttributes attributes;
    pthread_attr_t* const raw = attributes.get();
    if (raw == nullptr) return ENOMEM;
    if (const int error = pthread_attr_setstacksize(raw, StackSize(stack_size))) return error;
    sched_param parameters{};
    parameters.sched_priority = RealTimePriority(priority);
    pthread_attr_setinheritsched(raw, PTHREAD_EXPLICIT_SCHED);
    pthread_attr_setschedpolicy(raw, SCHED_RR);
    pthread_attr_setschedparam(raw, &parameters);
    const int error = pthread_create(&task.thread, raw, RunTask, &task);
    if (error != EPERM) return error;
    SayPriorityRefused();
    pthread_attr_setinheritsched(raw, PTHREAD_INHERIT_SCHED);
    return pthread_create(&task.thread, raw, RunTask, &task);
}

/// Starts the deletion of a task by the calling thread. Returns false if the task does not exist, if another
/// thread is deleting it, or if the task itself waits, directly or through other tasks, for the caller to
/// end.
bool BeginDeletion(Task& task, uint32_t generation) {
    const std::lock_guard<ShortLock> guard(g_deletions);
    for (const Task* each = &task; t_self != nullptr && each != nullptr; each = each->deletes) {
        if (each == t_self) return false;
    }
    uint32_t word = Word(generation, kExists);
    if (!task.word.compare_exchange_strong(word, Word(generation, kEnding), std::memory_order_acq_rel))
        return false;
    if (t_self != nullptr) t_self->deletes = &task;
    return true;
}

void EndDeletion(Task& task, uint32_t generation) {
    const std::lock_guard<ShortLock> guard(g_deletions);
    if (t_self != nullptr) t_self->deletes = nullptr;
    task.word.store(Word(Id::NextGeneration(generation), kNone), std::memory_order_release);
}

bool IsDuration(const timespec& duration) {
    return duration.tv_sec >= 0 && duration.tv_nsec >= 0 && duration.tv_nsec < 1'000'000'000;
}

} // namespace
} // namespace onu_mng_platform

using namespace onu_mng_platform;

extern "C" uint32_t bep_taskSpawnEx(const char* name, unsigned int priority, int /*options*/,
                                    unsigned int stack_size, bep_task_entry entry, intptr_t arg1,
                                    intptr_t arg2, intptr_t arg3, intptr_t arg4, intptr_t arg5, intptr_t arg6,
                                    intptr_t arg7, intptr_t arg8, intptr_t arg9, intptr_t arg10) {
    if (entry == nullptr) return 0;
    const uint32_t index = g_tasks.Acquire();
    if (index == g_tasks.kNone) return 0;
    Task& task = *g_tasks.At(index);
    const uint32_t generation = GenerationOf(task.word.load(std::memory_order_relaxed));
    const intptr_t arguments[] = {arg1, arg2, arg3, arg4, arg5, arg6, arg7, arg8, arg9, arg10};
    std::copy(std::begin(arguments), std::end(arguments), task.arguments);
    std::snprintf(task.name, sizeof(task.name), "%s", name == nullptr ? "" : name);
    task.entry = entry;
    task.sleeper.Reset();
    if (StartThread(task, priority, stack_size) != 0) {
        g_tasks.Release(index);
        return 0;
    }
    task.word.store(Word(generation, kExists), std::memory_order_release);
    return Id(IdKind::kTask, generation, index).Number();
}

extern "C" int bep_taskDeleteEx(uint32_t task_id) {
    const Id id(task_id);
    Task* const task = g_tasks.Find(id, IdKind::kTask);
    if (task == nullptr || !BeginDeletion(*task, id.Generation())) return -1;
    task->sleeper.AskToEnd();
    pthread_join(task->thread, nullptr);
    EndDeletion(*task, id.Generation());
    g_tasks.Release(id.Index());
    return 0;
}

extern "C" void bep_taskSafeEx() {
    Sleeper::Current().Protect();
}

extern "C" void bep_taskUnsafeEx() {
    Sleeper::Current().Unprotect();
}

// The linker's --wrap redirects every call of nanosleep() in the executable to this function, because a
// deletion could not end the system's nanosleep(). Threads that are not tasks still use the system's. With
// 64-bit time_t on 32-bit systems, the C library has another name for the function.
#if defined(__USE_TIME_BITS64) && defined(__TIMESIZE) && __TIMESIZE == 32
extern "C" int RealNanosleep(const timespec* duration, timespec* rest) __asm__("__real___nanosleep64");
extern "C" int WrapNanosleep(const timespec* duration, timespec* rest) __asm__("__wrap___nanosleep64");
#else
extern "C" int RealNanosleep(const timespec* duration, timespec* rest) __asm__("__real_nanosleep");
extern "C" int WrapNanosleep(const timespec* duration, timespec* rest) __asm__("__wrap_nanosleep");
#endif

extern "C" int WrapNanosleep(const timespec* duration, timespec* rest) {
    Sleeper& self = Sleeper::Current();
    if (!self.IsTask() || duration == nullptr || !IsDuration(*duration)) return RealNanosleep(duration, rest);
    self.Delay(Deadline::After(*duration));
    return 0;
}
