#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "port.h"

using namespace threads_port;

namespace {

/// The largest queue, in bytes.
constexpr size_t kMostBytes = size_t{1} << 30;

/// A ring of messages. Takes all its memory at the start.
struct Queue {
    Queue(size_t messages, size_t size) : message_size(size), bytes(messages * size), lengths(messages) {}

    bool IsFull() const { return count == lengths.size(); }
    char* Message(size_t index) { return bytes.data() + index * message_size; }

    void Push(const char* message, size_t length) {
        const size_t last = (first + count++) % lengths.size();
        lengths[last] = length;
        std::memcpy(Message(last), message, length);
    }

    size_t Pop(char* message, size_t room) {
        const size_t length = std::min(lengths[first], room);
        std::memcpy(message, Message(first), length);
        first = (first + 1) % lengths.size();
        --count;
        return length;
    }

    const size_t message_size;
    std::vector<char> bytes;
    std::vector<size_t> lengths; ///< one for each message
    size_t first = 0;
    size_t count = 0;
    bool is_gone = false;
    std::condition_variable changed;
};

using Queues = Registry<Queue>;

} // namespace

extern "C" uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int /*options*/, const char* /*file*/,
                                     int /*line*/) {
    if (max_msgs <= 0 || msg_size <= 0) return 0;
    const auto messages = static_cast<size_t>(max_msgs), size = static_cast<size_t>(msg_size);
    if (messages > kMostBytes / size) return 0;
    const Guard guard(g_lock);
    try {
        return Queues::Instance().Add(std::make_shared<Queue>(messages, size));
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

extern "C" int bep_msgQSendEx(uint32_t queue_id, const char* buf, unsigned int len, int ticks,
                              int /*priority*/, const char* /*file*/, int /*line*/) {
    Guard guard(g_lock);
    const auto queue = Queues::Instance().Find(queue_id);
    if (queue == nullptr || buf == nullptr || len == 0 || len > queue->message_size) return -1;
    if (ticks == 0 && queue->IsFull()) return -1;
    const Deadline deadline = After(ticks);
    Thread& self = Thread::Current();
    const auto is_ready = [&] { return queue->is_gone || !queue->IsFull(); };
    if (!self.Await(guard, queue->changed, deadline, is_ready)) return -1;
    if (queue->is_gone) {
        self.AwaitEnd(guard, deadline);
        return -1;
    }
    queue->Push(buf, len);
    queue->changed.notify_all();
    return 0;
}

extern "C" int bep_msgQReceiveEx(uint32_t queue_id, char* buf, unsigned int len, int ticks,
                                 const char* /*file*/, int /*line*/) {
    if (buf == nullptr || len == 0) return -1;
    Guard guard(g_lock);
    Thread& self = Thread::Current();
    self.EndPoint(); // even if a message is there
    const Deadline deadline = After(ticks);
    const auto queue = Queues::Instance().Find(queue_id);
    if (queue == nullptr) {
        if (!deadline) self.AwaitEnd(guard, deadline);
        return -1;
    }
    const auto is_ready = [&] { return queue->is_gone || queue->count > 0; };
    if (!self.Await(guard, queue->changed, deadline, is_ready)) return -1;
    if (queue->is_gone) {
        self.AwaitEnd(guard, deadline);
        return -1;
    }
    self.EndPoint(); // a deletion may have begun during the sleep
    const size_t length = queue->Pop(buf, len);
    queue->changed.notify_all();
    return static_cast<int>(length);
}

extern "C" int bep_msgQNumMsgsEx(uint32_t queue_id) {
    const Guard guard(g_lock);
    const auto queue = Queues::Instance().Find(queue_id);
    return queue == nullptr ? 0 : static_cast<int>(queue->count);
}

extern "C" int bep_msgQDeleteEx(uint32_t queue_id) {
    const Guard guard(g_lock);
    const auto queue = Queues::Instance().Find(queue_id);
    if (queue == nullptr) return -1;
    queue->is_gone = true;
    queue->changed.notify_all();
    Queues::Instance().Remove(queue_id);
    return 0;
}
