#include "onu_mng_lib/onu_mng_common/runable.h"

#include <new>

#include "onu_mng_platform/bep.h"

namespace {

constexpr int kTaskOptions = 8;

/// The object whose `Run` the calling task executes.
thread_local const Thread* current_thread = nullptr;

/// The object whose task called exit(); null if no `Thread`'s task did.
std::atomic<const Thread*> ending_thread{nullptr};

void TaskBody(intptr_t thread, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
              intptr_t) {
    Thread::ThreadEntry(reinterpret_cast<Thread*>(thread));
}

} // namespace

Thread::~Thread() {
    EndTask();
}

bool Thread::Init(const char* name, unsigned int priority, unsigned int stack) {
    try {
        task_name = name == nullptr ? "" : name;
    } catch (const std::bad_alloc&) {
        return false;
    }
    task_pri = priority;
    stack_size = stack;
    return true;
}

bool Thread::Start() {
    task_id = bep_taskSpawnEx(task_name.c_str(), task_pri, kTaskOptions, stack_size, TaskBody,
                              reinterpret_cast<intptr_t>(this), 0, 0, 0, 0, 0, 0, 0, 0, 0);
    if (task_id == 0) return false;
    is_alive = true;
    return true;
}

void Thread::ThreadEntry(Thread* thread) {
    current_thread = thread;
    thread->Run();
}

void Thread::StartProcessEnd() {
    ending_thread = current_thread;
}

void Thread::EndTask() {
    if (task_id == 0 || IsCurrent() || this == ending_thread) return;
    bep_taskDeleteEx(task_id);
    task_id = 0;
    is_alive = false;
}

bool Thread::IsCurrent() const {
    return current_thread == this;
}
