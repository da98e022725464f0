/// A message queue of the platform as an object.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_MSG_QUEUE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_MSG_QUEUE_H

#include <atomic>
#include <cstdint>

/// A bounded queue of messages, first in first out, copied in and out.
///
/// Time-outs are in seconds. A positive number waits at most that long; it is cut to the largest number of
/// ticks that the platform can count. 0 and -2 do not wait. -1 waits without limit.
///
/// The compiler fills in `file` and `line`: the place of the call, for the diagnostics of the platform.
///
/// Thread safety: any number of tasks may send and receive at once.
class MessageQueue {
public:
    /// Makes an object without a queue.
    MessageQueue() = default;
    /// Deletes the queue and the messages in it.
    ~MessageQueue();
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    /// Creates a queue for `max_msgs` messages of at most `msg_size` bytes. Call it once.
    /// @return 0; 0x800001f5, after one level-13 line, if the platform cannot create it.
    [[nodiscard]] unsigned int Init(int max_msgs, int msg_size);

    /// Appends the `len` bytes at `buf` as one message. Waits at most `timeout` while the queue is full; any
    /// negative `timeout` other than -1 does not wait.
    /// @return 0; 0x800001f5 if `buf` is null or `len` is 0 (one level-13 line), and if the queue stayed full
    ///         or the platform refused the message (one level-11 line).
    [[nodiscard]] unsigned int SendMsg(char* buf, unsigned int len, int timeout,
                                       const char* file = __builtin_FILE(), int line = __builtin_LINE());

    /// Removes the oldest message and copies at most `len` bytes of it to `buf`. Waits at most `timeout`
    /// while the queue is empty; any negative `timeout` other than -2 waits without limit.
    /// @return the number of bytes; 0 if no message came or the platform refused (one level-13 line);
    ///         0x800001f5 if `buf` is null or `len` is 0 (one level-13 line).
    [[nodiscard]] unsigned int RecvMsg(char* buf, unsigned int len, int timeout,
                                       const char* file = __builtin_FILE(), int line = __builtin_LINE());

    /// Returns the number of messages that wait; 0 without a queue.
    int GetMsgNum() const;

    /// Returns the platform's id of the queue; 0 without a queue.
    std::uint32_t GetQueueId() const { return queue_id; }

private:
    std::atomic<std::uint32_t> queue_id{0}; ///< read by senders and reports while `Init` writes it
};

#endif
