/// The managed entities of a simulated ONU.
#ifndef OLT_HOST_ONU_MIB_H
#define OLT_HOST_ONU_MIB_H

#include <cstdint>
#include <string>
#include <vector>

#include "olt_host/omci/frame.h"
#include "olt_host/omci/me_class.h"
#include "olt_host/onu/mib_row.h"
#include "olt_host/onu/onu_key.h"

namespace olt_host {

/// Entities with their attributes, ordered by class and instance. The first is ONU data, which holds the data
/// sync counter.
///
/// Changes answer with OMCI's own results and raise the counter where they succeed. No lock: one task at a
/// time.
class OnuMib {
public:
    /// The first Ethernet port; the others follow.
    static constexpr std::uint16_t kFirstPort = 0x0101;
    static constexpr unsigned int kMostPorts = 64;

    /// The attributes of one request: which, and room for their values.
    struct Attributes {
        std::uint16_t mask;
        char* values;
        std::size_t room;
        std::uint16_t unknown = 0; ///< out: of `mask`, those that the class does not have
        std::uint16_t failed = 0;  ///< out: of `mask`, those that could not be read or set
    };

    /// The MIB of an ONU with 1 to 64 Ethernet ports.
    OnuMib(const SerialNumber& serial, unsigned int ports);

    /// Back to the entities that the ONU creates by itself; data sync 0.
    void Reset();

    /// `values` are the attributes that the class sets by create, in order.
    OmciResult Create(MeId me, const char* values);
    OmciResult Delete(MeId me);
    /// On kAttributesFailed nothing was set.
    OmciResult Set(MeId me, Attributes& attributes);
    /// Leaves in the mask what was read, also on kAttributesFailed.
    OmciResult Get(MeId me, Attributes& attributes) const;

    /// What a MIB upload gives.
    std::vector<MibRow> Rows() const;

    std::uint8_t DataSync() const { return static_cast<std::uint8_t>(entities.front().values.front()); }
    unsigned int Ports() const { return ports; }

private:
    struct Entity {
        MeId me;
        const MeClass* kind;
        bool of_onu; ///< created by the ONU itself
        std::string values;
    };

    void Add(std::uint16_t me_class, std::uint16_t instance);
    void Put(MeId me, unsigned int attribute, const std::string& value);
    void AddSlot(std::uint16_t slot, unsigned int circuits);
    void AddPort(std::uint16_t number);
    void CountChange();
    std::vector<Entity>::const_iterator At(std::size_t index) const;
    /// kOk with the index of the entity; kUnknownEntity or kUnknownInstance with the index it would have.
    OmciResult Find(MeId me, std::size_t& index) const;

    const SerialNumber serial;
    const unsigned int ports;
    std::vector<Entity> entities;
};

} // namespace olt_host

#endif
