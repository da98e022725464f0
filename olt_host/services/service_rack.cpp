#include "olt_host/services/service_rack.h"

#include <cstring>
#include <limits>

#include "olt_host/onu/onu_key.h"
#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_module_cplus_interface.h"
#include "onu_mng_lib/onu_mng_system.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"

namespace olt_host {

namespace {

constexpr unsigned int kLogModule = 1;

bool IsKnown(unsigned int pon_no, unsigned int onu_id) {
    const OnuMngInterface* counts = OnuMngInterface::GetInstance();
    return pon_no >= 1 && pon_no <= counts->pon_num && onu_id >= 1 && onu_id <= counts->onu_num;
}

SerialNumber SerialOf(unsigned int pon_no, unsigned int onu_id) {
    return olt_host::SerialOf({static_cast<unsigned short>(pon_no), static_cast<unsigned short>(onu_id)});
}

int OnuIdToSn(unsigned int pon_no, unsigned char onu_id, unsigned char* sn, unsigned int sn_len) {
    const SerialNumber serial = SerialOf(pon_no, onu_id);
    if (!IsKnown(pon_no, onu_id) || sn_len < serial.size()) return 1;
    std::memcpy(sn, serial.data(), serial.size());
    return 0;
}

int OnuSnToId(unsigned int pon_no, const unsigned char* sn, unsigned char* onu_id) {
    for (unsigned int id = 1; id <= std::numeric_limits<unsigned char>::max(); ++id) {
        const SerialNumber serial = SerialOf(pon_no, id);
        if (!IsKnown(pon_no, id) || std::memcmp(sn, serial.data(), serial.size()) != 0) continue;
        *onu_id = static_cast<unsigned char>(id);
        return 0;
    }
    return 1;
}

} // namespace

// The log module comes first, because traces may be set up before the services start.
ServiceRack::ServiceRack() {
    onu_mng_system_reg_log_module(kLogModule);
}

// All tasks must have ended before the first service is deleted, because services send messages to each
// other.
ServiceRack::~ServiceRack() {
    for (OmciService* service : services)
        service->Stop();
    for (OmciService* service : services)
        ModuleManager::GetInstance()->RemoveModule(service->mod_type);
}

bool ServiceRack::Initialise(unsigned int pons, unsigned int onus, unsigned int supervision_s) {
    onu_mng_system_reg_cli_node(kCliNode);
    onu_mng_system_set_pon_onu_num(pons, onus);
    onu_mng_system_reg_onu_id_to_onu_sn_handle(OnuIdToSn);
    onu_mng_system_reg_onu_sn_to_onu_id_handle(OnuSnToId);
    if (onu_mng_system_init() != ONU_MNG_OK) return false;
    StateContextManager::GetInstance()->interval_run_time = supervision_s;
    return true;
}

bool ServiceRack::Add(std::unique_ptr<OmciService> service) {
    services.reserve(services.size() + 1);
    if (onu_mng_module_reg_service_module(service.get()) != ONU_MNG_OK) return false;
    services.push_back(service.release());
    return true;
}

bool ServiceRack::Start() {
    onu_mng_init_cli_cmd();
    onu_mng_cli_install_element();
    return onu_mng_system_start() == ONU_MNG_OK;
}

} // namespace olt_host
