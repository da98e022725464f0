/// Identifies an ONU of this host.
#ifndef OLT_HOST_ONU_ONU_KEY_H
#define OLT_HOST_ONU_ONU_KEY_H

#include <array>

#include "onu_mng_lib/onu_mng_common/variant_util.h"

namespace olt_host {

/// The PON and the ONU number as messages carry them. Both start at 1.
struct OnuKey {
    unsigned short pon_no;
    unsigned short onu_id;
};
constexpr bool operator==(OnuKey a, OnuKey b) {
    return a.pon_no == b.pon_no && a.onu_id == b.onu_id;
}

/// 4 characters of the vendor id, then 4 bytes that the vendor assigns.
using SerialNumber = std::array<char, 8>;

/// Returns the serial number of this host's simulated ONU with these numbers.
inline SerialNumber SerialOf(OnuKey onu) {
    SerialNumber serial{'S', 'I', 'M', 'U'};
    VariantUtil::SetUshort(&serial[4], onu.pon_no);
    VariantUtil::SetUshort(&serial[6], onu.onu_id);
    return serial;
}

} // namespace olt_host

#endif
