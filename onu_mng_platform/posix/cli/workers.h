/// Threads that run operators' commands.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_WORKERS_H
#define ONU_MNG_PLATFORM_POSIX_CLI_WORKERS_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace onu_mng_platform {

/// Starts a thread only when a job comes while all are busy, so there are as many as commands ever ran at
/// once: mostly one. With as many threads as sessions a slow command holds up no other session.
///
/// Thread safety: one task submits and stops.
class CliWorkers {
public:
    explicit CliWorkers(size_t most) : most_(most) {}
    ~CliWorkers() { Stop(); }
    CliWorkers(const CliWorkers&) = delete;
    CliWorkers& operator=(const CliWorkers&) = delete;

    /// Has `job` run soon. Does not block. @return false, with nothing taken, when there is no thread at all
    /// for it. Throws std::bad_alloc.
    bool Submit(std::function<void()> job);

    /// Drops the jobs that were not begun, waits for the others and ends the threads. Does not wait for the
    /// job that calls it, by exit().
    void Stop();

    /// Whether a job calls this.
    bool IsOwnThread() const;

private:
    void Work();
    void AddThread();
    std::function<void()> Take();
    void Forget(std::thread::id id);

    const size_t most_;
    mutable std::mutex mutex_;
    std::condition_variable work_;
    std::deque<std::function<void()>> jobs_;
    std::vector<std::thread> threads_;
    size_t idle_ = 0;
    bool stopping_ = false;
};

} // namespace onu_mng_platform

#endif
