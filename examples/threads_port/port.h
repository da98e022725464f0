/// The common parts of the queues, semaphores and tasks of this port: one lock for everything, a registry
/// that finds objects by their ids, and one way to wait.
///
/// The port is for reading and for systems that have only the C++ standard library. It is correct, but slow:
/// every call takes the lock, and every change of an object wakes all threads that wait for it. So a thread
/// that does not need its wake-up does not have to pass it on.
#ifndef ONU_MNG_EXAMPLES_THREADS_PORT_H
#define ONU_MNG_EXAMPLES_THREADS_PORT_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <utility>

namespace threads_port {

using Guard = std::unique_lock<std::mutex>;

/// Guards everything below, and every object.
inline std::mutex g_lock;
inline uint32_t g_last_id = 0;

/// The objects of one kind, by id. Objects of all kinds share one counter for ids, so a stale or foreign id
/// finds nothing until 2^32 objects have been created. The caller holds the lock. A registry is never
/// destroyed, because static destructors may still call the port.
template <class Object>
class Registry {
public:
    static Registry& Instance() {
        static Registry& instance = *new Registry;
        return instance;
    }

    /// Returns the id of the object. Throws std::bad_alloc.
    uint32_t Add(std::shared_ptr<Object> object) {
        while (++g_last_id == 0 || objects_.count(g_last_id) != 0) {
        }
        objects_.emplace(g_last_id, std::move(object));
        return g_last_id;
    }

    /// Returns null for an id that is not valid.
    std::shared_ptr<Object> Find(uint32_t id) const {
        const auto found = objects_.find(id);
        return found == objects_.end() ? nullptr : found->second;
    }

    void Remove(uint32_t id) { objects_.erase(id); }

private:
    std::unordered_map<uint32_t, std::shared_ptr<Object>> objects_;
};

/// The end of a wait, computed once. An empty deadline means a wait without limit.
using Deadline = std::optional<std::chrono::steady_clock::time_point>;
Deadline After(int ticks);
Deadline After(std::chrono::nanoseconds duration);

/// The state that the port keeps for each thread that calls it.
struct Thread {
    bool is_task = false;
    bool is_asked_to_end = false;
    unsigned int protections = 0;
    std::condition_variable* sleeps_on = nullptr; ///< to notify to wake the thread; null while it is awake

    static Thread& Current();

    /// Returns whether the thread is a task that is being deleted and may be ended here.
    bool IsToEnd() const;
    /// Throws bep_TaskEnd if IsToEnd().
    void EndPoint() const;

    /// Sleeps until `is_ready()` returns true. An end point if it has to wait. The caller holds the lock. A
    /// thread that changes the condition must notify `changed`.
    /// @return false if the deadline passed first.
    template <class IsReady>
    bool Await(Guard& guard, std::condition_variable& changed, const Deadline& deadline, IsReady is_ready) {
        while (!is_ready()) {
            EndPoint();
            if (deadline && std::chrono::steady_clock::now() >= *deadline) return false;
            sleeps_on = &changed;
            deadline ? void(changed.wait_until(guard, *deadline)) : changed.wait(guard);
            sleeps_on = nullptr;
        }
        return true;
    }

    /// Sleeps until the task is ended or the deadline passes. Called when its queue or semaphore has been
    /// deleted. Returns at once if the caller is not a task, or if the task is to end but may not be ended
    /// here.
    void AwaitEnd(Guard& guard, const Deadline& deadline);
};

} // namespace threads_port

#endif
