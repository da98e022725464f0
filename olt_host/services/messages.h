/// What the host's tasks send each other through onu_mng_module_send_msg().
#ifndef OLT_HOST_SERVICES_MESSAGES_H
#define OLT_HOST_SERVICES_MESSAGES_H

namespace olt_host {

/// The types of the service modules, and the numbers of the other senders.
enum ModuleType : unsigned int {
    kMibUploadModule = 1,
    kProvisioningModule = 2,
    kNotificationModule = 3,
    kUnclaimedModule = 4, ///< in replays, behind all others
    kHostModule = 10,
    kFiberModule = 11,
};

/// Message types. But for frames, each is for one module and carries that module's type in its low bits.
enum MessageType : unsigned int {
    kMsgFrame = 0,       ///< an OMCI frame from the ONU; its first 40 bytes
    kMsgTick = 0x100,    ///< time has gone on; any byte
    kMsgWork = 0x200,    ///< an ONU may need a procedure of the module; any byte
    kMsgBarrier = 0x300, ///< everything queued before has been handled; any byte
};
constexpr unsigned int kModuleBits = 0xFF;
constexpr unsigned int kModules = 5; ///< one more than the highest module type

constexpr unsigned int MessageFor(MessageType type, unsigned int module) {
    return type | module;
}

} // namespace olt_host

#endif
