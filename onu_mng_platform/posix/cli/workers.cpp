#include "onu_mng_platform/posix/cli/workers.h"

#include <algorithm>

#include "onu_mng_platform/posix/cli/thread.h"

namespace onu_mng_platform {

bool CliWorkers::Submit(std::function<void()> job) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (idle_ <= jobs_.size()) AddThread();
    if (threads_.empty()) return false;
    jobs_.push_back(std::move(job));
    work_.notify_one();
    return true;
}

// With the lock taken, so that the new thread first sees the job.
void CliWorkers::AddThread() {
    if (threads_.size() == most_) return;
    threads_.reserve(most_);
    std::thread thread = StartThread("cli-worker", [this] { Work(); });
    if (thread.joinable()) threads_.push_back(std::move(thread));
}

// A job may call exit(), which stops this in the job's own thread.
void CliWorkers::Stop() {
    std::vector<std::thread> threads;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        jobs_.clear();
        threads.swap(threads_);
    }
    work_.notify_all();
    for (std::thread& thread : threads) {
        if (thread.get_id() == std::this_thread::get_id())
            thread.detach();
        else
            thread.join();
    }
}

void CliWorkers::Work() {
    const Finally end([this] { Forget(std::this_thread::get_id()); });
    while (const auto job = Take())
        job();
}

/// Waits for a job. @return none when stopping.
std::function<void()> CliWorkers::Take() {
    std::unique_lock<std::mutex> lock(mutex_);
    ++idle_;
    work_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
    --idle_;
    if (stopping_) return nullptr;
    std::function<void()> job = std::move(jobs_.front());
    jobs_.pop_front();
    return job;
}

bool CliWorkers::IsOwnThread() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::any_of(threads_.begin(), threads_.end(), [](const std::thread& thread) {
        return thread.get_id() == std::this_thread::get_id();
    });
}

/// A thread that a job has ended makes room for another.
void CliWorkers::Forget(std::thread::id id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto is_meant = [id](const std::thread& thread) { return thread.get_id() == id; };
    const auto ended = std::find_if(threads_.begin(), threads_.end(), is_meant);
    if (ended == threads_.end()) return; // Stop() waits for it
    ended->detach();
    threads_.erase(ended);
}

} // namespace onu_mng_platform
