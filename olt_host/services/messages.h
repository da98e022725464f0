/// The messages that the host's tasks send through onu_mng_module_send_msg().
#ifndef OLT_HOST_SERVICES_MESSAGES_H
#define OLT_HOST_SERVICES_MESSAGES_H

namespace olt_host {

/// The types of the service modules, and the numbers of the senders that are not modules.
enum ModuleType : unsigned int {
    kMibUploadModule = 1,
    kProvisioningModule = 2,
    kNotificationModule = 3,
    kUnclaimedModule = 4, ///< last in precedence, in replays only
    kHostModule = 10,
    kFiberModule = 11,
};

/// Message types. All except frames are addressed to one module: its type is in the low bits (`MessageFor`).
/// Their data is one byte without meaning.
enum MessageType : unsigned int {
    kMsgFrame = 0,       ///< the first 40 bytes of an OMCI frame from the ONU
    kMsgTick = 0x100,    ///< the time has advanced by one tick
    kMsgWork = 0x200,    ///< an ONU may need a procedure of the module
    kMsgBarrier = 0x300, ///< all messages queued earlier have been handled (`OmciService::Drain`)
};
constexpr unsigned int kModuleBits = 0xFF;
constexpr unsigned int kModules = 5; ///< one more than the highest module type

constexpr unsigned int MessageFor(MessageType type, unsigned int module) {
    return type | module;
}

} // namespace olt_host

#endif
