/// Looking at what goes over the PONs.
#ifndef OLT_HOST_ONU_WIRE_TAP_H
#define OLT_HOST_ONU_WIRE_TAP_H

#include "olt_host/omci/frame.h"
#include "olt_host/onu/onu_key.h"

namespace olt_host {

/// Sees what the OLT sends and receives. It does not wait: the tasks that carry frames call it.
class WireTap {
public:
    virtual ~WireTap() = default;
    /// The OLT sends a frame, which may still be lost. In the sender's task.
    virtual void OnSend(OnuKey, const OmciFrame&) {}
    /// A frame with a right MIC reaches the OLT. In the fiber's task.
    virtual void OnReceive(OnuKey, const OmciFrame&) {}
};

} // namespace olt_host

#endif
