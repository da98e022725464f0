#include <cstring>
#include <exception>
#include <limits>
#include <new>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr int kTimeoutForEver = -1;
constexpr int kTimeoutNone = -2;

/// A failed receive is repeated at once. After this many failures in a row it is repeated once a second, so
/// that a broken queue does not use up the processor or flood the log.
constexpr unsigned int kPromptRetries = 3;
constexpr int kSlowRetryMs = 1000;

void FreePacket(MessagePacket* packet) {
    MemoryAllocator::GetInstance()->MemFree(packet, 0, __FILE__, __func__, __LINE__);
}

/// Owns a packet and returns it to the pool, even if the task is deleted while it handles the packet.
class OwnedPacket {
public:
    explicit OwnedPacket(MessagePacket* owned) : packet(owned) {}
    ~OwnedPacket() {
        if (packet != nullptr) FreePacket(packet);
    }
    OwnedPacket(const OwnedPacket&) = delete;
    OwnedPacket& operator=(const OwnedPacket&) = delete;

    MessagePacket* Get() const { return packet; }
    void Release() { packet = nullptr; }

private:
    MessagePacket* packet;
};

/// Returns a packet with a copy of the payload; null if the pool has no block of that size.
MessagePacket* NewPacket(unsigned int msg_type, unsigned short pon_no, unsigned short onu_id,
                         const char* data, unsigned int pkg_size) {
    if (pkg_size > std::numeric_limits<unsigned int>::max() - sizeof(MessagePacket)) return nullptr;
    const unsigned int size = pkg_size + static_cast<unsigned int>(sizeof(MessagePacket));
    void* block = MemoryAllocator::GetInstance()->MemAllocUnfilled(size, size, __FILE__, __func__, __LINE__);
    if (block == nullptr) return nullptr;
    auto* packet = new (block) MessagePacket{msg_type, pon_no, onu_id, pkg_size};
    bep_memCpyEx(packet->Payload(), data, pkg_size);
    return packet;
}

/// Logs an exception from a handler. Only the current message is lost, and the task continues.
void LogException(const std::string& mod_name, const char* what) {
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "%s handle msg ended by an exception: %s\r\n", mod_name.c_str(), what);
}

} // namespace

ServiceModule::ServiceModule(unsigned int type, const char* name, unsigned int priority,
                             unsigned int message_priority, unsigned int queue_length, unsigned int stack)
    : Module(type, priority), msg_pri(message_priority), msg_num(queue_length),
      msg_size(sizeof(MessagePacket*)), stack_size(stack) {
    try {
        if (name != nullptr) mod_name = name;
    } catch (const std::bad_alloc&) {
        LogFailure("no memory for the module's name\r\n");
    }
}

// Protected, because the receives in DrainQueue() are end points: a deletion of the calling task would cut
// the destructor short.
ServiceModule::~ServiceModule() {
    EndTask();
    bep_taskSafeEx();
    DrainQueue();
    bep_taskUnsafeEx();
}

unsigned int ServiceModule::InitModule() {
    const char* failure = nullptr;
    {
        LockGuard guard(lock);
        if (is_init) return ONU_MNG_OK;
        // The queue is created last, so no later failure has to delete it again.
        if (!Thread::Init(mod_name.c_str(), mod_pri, stack_size))
            failure = "no memory for the module's task\r\n";
        else if (msg_queue.Init(static_cast<int>(msg_num), static_cast<int>(msg_size)) != ONU_MNG_OK)
            failure = "msgQueue Init failed\r\n";
        is_init = failure == nullptr;
    }
    if (failure != nullptr) return LogFailure(failure);
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_START, "Init module %s succeeded\r\n",
               mod_name.c_str());
    return ONU_MNG_OK;
}

unsigned int ServiceModule::StartModule() {
    bool done = false;
    {
        LockGuard guard(lock);
        if (is_start) return ONU_MNG_OK;
        done = Thread::Start();
        is_start = done;
    }
    if (!done) return LogFailure("start failed\r\n");
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_START, "Start module %s succeeded\r\n",
               mod_name.c_str());
    return ONU_MNG_OK;
}

unsigned int ServiceModule::SendMsg(unsigned int msg_type, MsgSyncProcType sync_type, unsigned short pon_no,
                                    unsigned short onu_id, char* data, unsigned int pkg_size) {
    if (data == nullptr || pkg_size == 0) return LogFailure("ServiceModule::SendMsg input is NULL\r\n");
    if (sync_type != MSG_PROC_ASYNC) return HandleMsg(msg_type, pon_no, onu_id, data, pkg_size);

    OwnedPacket packet(NewPacket(msg_type, pon_no, onu_id, data, pkg_size));
    if (packet.Get() == nullptr) return LogFailure("new MessagePacket failed\r\n");
    MessagePacket* address = packet.Get();
    const unsigned int ret = SendMsg(reinterpret_cast<char*>(&address), msg_size);
    if (ret == ONU_MNG_OK) {
        packet.Release();
        return ONU_MNG_OK;
    }
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_SEND,
               "ServiceModule::SendMsg failed. msg_type %d, pon %d, onu %d, pkg_size %d ret 0x%x\r\n",
               static_cast<int>(msg_type), pon_no, onu_id, static_cast<int>(pkg_size), ret);
    return ONU_MNG_FAILURE;
}

unsigned int ServiceModule::SendMsg(char* buf, unsigned int len) {
    if (buf == nullptr || len == 0) return LogFailure("ServiceModule::SendMsg input is NULL\r\n");
    return msg_queue.SendMsg(buf, len, kTimeoutNone);
}

unsigned int ServiceModule::HandleMsg(char* buf, unsigned int) {
    if (buf == nullptr) return LogFailure("handle invalid msg\r\n");
    MessagePacket header;
    std::memcpy(&header, buf, sizeof header);
    return HandleMsg(header.msg_type, header.pon_no, header.onu_id, buf + sizeof header, header.pkg_size);
}

MessagePacket* ServiceModule::ReceivePacket(unsigned int& failures) {
    MessagePacket* packet = nullptr;
    const unsigned int size = msg_queue.RecvMsg(reinterpret_cast<char*>(&packet), msg_size, kTimeoutForEver);
    if (size == 0) {
        if (++failures >= kPromptRetries) Clock::Delay(kSlowRetryMs);
        return nullptr;
    }
    failures = 0;
    if (size == msg_size && packet != nullptr) return packet;
    LogFailure("msgRecv invalid MessagePacket\r\n");
    return nullptr;
}

void ServiceModule::Run() {
    for (unsigned int failures = 0;;) {
        const OwnedPacket packet(ReceivePacket(failures));
        if (packet.Get() == nullptr) continue;
        try {
            if (HandleMsg(reinterpret_cast<char*>(packet.Get()), msg_size) == ONU_MNG_OK) continue;
            ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_WARNING, "%s handle msg failed\r\n",
                       mod_name.c_str());
        } catch (const std::exception& error) {
            LogException(mod_name, error.what());
        } catch (...) {
            bep_passTaskEnd();
            LogException(mod_name, kUnknownException);
        }
    }
}

void ServiceModule::DrainQueue() {
    // A failed receive is repeated, but only a few times.
    for (int left = msg_queue.GetMsgNum() + static_cast<int>(kPromptRetries);
         left > 0 && msg_queue.GetMsgNum() > 0; --left) {
        MessagePacket* packet = nullptr;
        const unsigned int size = msg_queue.RecvMsg(reinterpret_cast<char*>(&packet), msg_size, kTimeoutNone);
        if (size == msg_size && packet != nullptr) FreePacket(packet);
    }
}

unsigned int ServiceModule::HandleMsg(unsigned int, unsigned short, unsigned short, char*, unsigned int) {
    return ONU_MNG_OK;
}

bool ServiceModule::Match(unsigned int, unsigned int, unsigned short, unsigned short, char*, unsigned int,
                          MsgSyncProcType&) {
    return false;
}
