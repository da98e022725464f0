/// A platform message queue behind an object.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_MSG_QUEUE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_MSG_QUEUE_H

#include <atomic>
#include <cstdint>

/// A bounded queue of messages, first in first out, copied in and out.
///
/// Time-outs are in seconds: a positive number waits at most that long (spans beyond the platform's ticks are
/// cut to them), 0 and -2 do not wait, -1 waits without limit. Any number of tasks may send and receive.
///
/// The compiler fills in `file` and `line`, the place of the call, for the diagnostics of the platform.
class MessageQueue {
public:
    /// An object without a queue.
    MessageQueue() = default;
    /// Deletes the queue and the messages in it.
    ~MessageQueue();
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    /// Creates a queue for `max_msgs` messages of at most `msg_size` bytes. Called once per object.
    /// @return 0; 0x800001f5 when the platform has none to give, after one level-13 line.
    unsigned int Init(int max_msgs, int msg_size);

    /// Appends the `len` bytes at `buf`. Any other negative `timeout` than -1 does not wait.
    /// @return 0; 0x800001f5 for a null `buf` or a `len` of 0 (one level-13 line), and when the queue stayed
    ///         full or refused the message (one level-11 line).
    unsigned int SendMsg(char* buf, unsigned int len, int timeout, const char* file = __builtin_FILE(),
                         int line = __builtin_LINE());

    /// Removes the oldest message and copies at most `len` bytes of it to `buf`. Any other negative `timeout`
    /// than -2 waits without limit.
    /// @return the number of bytes; 0 when none came or the queue refused (one level-13 line); 0x800001f5 for
    ///         a null `buf` or a `len` of 0 (one level-13 line).
    unsigned int RecvMsg(char* buf, unsigned int len, int timeout, const char* file = __builtin_FILE(),
                         int line = __builtin_LINE());

    /// The number of messages waiting; 0 without a queue.
    int GetMsgNum() const;

    /// The platform's queue id; 0 without a queue.
    std::uint32_t GetQueueId() const { return queue_id; }

private:
    std::atomic<std::uint32_t> queue_id{0}; ///< read by senders and reports while `Init` writes it
};

#endif
