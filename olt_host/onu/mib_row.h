/// One row of a MIB upload.
#ifndef OLT_HOST_ONU_MIB_ROW_H
#define OLT_HOST_ONU_MIB_ROW_H

#include <algorithm>
#include <array>
#include <cstdint>

#include "olt_host/omci/frame.h"

namespace olt_host {

/// Attributes of one entity, as many as fit into a MIB upload next answer. An entity has one or more rows.
struct MibRow {
    static constexpr unsigned int kValues = 26;

    MeId me{0, 0};
    std::uint16_t mask = 0;
    std::array<char, kValues> values{}; ///< values of the attributes in `mask`, in order

    /// Returns whether the row is empty: an ONU sends an empty row if it has none for a sequence number.
    bool IsNone() const { return me.me_class == 0; }

    static MibRow Read(const OmciFrame& answer) {
        MibRow row;
        row.me = {answer.Get<std::uint16_t>(9), answer.Get<std::uint16_t>(11)};
        row.mask = answer.Get<std::uint16_t>(13);
        std::copy_n(answer.At(15), kValues, row.values.begin());
        return row;
    }

    void Write(OmciFrame& answer) const {
        answer.Set(9, me.me_class);
        answer.Set(11, me.instance);
        answer.Set(13, mask);
        std::copy(values.begin(), values.end(), answer.At(15));
    }
};

inline bool operator==(const MibRow& a, const MibRow& b) {
    return a.me == b.me && a.mask == b.mask && a.values == b.values;
}

} // namespace olt_host

#endif
