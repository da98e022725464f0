#include "olt_host/services/onu_table.h"

#include <utility>

#include "onu_mng_platform/bep.h"

namespace olt_host {

void OnuTotals::Add(const OnuStatus& status) {
    ++onus;
    ++phases[static_cast<unsigned int>(status.phase)];
    requests += status.requests;
    resent += status.resent;
}

OnuTable::OnuTable(unsigned int pons, unsigned int onus)
    : onus_per_pon(onus), records(std::size_t{pons} * onus), unsettled(pons * onus) {
    for (unsigned int index = 0; index < Size(); ++index)
        records[index].status.onu = KeyOf(index);
}

std::optional<unsigned int> OnuTable::IndexOf(OnuKey onu) const {
    if (onu.pon_no == 0 || onu.onu_id == 0 || onu.onu_id > onus_per_pon) return std::nullopt;
    const unsigned int index = (onu.pon_no - 1u) * onus_per_pon + onu.onu_id - 1u;
    return index < Size() ? std::optional<unsigned int>(index) : std::nullopt;
}

OnuKey OnuTable::KeyOf(unsigned int index) const {
    return {static_cast<unsigned short>(index / onus_per_pon + 1),
            static_cast<unsigned short>(index % onus_per_pon + 1)};
}

OnuStatus OnuTable::Read(unsigned int index) const {
    const LockGuard guard(lock);
    return records[index].status;
}

std::vector<MibRow> OnuTable::ReadMib(unsigned int index) const {
    const LockGuard guard(lock);
    return records[index].mib;
}

OnuTotals OnuTable::Totals() const {
    OnuTotals totals;
    const LockGuard guard(lock);
    for (const Record& record : records)
        totals.Add(record.status);
    return totals;
}

void OnuTable::SwapMib(unsigned int index, std::vector<MibRow>& rows) {
    const LockGuard guard(lock);
    records[index].mib.swap(rows);
}

bool OnuTable::WaitSettled(std::chrono::milliseconds limit) {
    if (AreAllSettled()) return true;
    const auto ticks = std::chrono::ceil<std::chrono::seconds>(limit * bep_sysClkRateGetEx()).count();
    bep_semTakeEx(settled.GetSemId(), static_cast<int>(ticks), __FILE__, __LINE__);
    return AreAllSettled();
}

} // namespace olt_host
