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

// The caller holds the lock, so the new thread does not run before the job is queued.
void CliWorkers::AddThread() {
    if (threads_.size() == most_) return;
    threads_.reserve(most_);
    std::thread thread = StartThread("cli-worker", [this] { Work(); });
    if (thread.joinable()) threads_.push_back(std::move(thread));
}

// If a job calls exit(), this runs in the job's own thread, which cannot join itself.
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

/// Waits for a job. @return an empty function when stopping.
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

/// Removes the calling thread from the list if a job has ended it, so that another can be started.
void CliWorkers::Forget(std::thread::id id) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto is_meant = [id](const std::thread& thread) { return thread.get_id() == id; };
    const auto ended = std::find_if(threads_.begin(), threads_.end(), is_meant);
    if (ended == threads_.end()) return; // Stop() joins the thread
    ended->detach();
    threads_.erase(ended);
}

} // namespace onu_mng_platform
