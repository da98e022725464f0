#include "onu_mng_platform/posix/cli/workers.h"

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

void CliWorkers::Stop() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        jobs_.clear();
    }
    work_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
    threads_.clear();
}

void CliWorkers::Work() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
        ++idle_;
        work_.wait(lock, [this] { return stopping_ || !jobs_.empty(); });
        --idle_;
        if (stopping_) return;
        std::function<void()> job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job();
        job = nullptr;
        lock.lock();
    }
}

} // namespace onu_mng_platform
