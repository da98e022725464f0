/// A platform task behind an object.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_RUNABLE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_RUNABLE_H

#include <atomic>
#include <cstdint>
#include <string>

/// Whatever runs as a task.
class Runable {
public:
    virtual ~Runable() = default;
    virtual void Run() = 0;
};

/// A task whose body is the object's `Run`.
///
/// Construct, `Init`, `Start`; the task runs `Run` until it returns or the object is destroyed. The
/// destructor ends the task wherever it waits, but by then a derived class is destroyed already: a class with
/// members that its `Run` uses calls `EndTask` first thing in its own destructor.
class Thread : public Runable {
public:
    Thread() = default;
    ~Thread() override;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Stores what `Start` will ask for: the name (copied), the priority (0 highest to 255), the stack in
    /// bytes.
    /// @return true; false when memory is short for the name, which is then unchanged.
    bool Init(const char* name, unsigned int priority, unsigned int stack);

    /// Spawns the task. Called once.
    /// @return true; false when the platform could not start one, and a later call may try again.
    bool Start();

    /// True from the start of the task until it is ended, also after `Run` returned.
    bool IsAlive() const { return is_alive; }

    /// The body; does nothing here.
    void Run() override {}

    /// The task's entry: calls `Run` of the object and returns when it returns.
    static void ThreadEntry(Thread* thread);

    /// Declares that the calling task ends the process and so cannot be ended itself.
    static void StartProcessEnd();

protected:
    /// Ends the task at its next wait and returns when it has ended. Does nothing without a task, in the task
    /// itself (see `IsCurrent`), and for the task that ends the process.
    void EndTask();

    /// True in the task of this object.
    bool IsCurrent() const;

private:
    std::atomic<bool> is_alive{false};
    std::uint32_t task_id = 0;
    std::string task_name;
    unsigned int task_pri = 0;
    unsigned int stack_size = 0;
};

#endif
