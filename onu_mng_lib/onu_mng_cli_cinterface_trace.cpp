/// The command for the per-ONU trace.

#include "onu_mng_lib/onu_mng_cli_cinterface.h"

#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "onu_mng_lib/cli_words.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"

namespace {

/// The parsed arguments of the command.
struct TraceRequest {
    static constexpr unsigned int kMaxLevels = 17;
    static constexpr unsigned short kNoPon = 0xFFFF;
    static constexpr unsigned char kNoOnu = 0xFF;

    unsigned short pon_no = kNoPon;
    unsigned char onu_id = kNoOnu;
    bool has_sn = false;
    unsigned char sn[ONU_MNG_SN_SIZE] = {};
    unsigned int level_count = 0;
    int levels[kMaxLevels] = {};
};

constexpr const char* kKeywords[] = {"ponno", "onuid", "onusn", "debug_level"};
enum Keyword { kPonNo, kOnuId, kOnuSn, kDebugLevel, kUnknown };

Keyword KeywordOf(const char* word) {
    int keyword = kPonNo;
    while (keyword != kUnknown && !MatchesKeyword(word, kKeywords[keyword]))
        ++keyword;
    return static_cast<Keyword>(keyword);
}

int ReadSn(TraceRequest& request, vty* terminal, char* text) {
    std::memset(request.sn, 0, sizeof(request.sn));
    const unsigned int result =
        onu_mng_convert_sn_or_mac_format(reinterpret_cast<unsigned char*>(text), request.sn);
    request.has_sn = result == ONU_MNG_OK;
    if (!request.has_sn) vty_out(terminal, "error sn fomat\r\n");
    return static_cast<int>(result);
}

int ReadLevels(TraceRequest& request, vty* terminal, const char* text) {
    try {
        std::vector<std::string> pieces;
        VariantUtil::Split(text, pieces, ",");
        for (const std::string& piece : pieces)
            if (request.level_count < TraceRequest::kMaxLevels)
                request.levels[request.level_count++] = NumberOf(piece.c_str());
        return 0;
    } catch (const std::bad_alloc&) {
        vty_out(terminal, "not enough memory for the levels\r\n");
        return 1;
    }
}

int ReadPair(TraceRequest& request, vty* terminal, const char* keyword, char* value) {
    const Keyword key = KeywordOf(keyword);
    if (value == nullptr && key != kOnuSn) return 0; // a missing value is an error only for a serial number
    switch (key) {
    case kPonNo:
        request.pon_no = static_cast<unsigned short>(NumberOf(value));
        return 0;
    case kOnuId:
        request.onu_id = static_cast<unsigned char>(NumberOf(value));
        return 0;
    case kOnuSn:
        return ReadSn(request, terminal, value);
    case kDebugLevel:
        return ReadLevels(request, terminal, value);
    default:
        return 0;
    }
}

/// If only one of ONU id and serial number is given, asks the host for the other. It stays missing if the
/// host does not know it.
void CompleteFromHost(TraceRequest& request) {
    if (request.pon_no == TraceRequest::kNoPon) return;
    OnuMngInterface& host = *OnuMngInterface::GetInstance();
    const bool has_onu = request.onu_id != TraceRequest::kNoOnu;
    if (request.has_sn && !has_onu) {
        const auto id_of_sn = host.onu_sn_to_id_handle.load();
        unsigned char onu_id = TraceRequest::kNoOnu;
        if (id_of_sn != nullptr && id_of_sn(request.pon_no, request.sn, &onu_id) == 0)
            request.onu_id = onu_id;
    } else if (has_onu && !request.has_sn) {
        const auto sn_of_id = host.onu_id_to_sn_handle.load();
        request.has_sn = sn_of_id != nullptr &&
                         sn_of_id(request.pon_no, request.onu_id, request.sn, sizeof(request.sn)) == 0;
    }
}

void StartTracing(const TraceRequest& request) {
    OnuMngLog& registry = *OnuMngLog::GetInstance();
    const unsigned short onu_id = request.onu_id == TraceRequest::kNoOnu ? OnuNo::kNotSet : request.onu_id;
    registry.trace_switch = true;
    for (unsigned int i = 0; i < request.level_count; ++i)
        registry.AddOnuTracer(request.pon_no, onu_id, request.has_sn ? request.sn : nullptr,
                              request.levels[i]);
}

int StopTracing() {
    OnuMngLog::GetInstance()->trace_switch = false;
    OnuMngLog::GetInstance()->ClearOnuTracer();
    return 0;
}

int Refuse(vty* terminal, const char* message) {
    vty_out(terminal, "%s\r\n", message);
    return 1;
}

} // namespace

int cl_onu_mng_set_log_trace_func(cmd_element*, vty* terminal, int argc, char** argv) {
    const CliWords words(argc, argv);
    const char* const flag = words[0] == nullptr ? "" : words[0];
    if (std::strcmp(flag, "disable") == 0) return StopTracing();
    if (std::strcmp(flag, "enable") != 0) {
        vty_out(terminal, "invalid flag value %s\r\n", flag);
        return 1;
    }
    if (words.Count() <= 2) return Refuse(terminal, "at least dbglvl parameter should be specified");
    TraceRequest request;
    const int result = words.ForEachPair(1, [&request, terminal](const char* keyword, char* value) {
        return ReadPair(request, terminal, keyword, value);
    });
    if (result != 0) return result;
    CompleteFromHost(request);
    if (request.level_count == 0) return Refuse(terminal, "dbglvl should be specified");
    StartTracing(request);
    return 0;
}
