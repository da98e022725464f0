// Message queues. bep.h has the contract of each function. The comments here are about common mistakes.
#include "onu_mng_platform/bep.h"

extern "C" uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int /*options*/, const char* /*file*/,
                                     int /*line*/) {
    if (max_msgs <= 0 || msg_size <= 0) return 0;
    // Reserve all memory now: a send cannot report later that memory is short. Compose the id of the index of
    // a slot and a number that changes each time the slot is reused, so that a stale id is recognised.
    return 0;
}

extern "C" int bep_msgQSendEx(uint32_t /*queue_id*/, const char* buf, unsigned int len, int /*ticks*/,
                              int /*priority*/, const char* /*file*/, int /*line*/) {
    if (buf == nullptr || len == 0) return -1;
    // Compute the deadline once. This is an end point only if the caller has to wait.
    return -1;
}

extern "C" int bep_msgQReceiveEx(uint32_t /*queue_id*/, char* buf, unsigned int len, int /*ticks*/,
                                 const char* /*file*/, int /*line*/) {
    // This is an end point even if a message is there. If the queue is deleted, the task stays here until it
    // is ended: services call this in a loop, which would otherwise spin. If a receiver is woken for a
    // message but times out or is ended at the same moment, it must wake the next receiver.
    if (buf == nullptr || len == 0) return -1;
    return -1;
}

extern "C" int bep_msgQNumMsgsEx(uint32_t /*queue_id*/) {
    return 0;
}

extern "C" int bep_msgQDeleteEx(uint32_t /*queue_id*/) {
    return -1;
}
