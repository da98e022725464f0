/// Observes the frames on the PONs.
#ifndef OLT_HOST_ONU_WIRE_TAP_H
#define OLT_HOST_ONU_WIRE_TAP_H

#include "olt_host/omci/frame.h"
#include "olt_host/onu/onu_key.h"

namespace olt_host {

/// Sees the frames that the OLT sends and receives. Implementations must not block, because the tasks that
/// carry frames call them.
class WireTap {
public:
    virtual ~WireTap() = default;
    /// Called in the sender's task when the OLT sends a frame, which may still get lost.
    virtual void OnSend(OnuKey, const OmciFrame&) {}
    /// Called in the fiber's task when a frame with a correct MIC has reached the OLT.
    virtual void OnReceive(OnuKey, const OmciFrame&) {}
};

} // namespace olt_host

#endif
