#include "onu_mng_lib/onu_mng_log.h"

#include <algorithm>
#include <string>

#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"
#include "onu_mng_lib/report_rows.h"

namespace {

std::string SnText(const OnuNo& onu) {
    if (!onu.HasSn()) return "None";
    unsigned char sn[ONU_MNG_SN_SIZE];
    std::copy_n(onu.GetSn(), ONU_MNG_SN_SIZE, sn);
    std::string text;
    VariantUtil::Assign(text, "%c%c%c%c-%08llx", sn[0], sn[1], sn[2], sn[3],
                        onu_mng_get_vendor_specific_by_mac(sn));
    return text;
}

std::string LevelsText(const std::set<int>& levels) {
    std::string text;
    for (const int level : levels)
        text.append(std::to_string(level)).append(1, ',');
    return text;
}

} // namespace

void OnuMngLog::Print(void* terminal) const {
    PrintReport(CLI_CMD_SHOW_ONU_TRACE, terminal, [this](CommandFormatMgr::Rows& rows) {
        if (!trace_switch) {
            rows.push_back(MakeRow(false, int{OnuNo::kNotSet}, int{OnuNo::kNotSet}, "None", ""));
            return;
        }
        LockGuard guard(lock);
        rows.reserve(tracer_map.size());
        for (const auto& [onu, para] : tracer_map)
            rows.push_back(MakeRow(true, onu.pon_no, onu.onu_id, SnText(onu), LevelsText(para.debug_levels)));
    });
}
