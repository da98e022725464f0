#include <algorithm>
#include <array>
#include <ctime>
#include <exception>
#include <string>
#include <system_error>
#include <thread>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/sync/task_end.h"
#include "port.h"

using namespace threads_port;
using onu_mng_platform::LogPort;

namespace {

struct Task : Thread {
    std::string name;
    bep_task_entry entry = nullptr;
    std::array<intptr_t, 10> arguments{};
    std::thread thread;
    const Thread* deletes = nullptr; ///< the task whose end it waits for
};

using Tasks = Registry<Task>;

thread_local Thread t_other;         // the state of a thread that is not a task
thread_local Task* t_task = nullptr; // the calling task; null in other threads
std::condition_variable& g_nothing =
    *new std::condition_variable; // for sleeps that only the end of a task interrupts

/// Runs the entry of a task. An exception ends only this task.
void RunGuarded(const Task& task) {
    const auto& a = task.arguments;
    try {
        task.entry(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    } catch (const bep_TaskEnd&) {
    } catch (const std::exception& failure) {
        LogPort(15, "Task %s has ended by an exception: %s\r\n", task.name.c_str(), failure.what());
    } catch (...) {
        if (std::current_exception() == nullptr) throw; // not from C++: the system ends the thread
        LogPort(15, "Task %s has ended by an exception that is no std::exception\r\n", task.name.c_str());
    }
}

void RunTask(Task* task) {
    t_task = task;
    RunGuarded(*task);
    bep_taskSafeEx(); // nothing would catch a bep_TaskEnd that a thread-local object's destructor throws
}

void SayWhatIsMissing() {
    static std::once_flag said;
    std::call_once(said, [] {
        LogPort(11, "Tasks run without their priorities and stack sizes: standard threads have neither\r\n");
    });
}

/// Returns whether `task` waits for `caller` to end, directly or through others, or is the caller.
bool WaitsFor(const Task& task, const Thread& caller) {
    for (const Thread* each = &task; each != nullptr; each = static_cast<const Task*>(each)->deletes) {
        if (each == &caller) return true;
    }
    return false;
}

} // namespace

namespace threads_port {

Thread& Thread::Current() {
    return t_task != nullptr ? *t_task : t_other;
}

bool Thread::IsToEnd() const {
    return is_asked_to_end && protections == 0 && !onu_mng_platform::IsUnwinding();
}

void Thread::EndPoint() const {
    if (IsToEnd()) throw bep_TaskEnd();
}

void Thread::AwaitEnd(Guard& guard, const Deadline& deadline) {
    if (!is_task) return;
    Await(guard, g_nothing, deadline, [this] { return is_asked_to_end && !IsToEnd(); });
}

} // namespace threads_port

extern "C" uint32_t bep_taskSpawnEx(const char* name, unsigned int /*priority*/, int /*options*/,
                                    unsigned int /*stack_size*/, bep_task_entry entry, intptr_t arg1,
                                    intptr_t arg2, intptr_t arg3, intptr_t arg4, intptr_t arg5, intptr_t arg6,
                                    intptr_t arg7, intptr_t arg8, intptr_t arg9, intptr_t arg10) {
    if (entry == nullptr) return 0;
    SayWhatIsMissing();
    const Guard guard(g_lock); // held until the thread exists, so no other thread finds the task earlier
    uint32_t id = 0;
    try {
        const auto task = std::make_shared<Task>();
        task->is_task = true;
        task->name = name == nullptr ? "" : name;
        task->entry = entry;
        task->arguments = {arg1, arg2, arg3, arg4, arg5, arg6, arg7, arg8, arg9, arg10};
        id = Tasks::Instance().Add(task);
        task->thread = std::thread(RunTask, task.get());
        return id;
    } catch (const std::bad_alloc&) {
    } catch (const std::system_error&) {
    }
    Tasks::Instance().Remove(id);
    return 0;
}

extern "C" int bep_taskDeleteEx(uint32_t task_id) {
    Guard guard(g_lock);
    const auto task = Tasks::Instance().Find(task_id);
    if (task == nullptr || task->is_asked_to_end || WaitsFor(*task, Thread::Current())) return -1;
    task->is_asked_to_end = true;
    if (task->sleeps_on != nullptr) task->sleeps_on->notify_all();
    if (t_task != nullptr) t_task->deletes = task.get();
    guard.unlock();
    task->thread.join();
    guard.lock();
    if (t_task != nullptr) t_task->deletes = nullptr;
    Tasks::Instance().Remove(task_id);
    return 0;
}

extern "C" void bep_taskSafeEx() {
    ++Thread::Current().protections;
}

extern "C" void bep_taskUnsafeEx() {
    if (Thread::Current().protections > 0) --Thread::Current().protections;
}

// The link option --wrap redirects every call of nanosleep() in the executable to this file. With 64-bit times
// on a 32-bit system, nanosleep() has another name in the C library.
#if defined(__USE_TIME_BITS64) && defined(__TIMESIZE) && __TIMESIZE == 32
extern "C" int RealNanosleep(const timespec* duration, timespec* rest) __asm__("__real___nanosleep64");
extern "C" int WrapNanosleep(const timespec* duration, timespec* rest) __asm__("__wrap___nanosleep64");
#else
extern "C" int RealNanosleep(const timespec* duration, timespec* rest) __asm__("__real_nanosleep");
extern "C" int WrapNanosleep(const timespec* duration, timespec* rest) __asm__("__wrap_nanosleep");
#endif

extern "C" int WrapNanosleep(const timespec* duration, timespec* rest) {
    const bool is_valid = duration != nullptr && duration->tv_sec >= 0 && duration->tv_nsec >= 0 &&
                          duration->tv_nsec < 1'000'000'000;
    if (t_task == nullptr || !is_valid) return RealNanosleep(duration, rest);
    constexpr auto kMost = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::nanoseconds::max());
    const auto seconds = std::chrono::seconds(std::min<long long>(duration->tv_sec, kMost.count() - 1));
    const Deadline deadline = After(seconds + std::chrono::nanoseconds(duration->tv_nsec));
    Guard guard(g_lock);
    t_task->Await(guard, g_nothing, deadline, [] { return false; });
    return 0;
}
