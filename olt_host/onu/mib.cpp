#include "olt_host/onu/mib.h"

#include <algorithm>
#include <utility>

namespace olt_host {

namespace {

constexpr std::uint16_t kCardholder = 5;
constexpr std::uint16_t kCircuitPack = 6;
constexpr std::uint16_t kSoftwareImage = 7;
constexpr std::uint16_t kEthernetUni = 11;
constexpr std::uint16_t kOnuG = 256;
constexpr std::uint16_t kOnu2G = 257;
constexpr std::uint16_t kTCont = 262;
constexpr std::uint16_t kAniG = 263;
constexpr std::uint16_t kUniG = 264;
constexpr std::uint16_t kPriorityQueue = 277;
constexpr std::uint16_t kTrafficScheduler = 278;

constexpr std::uint16_t kLanSlot = 0x0101;
constexpr std::uint16_t kAniSlot = 0x0180;
constexpr std::uint16_t kAni = 0x8001;
constexpr std::uint16_t kUpstream = 0x8000; ///< bit in the instances of T-CONTs, their queues and schedulers
constexpr unsigned int kQueuesPerPort = 2;

/// The place of an attribute in the values of an entity.
struct Place {
    std::uint16_t bit;
    std::size_t offset;
    std::size_t width;
};

template <typename Visit>
void ForEach(const MeClass& kind, std::uint16_t mask, Visit visit) {
    for (unsigned int index = 0; index < MeClass::kAttributes; ++index) {
        const std::uint16_t bit = AttributeBit(index);
        if ((mask & bit) != 0) visit(Place{bit, kind.OffsetOf(index), kind.widths[index]});
    }
}

constexpr std::uint16_t Without(std::uint16_t mask, std::uint16_t bits) {
    return static_cast<std::uint16_t>(mask & ~bits);
}

void AddBit(std::uint16_t& mask, std::uint16_t bit) {
    mask = static_cast<std::uint16_t>(mask | bit);
}

} // namespace

OnuMib::OnuMib(const SerialNumber& serial_number, unsigned int number_of_ports)
    : serial(serial_number), ports(number_of_ports) {
    Reset();
}

void OnuMib::Reset() {
    entities.clear();
    Add(kOnuData, 0);
    AddSlot(kLanSlot, ports);
    AddSlot(kAniSlot, 1);
    Add(kSoftwareImage, 0);
    Add(kSoftwareImage, 1);
    Add(kOnuG, 0);
    Add(kOnu2G, 0);
    Add(kAniG, kAni);
    for (unsigned int port = 0; port < ports; ++port)
        AddPort(static_cast<std::uint16_t>(port));

    const std::string sn(serial.begin(), serial.end());
    Put({kOnuG, 0}, 0, sn.substr(0, 4));
    Put({kOnuG, 0}, 2, sn);
    Put({kOnu2G, 0}, 0, "SIM-ONU");
    Put({kSoftwareImage, 0}, 0, "1.0.0");
    Put({kSoftwareImage, 0}, 1, "\x01");
}

void OnuMib::AddSlot(std::uint16_t slot, unsigned int circuits) {
    Add(kCardholder, slot);
    Add(kCircuitPack, slot);
    Put({kCircuitPack, slot}, 1, std::string(1, static_cast<char>(circuits)));
    Put({kCircuitPack, slot}, 2, std::string(serial.begin(), serial.end()));
}

/// Adds an Ethernet port with its T-CONT, traffic scheduler and priority queues.
void OnuMib::AddPort(std::uint16_t number) {
    const auto port = static_cast<std::uint16_t>(kFirstPort + number);
    const auto upstream = static_cast<std::uint16_t>(kUpstream + number);
    Add(kEthernetUni, port);
    Add(kUniG, port);
    Add(kTCont, upstream);
    Put({kTCont, upstream}, 0, "\xff\xff");
    Add(kTrafficScheduler, upstream);
    for (unsigned int queue = 0; queue < kQueuesPerPort; ++queue) {
        const unsigned int instance = number * kQueuesPerPort + queue;
        Add(kPriorityQueue, static_cast<std::uint16_t>(instance));
        Add(kPriorityQueue, static_cast<std::uint16_t>(kUpstream + instance));
    }
}

void OnuMib::Add(std::uint16_t me_class, std::uint16_t instance) {
    const MeClass* kind = FindMeClass(me_class);
    std::size_t index = 0;
    Find({me_class, instance}, index);
    entities.insert(At(index),
                    {{me_class, instance}, kind, true, std::string(kind->SizeOf(kind->Mask()), '\0')});
}

void OnuMib::Put(MeId me, unsigned int attribute, const std::string& value) {
    std::size_t index = 0;
    Find(me, index);
    Entity& entity = entities[index];
    const std::size_t size = std::min<std::size_t>(value.size(), entity.kind->widths[attribute]);
    entity.values.replace(entity.kind->OffsetOf(attribute), size, value, 0, size);
}

std::vector<OnuMib::Entity>::const_iterator OnuMib::At(std::size_t index) const {
    return entities.begin() + static_cast<std::ptrdiff_t>(index);
}

OmciResult OnuMib::Find(MeId me, std::size_t& index) const {
    const auto order = [](const Entity& entity, MeId wanted) {
        return entity.me.me_class != wanted.me_class ? entity.me.me_class < wanted.me_class
                                                     : entity.me.instance < wanted.instance;
    };
    const auto place = std::lower_bound(entities.begin(), entities.end(), me, order);
    index = static_cast<std::size_t>(place - entities.begin());
    if (place != entities.end() && place->me == me) return OmciResult::kOk;
    const MeClass* kind = FindMeClass(me.me_class);
    return kind == nullptr || kind->Mask() == 0 ? OmciResult::kUnknownEntity : OmciResult::kUnknownInstance;
}

OmciResult OnuMib::Create(MeId me, const char* values) {
    std::size_t index = 0;
    const OmciResult found = Find(me, index);
    if (found == OmciResult::kOk) return OmciResult::kInstanceExists;
    if (found == OmciResult::kUnknownEntity) return found;
    const MeClass* kind = FindMeClass(me.me_class);
    if (kind->set_by_create == 0) return OmciResult::kNotSupported;

    Entity entity{me, kind, false, std::string(kind->SizeOf(kind->Mask()), '\0')};
    const char* next = values;
    ForEach(*kind, kind->set_by_create, [&](const Place& place) {
        entity.values.replace(place.offset, place.width, next, place.width);
        next += place.width;
    });
    entities.insert(At(index), std::move(entity));
    CountChange();
    return OmciResult::kOk;
}

OmciResult OnuMib::Delete(MeId me) {
    std::size_t index = 0;
    const OmciResult found = Find(me, index);
    if (found != OmciResult::kOk) return found;
    if (entities[index].of_onu) return OmciResult::kNotSupported;
    entities.erase(At(index));
    CountChange();
    return OmciResult::kOk;
}

OmciResult OnuMib::Set(MeId me, Attributes& attributes) {
    std::size_t index = 0;
    const OmciResult found = Find(me, index);
    if (found != OmciResult::kOk) return found;
    const MeClass& kind = *entities[index].kind;
    attributes.unknown = Without(attributes.mask, kind.Mask());
    attributes.failed = Without(attributes.mask & kind.Mask(), kind.writable);
    if (attributes.unknown != 0 || attributes.failed != 0) return OmciResult::kAttributesFailed;
    if (kind.SizeOf(attributes.mask) > attributes.room) return OmciResult::kParameterError;

    std::string& stored = entities[index].values;
    const char* value = attributes.values;
    ForEach(kind, attributes.mask, [&](const Place& place) {
        stored.replace(place.offset, place.width, value, place.width);
        value += place.width;
    });
    if (me != kMib) CountChange(); // setting ONU data sets the counter itself
    return OmciResult::kOk;
}

OmciResult OnuMib::Get(MeId me, Attributes& attributes) const {
    std::size_t index = 0;
    const OmciResult found = Find(me, index);
    if (found != OmciResult::kOk) {
        attributes.mask = 0;
        return found;
    }
    const MeClass& kind = *entities[index].kind;
    const std::string& stored = entities[index].values;
    attributes.unknown = Without(attributes.mask, kind.Mask());
    attributes.mask = attributes.mask & kind.Mask();
    std::size_t used = 0;
    ForEach(kind, attributes.mask, [&](const Place& place) {
        if (used + place.width > attributes.room) return AddBit(attributes.failed, place.bit);
        used += stored.copy(attributes.values + used, place.width, place.offset);
    });
    attributes.mask = Without(attributes.mask, attributes.failed);
    return attributes.unknown == 0 && attributes.failed == 0 ? OmciResult::kOk
                                                             : OmciResult::kAttributesFailed;
}

std::vector<MibRow> OnuMib::Rows() const {
    std::vector<MibRow> rows;
    for (const Entity& entity : entities) {
        std::size_t used = MibRow::kValues; // full, so the first attribute starts a row
        ForEach(*entity.kind, entity.kind->Mask(), [&](const Place& place) {
            if (used + place.width > MibRow::kValues) {
                rows.emplace_back();
                rows.back().me = entity.me;
                used = 0;
            }
            AddBit(rows.back().mask, place.bit);
            used += entity.values.copy(rows.back().values.data() + used, place.width, place.offset);
        });
    }
    return rows;
}

void OnuMib::CountChange() {
    char& counter = entities.front().values.front();
    counter = counter == '\xff' ? '\x01' : static_cast<char>(counter + 1);
}

} // namespace olt_host
