/// The management information base (MIB) of a simulated ONU.
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

/// Managed entities with their attributes, ordered by class and instance. The first one is ONU data, which
/// holds the MIB data sync counter.
///
/// Operations return the OMCI result. A successful change increments the counter. There is no lock: one task
/// at a time.
class OnuMib {
public:
    /// The instance of the first Ethernet port. The others follow.
    static constexpr std::uint16_t kFirstPort = 0x0101;
    static constexpr unsigned int kMostPorts = 64;

    /// The attributes of one request and the buffer for their values.
    struct Attributes {
        std::uint16_t mask;
        char* values;
        std::size_t room;          ///< size of `values` in bytes
        std::uint16_t unknown = 0; ///< out: the attributes in `mask` that the class does not have
        std::uint16_t failed = 0;  ///< out: the attributes in `mask` that could not be read or set
    };

    /// Makes the MIB of an ONU with `ports` Ethernet ports, 1 to 64.
    OnuMib(const SerialNumber& serial, unsigned int ports);

    /// Returns to the entities that the ONU creates by itself, with a data sync counter of 0.
    void Reset();

    /// Creates an entity. `values` holds the set-by-create attributes of the class, in order.
    OmciResult Create(MeId me, const char* values);
    OmciResult Delete(MeId me);
    /// Sets all attributes in the mask or, if the result is not kOk, none.
    OmciResult Set(MeId me, Attributes& attributes);
    /// Reads attributes, and reduces the mask to those that were read, even on kAttributesFailed.
    OmciResult Get(MeId me, Attributes& attributes) const;

    /// Returns the rows of a MIB upload.
    std::vector<MibRow> Rows() const;

    std::uint8_t DataSync() const { return static_cast<std::uint8_t>(entities.front().values.front()); }
    unsigned int Ports() const { return ports; }

private:
    struct Entity {
        MeId me;
        const MeClass* kind;
        bool of_onu; ///< created by the ONU itself; the OLT cannot delete it
        std::string values;
    };

    void Add(std::uint16_t me_class, std::uint16_t instance);
    void Put(MeId me, unsigned int attribute, const std::string& value);
    void AddSlot(std::uint16_t slot, unsigned int circuits);
    void AddPort(std::uint16_t number);
    void CountChange();
    std::vector<Entity>::const_iterator At(std::size_t index) const;
    /// Finds an entity. If it does not exist (kUnknownEntity, kUnknownInstance), `index` is its insertion
    /// point.
    OmciResult Find(MeId me, std::size_t& index) const;

    const SerialNumber serial;
    const unsigned int ports;
    std::vector<Entity> entities;
};

} // namespace olt_host

#endif
