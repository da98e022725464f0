/// Short forms of the seam's calls for tests.
#ifndef ONU_MNG_TESTS_SUPPORT_PORT_CALLS_H
#define ONU_MNG_TESTS_SUPPORT_PORT_CALLS_H

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "onu_mng_platform/bep.h"

inline uint32_t NewQueue(int max_msgs, int msg_size) {
    return bep_msgQCreateEx(max_msgs, msg_size, 0, __FILE__, __LINE__);
}

inline uint32_t NewSemaphore(bool available) {
    return bep_semBCreateEx(2, available ? 1 : 0, __FILE__, __LINE__);
}

/// Deletes a queue or semaphore at the end of a scope.
template <int (*Delete)(uint32_t)>
class PortObject {
public:
    explicit PortObject(uint32_t object) : id(object) {}
    ~PortObject() { Delete(id); }
    PortObject(const PortObject&) = delete;
    PortObject& operator=(const PortObject&) = delete;
    operator uint32_t() const { return id; }

private:
    const uint32_t id;
};

struct PortQueue : PortObject<bep_msgQDeleteEx> {
    PortQueue(int max_msgs, int msg_size) : PortObject(NewQueue(max_msgs, msg_size)) {}
};

struct PortSemaphore : PortObject<bep_semDeleteEx> {
    explicit PortSemaphore(bool available) : PortObject(NewSemaphore(available)) {}
};

inline int Send(uint32_t queue, const std::string& text, int ticks = 0) {
    return bep_msgQSendEx(queue, text.data(), static_cast<unsigned int>(text.size()), ticks, 1, __FILE__,
                          __LINE__);
}

/// Returns the received message; nothing if the call fails.
inline std::optional<std::string> Receive(uint32_t queue, int ticks = 0, unsigned int room = 64) {
    char buffer[64];
    const int size = bep_msgQReceiveEx(queue, buffer, room, ticks, __FILE__, __LINE__);
    if (size < 0) return std::nullopt;
    return std::string(buffer, static_cast<size_t>(size));
}

/// The same for messages of a fixed type.
template <class Message>
bool SendThing(uint32_t queue, const Message& message, int ticks = -1) {
    return bep_msgQSendEx(queue, reinterpret_cast<const char*>(&message), sizeof(message), ticks, 1, __FILE__,
                          __LINE__) == 0;
}
template <class Message>
bool ReceiveThing(uint32_t queue, Message* message, int ticks = -1) {
    return bep_msgQReceiveEx(queue, reinterpret_cast<char*>(message), sizeof(*message), ticks, __FILE__,
                             __LINE__) == static_cast<int>(sizeof(*message));
}

inline int TakeSemaphore(uint32_t semaphore, int ticks = -1) {
    return bep_semTakeEx(semaphore, ticks, __FILE__, __LINE__);
}
inline int GiveSemaphore(uint32_t semaphore) {
    return bep_semGiveEx(semaphore, __FILE__, __LINE__);
}

inline int Sleep(time_t seconds, long nanoseconds = 0) {
    const timespec duration{seconds, nanoseconds};
    return nanosleep(&duration, nullptr);
}

/// Seconds on the monotonic clock.
inline double Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

#endif
