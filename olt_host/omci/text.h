/// Readable text for OMCI frames.
#ifndef OLT_HOST_OMCI_TEXT_H
#define OLT_HOST_OMCI_TEXT_H

#include <string>

#include "olt_host/omci/frame.h"

namespace olt_host {

/// Returns "MIB upload next", or "type 30" for a number without a name.
std::string TypeName(OmciType type);
/// Returns "unknown instance", or "result 8".
std::string ResultName(OmciResult result);
/// Returns a name such as "GEM port network CTP(268) 0x0106".
std::string MeName(MeId me);
/// Returns a name such as "get request" or "alarm notification".
std::string FrameName(FrameKind kind, OmciType type);
/// Returns a name such as "wrong MIC".
const char* FaultName(FrameFault fault);

/// Describes a frame in one line without a line end: its kind and type, its transaction id, its entity, its
/// result and the first fields of its contents.
std::string Describe(const OmciFrame& frame);

} // namespace olt_host

#endif
