// Message queues. The contract of each function stands in bep.h; here is what is easily missed.
#include "onu_mng_platform/bep.h"

extern "C" uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int /*options*/, const char* /*file*/,
                                     int /*line*/) {
    if (max_msgs <= 0 || msg_size <= 0) return 0;
    // Reserve everything now: later a send has no way to say that memory is short. Make the id of a slot and
    // of a number that changes each time the slot is used, so that an old id is told from a new one.
    return 0;
}

extern "C" int bep_msgQSendEx(uint32_t /*queue_id*/, const char* buf, unsigned int len, int /*ticks*/,
                              int /*priority*/, const char* /*file*/, int /*line*/) {
    if (buf == nullptr || len == 0) return -1;
    // Fix the deadline once. An end point, but only where it has to wait.
    return -1;
}

extern "C" int bep_msgQReceiveEx(uint32_t /*queue_id*/, char* buf, unsigned int len, int /*ticks*/,
                                 const char* /*file*/, int /*line*/) {
    // An end point at once, also when a message is there. A task whose queue is gone waits here, quietly, to
    // be ended: a service calls this in a loop, which would otherwise spin. A receiver that gives up or is
    // ended just when it was woken for a message must wake the next one.
    if (buf == nullptr || len == 0) return -1;
    return -1;
}

extern "C" int bep_msgQNumMsgsEx(uint32_t /*queue_id*/) {
    return 0;
}

extern "C" int bep_msgQDeleteEx(uint32_t /*queue_id*/) {
    return -1;
}
