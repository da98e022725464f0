/// The worker threads that run operators' commands.
#ifndef ONU_MNG_PLATFORM_POSIX_CLI_WORKERS_H
#define ONU_MNG_PLATFORM_POSIX_CLI_WORKERS_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace onu_mng_platform {

/// Runs jobs in worker threads. Starts a further thread only if all are busy, so there are as many threads as
/// jobs have run at once; mostly one. If `most` is the number of sessions, a slow command does not block
/// other sessions.
///
/// Thread safety: one task submits and stops.
class CliWorkers {
public:
    explicit CliWorkers(size_t most) : most_(most) {}
    ~CliWorkers() { Stop(); }
    CliWorkers(const CliWorkers&) = delete;
    CliWorkers& operator=(const CliWorkers&) = delete;

    /// Queues a job. Does not block. Throws std::bad_alloc.
    /// @return false if there is no worker thread and none could be started; the job is then dropped.
    [[nodiscard]] bool Submit(std::function<void()> job);

    /// Drops queued jobs, waits for running ones and ends the threads. If a job calls it through exit(), it
    /// does not wait for that job.
    void Stop();

    /// Returns whether the caller is a job.
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
