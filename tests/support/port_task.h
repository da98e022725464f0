/// A task for tests.
#ifndef ONU_MNG_TESTS_SUPPORT_PORT_TASK_H
#define ONU_MNG_TESTS_SUPPORT_PORT_TASK_H

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "onu_mng_platform/bep.h"

/// A task that runs a function, deleted with the object at the latest. `Id()` is 0 when it could not be
/// started.
class PortTask {
public:
    PortTask(const char* name, std::function<void()> task_body, unsigned int priority = 100)
        : body(std::move(task_body)), done(bep_semBCreateEx(2, 0, __FILE__, __LINE__)),
          id(bep_taskSpawnEx(name, priority, 8, 256 * 1024, Enter, reinterpret_cast<intptr_t>(this), 0, 0, 0,
                             0, 0, 0, 0, 0, 0)) {}
    ~PortTask() {
        if (!deleted) bep_taskDeleteEx(id);
        bep_semDeleteEx(done);
    }
    PortTask(const PortTask&) = delete;
    PortTask& operator=(const PortTask&) = delete;

    uint32_t Id() const { return id; }
    bool HasStarted() const { return done != 0 && id != 0; }

    int Delete() {
        deleted = true;
        return bep_taskDeleteEx(id);
    }

    /// Waits at most `ticks` until the function has returned; false when it has not. Once for each task.
    bool WaitUntilDone(int ticks = -1) const { return bep_semTakeEx(done, ticks, __FILE__, __LINE__) == 0; }

private:
    static void Enter(intptr_t self, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                      intptr_t, intptr_t) {
        PortTask& task = *reinterpret_cast<PortTask*>(self);
        task.body();
        bep_semGiveEx(task.done, __FILE__, __LINE__);
    }

    const std::function<void()> body;
    const uint32_t done;
    bool deleted = false;
    const uint32_t id; // last: the task begins here
};

/// Several tasks that run a function, each with its number.
class PortTasks {
public:
    PortTasks(int count, const std::function<void(int number)>& body) {
        for (int number = 0; number < count; ++number)
            tasks.push_back(std::make_unique<PortTask>("one of many", [body, number] { body(number); }));
    }

    void WaitUntilDone() const {
        for (const auto& task : tasks)
            task->WaitUntilDone();
    }
    void Delete() { tasks.clear(); }

private:
    std::vector<std::unique_ptr<PortTask>> tasks;
};

#endif
