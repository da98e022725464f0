/// The alarms of one ONU.
#ifndef OLT_HOST_ONU_ALARM_LIST_H
#define OLT_HOST_ONU_ALARM_LIST_H

#include <algorithm>
#include <array>

#include "olt_host/omci/frame.h"

namespace olt_host {

/// The managed entities of an ONU that have an active alarm. Never allocates.
class AlarmList {
public:
    static constexpr std::size_t kMost = 64; ///< further alarms are dropped

    void Set(MeId me, bool is_active) {
        MeId* const place = std::find(entities.data(), entities.data() + size, me);
        const bool is_known = place != entities.data() + size;
        if (is_active && !is_known && size < kMost) entities[size++] = me;
        if (!is_active && is_known) *place = entities[--size];
    }

    bool Has(MeId me) const { return std::find(begin(), end(), me) != end(); }
    std::size_t Size() const { return size; }
    const MeId* begin() const { return entities.data(); }
    const MeId* end() const { return entities.data() + size; }

private:
    std::array<MeId, kMost> entities{};
    std::size_t size = 0;
};

} // namespace olt_host

#endif
