#include "onu_mng_lib/onu_mng_common/msg_queue.h"

#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/ticks.h"
#include "onu_mng_platform/bep.h"

namespace {

constexpr int kQueueOptions = 0;
constexpr int kSendPriority = 1;
constexpr int kTimeoutForEver = -1;
constexpr int kTimeoutNone = -2;

int SendTicks(int timeout) {
    if (timeout == kTimeoutForEver) return kWaitForEver;
    return timeout <= 0 ? kNoWait : TicksOfSeconds(timeout);
}

int ReceiveTicks(int timeout) {
    if (timeout == kTimeoutForEver) return kWaitForEver;
    return timeout == kTimeoutNone ? kNoWait : TicksOfSeconds(timeout);
}

} // namespace

MessageQueue::~MessageQueue() {
    if (queue_id != 0) bep_msgQDeleteEx(queue_id);
}

unsigned int MessageQueue::Init(int max_msgs, int msg_size) {
    queue_id = bep_msgQCreateEx(max_msgs, msg_size, kQueueOptions, __FILE__, __LINE__);
    return queue_id == 0 ? LogFailure("msgQCreate failed\r\n") : ONU_MNG_OK;
}

unsigned int MessageQueue::SendMsg(char* buf, unsigned int len, int timeout, const char* file, int line) {
    if (buf == nullptr || len == 0) return LogFailure("MsgSend input is NULL\r\n");
    if (bep_msgQSendEx(queue_id, buf, len, SendTicks(timeout), kSendPriority, file, line) != 0)
        return LogFailure("msgQSend failed\r\n", ONU_MNG_LOG_SEND);
    return ONU_MNG_OK;
}

unsigned int MessageQueue::RecvMsg(char* buf, unsigned int len, int timeout, const char* file, int line) {
    if (buf == nullptr || len == 0) return LogFailure("MsgRecv input is NULL\r\n");
    const int received = bep_msgQReceiveEx(queue_id, buf, len, ReceiveTicks(timeout), file, line);
    if (received >= 0) return static_cast<unsigned int>(received);
    LogFailure("msgQReceive failed\r\n");
    return 0;
}

int MessageQueue::GetMsgNum() const {
    return bep_msgQNumMsgsEx(queue_id);
}
