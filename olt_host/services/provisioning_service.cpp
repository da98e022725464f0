#include "olt_host/services/provisioning_service.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "onu_mng_lib/onu_mng_common/variant_util.h"

namespace olt_host {

namespace {

/// One attribute of a planned request.
struct Attribute {
    unsigned char width; ///< in bytes: 1 or 2; 0 if there is no such attribute
    std::uint16_t number;
    bool of_onu = false; ///< the ONU id is added, because the ONUs of a PON need different numbers
};

struct Planned {
    OmciType type;
    MeId me;
    std::uint16_t mask; ///< 0 for create
    std::array<Attribute, 8> attributes;
};

constexpr std::uint16_t kTCont = 0x8000;
constexpr std::uint16_t kGem = 1;
constexpr std::uint16_t kBridge = 1;
constexpr std::uint16_t kFirstPort = 0x0101;
constexpr Attribute kGemPort{2, 0x0400, true};
constexpr Attribute kAllocId{2, 0x0100, true};
constexpr Attribute kNull{2, 0xFFFF};

/// A bridge between the first Ethernet port and one GEM port. Entities are created before others point to
/// them.
constexpr Planned kPlan[] = {
    {OmciType::kCreate, {272, 1}, 0, {{{2, 1500}}}},
    {OmciType::kCreate,
     {45, kBridge},
     0,
     {{{1, 0}, {1, 1}, {1, 1}, {2, 0x8000}, {2, 0x1400}, {2, 0x0200}, {2, 0x0F00}}}},
    {OmciType::kCreate, {268, kGem}, 0, {{kGemPort, {2, kTCont}, {1, 3}, {2, kTCont}, kNull}}},
    {OmciType::kCreate, {266, kGem}, 0, {{{2, kGem}, {1, 1}, {2, kBridge}, kNull, {2, 1}}}},
    {OmciType::kCreate, {47, 1}, 0, {{{2, kBridge}, {1, 1}, {1, 5}, {2, kGem}, {2, 0}, {2, 1}}}},
    {OmciType::kCreate, {47, 2}, 0, {{{2, kBridge}, {1, 2}, {1, 1}, {2, kFirstPort}, {2, 0}, {2, 1}}}},
    {OmciType::kSet, {262, kTCont}, 0x8000, {{kAllocId}}},
    {OmciType::kSet, {11, kFirstPort}, 0x0800, {{{1, 0}}}},
    {OmciType::kGet, {268, kGem}, 0xE000, {{kGemPort, {2, kTCont}, {1, 3}}}},
    {OmciType::kGet, {262, kTCont}, 0x8000, {{kAllocId}}},
};

constexpr unsigned int kMostValues = 2 * 8;

/// Writes the attributes of a planned request for an ONU. @return their size in bytes.
unsigned int WriteValues(const Planned& planned, unsigned short onu_id, char* out) {
    unsigned int size = 0;
    for (const Attribute& attribute : planned.attributes) {
        const auto number = static_cast<std::uint16_t>(attribute.number + (attribute.of_onu ? onu_id : 0));
        if (attribute.width == 1) out[size] = static_cast<char>(number);
        if (attribute.width == 2) VariantUtil::SetUshort(out + size, number);
        size += attribute.width;
    }
    return size;
}

} // namespace

Provisioning::Provisioning(const ServiceGround& service_ground)
    : Procedure(kProvisioningModule, service_ground) {
    constexpr std::pair<State, const char*> kStates[] = {{kCreate, "CREATE"}, {kSet, "SET"}, {kGet, "GET"}};
    for (const auto& [state, name] : kStates)
        AddState(std::make_unique<Step<Provisioning>>(state, ground.times.limit_s, &Provisioning::AskPlanned,
                                                      &Provisioning::TakePlanned),
                 name);
}

unsigned int Provisioning::Prepare() {
    planned = 0;
    changes = 0;
    return NextState();
}

unsigned int Provisioning::NextState() const {
    if (planned == std::size(kPlan)) return STATE_SUCC;
    switch (kPlan[planned].type) {
    case OmciType::kCreate:
        return kCreate;
    case OmciType::kSet:
        return kSet;
    default:
        return kGet;
    }
}

OmciFrame Provisioning::AskPlanned() const {
    const Planned& next = kPlan[planned];
    OmciFrame request = OmciFrame::Request(next.type, next.me);
    if (next.mask != 0) request.Set(9, next.mask);
    if (next.type != OmciType::kGet) WriteValues(next, onu_id, request.At(next.mask == 0 ? 9 : 11));
    return request;
}

unsigned int Provisioning::TakePlanned(const OmciFrame& answer) {
    const Planned& done = kPlan[planned];
    if (answer.Result() != OmciResult::kOk) return Fail(OnuFailure::kRefused);
    if (done.type == OmciType::kGet) {
        char wanted[kMostValues];
        const unsigned int size = WriteValues(done, onu_id, wanted);
        if (!std::equal(wanted, wanted + size, answer.At(12))) return Fail(OnuFailure::kDataSync);
    } else {
        ++changes;
    }
    ++planned;
    return NextState();
}

ProvisioningService::ProvisioningService(const ServiceGround& service_ground)
    : OmciService(kProvisioningModule, "Provisioning", service_ground) {
    const unsigned int count = std::min(ground.window, ground.table.Size());
    for (unsigned int made = 0; made < count; ++made)
        AddProcedure(std::make_unique<Provisioning>(ground));
}

bool ProvisioningService::Claims(const OmciFrame& frame) const {
    if (frame.Kind() != FrameKind::kAnswer) return false;
    switch (frame.Type()) {
    case OmciType::kCreate:
    case OmciType::kDelete:
    case OmciType::kSet:
    case OmciType::kGet:
        return true;
    default:
        return false;
    }
}

void ProvisioningService::OnEnd(Procedure& procedure) {
    const auto& provisioning = static_cast<Provisioning&>(procedure);
    ground.table.Update(procedure.index, [&](OnuStatus& status) {
        NoteEnd(procedure, OnuPhase::kProvisioned, status);
        status.data_sync = provisioning.changes;
    });
    if (procedure.succeeded) Tell(kMibUploadModule);
}

} // namespace olt_host
