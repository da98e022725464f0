#include "onu_mng_lib/onu_mng_common/msg_queue.h"

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/ticks.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/ulog.h"

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

unsigned int Fail(int level, const char* text) {
    ulogPrintf(onu_mng_system_get_log_module(), level, "%s", text);
    return ONU_MNG_FAILURE;
}

} // namespace

MessageQueue::~MessageQueue() {
    if (queue_id != 0) bep_msgQDeleteEx(queue_id);
}

unsigned int MessageQueue::Init(int max_msgs, int msg_size) {
    queue_id = bep_msgQCreateEx(max_msgs, msg_size, kQueueOptions, __FILE__, __LINE__);
    return queue_id == 0 ? Fail(ONU_MNG_LOG_ERROR, "msgQCreate failed\r\n") : ONU_MNG_OK;
}

unsigned int MessageQueue::SendMsg(char* buf, unsigned int len, int timeout) {
    if (buf == nullptr || len == 0) return Fail(ONU_MNG_LOG_ERROR, "MsgSend input is NULL\r\n");
    if (bep_msgQSendEx(queue_id, buf, len, SendTicks(timeout), kSendPriority, __FILE__, __LINE__) != 0)
        return Fail(ONU_MNG_LOG_SEND, "msgQSend failed\r\n");
    return ONU_MNG_OK;
}

unsigned int MessageQueue::RecvMsg(char* buf, unsigned int len, int timeout) {
    if (buf == nullptr || len == 0) return Fail(ONU_MNG_LOG_ERROR, "MsgRecv input is NULL\r\n");
    const int received = bep_msgQReceiveEx(queue_id, buf, len, ReceiveTicks(timeout), __FILE__, __LINE__);
    if (received >= 0) return static_cast<unsigned int>(received);
    Fail(ONU_MNG_LOG_ERROR, "msgQReceive failed\r\n");
    return 0;
}

int MessageQueue::GetMsgNum() const {
    return bep_msgQNumMsgsEx(queue_id);
}
