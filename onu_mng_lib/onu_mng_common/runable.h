/// A task of the platform as an object.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_RUNABLE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_RUNABLE_H

#include <atomic>
#include <cstdint>
#include <string>

/// An object with a body that runs as a task.
class Runable {
public:
    virtual ~Runable() = default;
    /// Runs the body of the task.
    virtual void Run() = 0;
};

/// A task whose body is the object's `Run`.
///
/// Construct the object, call `Init`, then `Start`. The task runs until `Run` returns or the object is
/// destroyed. The destructor ends the task at its next wait. By then the members of a derived class are
/// already destroyed. So if `Run` uses such members, call `EndTask` first in the destructor of that class.
class Thread : public Runable {
public:
    Thread() = default;
    ~Thread() override;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// Stores the parameters for `Start`: the name (copied), the priority (0 highest to 255 lowest), and the
    /// stack in bytes.
    /// @return true; false if memory is short for the name, which then stays as it was.
    [[nodiscard]] bool Init(const char* name, unsigned int priority, unsigned int stack);

    /// Starts the task. Call it once.
    /// @return true; false if the platform could not start the task. Then it may be called again.
    [[nodiscard]] bool Start();

    /// Returns true from the start of the task until it is ended, even after `Run` has returned.
    bool IsAlive() const { return is_alive; }

    /// Runs the body of the task. The base version does nothing.
    void Run() override {}

    /// Runs as the entry of the task: calls `Run` of the object.
    static void ThreadEntry(Thread* thread);

    /// Declares that the calling task ends the process. From then on it cannot be ended itself.
    static void StartProcessEnd();

protected:
    /// Ends the task at its next wait and returns when it has ended. Does nothing if there is no task, if the
    /// task itself calls it (see `IsCurrent`), or if the task is the one that ends the process.
    void EndTask();

    /// Returns whether the task of this object is the caller.
    bool IsCurrent() const;

private:
    std::atomic<bool> is_alive{false};
    std::uint32_t task_id = 0;
    std::string task_name;
    unsigned int task_pri = 0;
    unsigned int stack_size = 0;
};

#endif
