#include "olt_host/omci/text.h"

#include <array>

#include "olt_host/omci/me_class.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"

namespace olt_host {

namespace {

constexpr std::array<const char*, kOmciTypes> kTypeNames = {
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    "create",
    nullptr,
    "delete",
    nullptr,
    "set",
    "get",
    nullptr,
    "get all alarms",
    "get all alarms next",
    "MIB upload",
    "MIB upload next",
    "MIB reset",
    "alarm",
    "attribute value change",
    "test",
    "start software download",
    "download section",
    "end software download",
    "activate image",
    "commit image",
    "synchronize time",
    "reboot",
    "get next",
    "test result",
    "get current data",
    "set table",
};

constexpr std::array<const char*, 10> kResultNames = {
    "ok",
    "processing error",
    "not supported",
    "parameter error",
    "unknown entity",
    "unknown instance",
    "busy",
    "instance exists",
    nullptr,
    "attributes failed or unknown",
};

/// How a field of the contents is shown.
enum class Form { kNumber8, kNumber16, kNumber32, kHex16, kHex32, kObject };

struct Field {
    OmciType type;
    FrameKind kind;
    const char* name;
    unsigned int position;
    Form form;
};

constexpr FrameKind kRequest = FrameKind::kRequest;
constexpr FrameKind kAnswer = FrameKind::kAnswer;
constexpr FrameKind kNotification = FrameKind::kNotification;

constexpr Field kFields[] = {
    {OmciType::kSet, kRequest, "mask", 9, Form::kHex16},
    {OmciType::kGet, kRequest, "mask", 9, Form::kHex16},
    {OmciType::kGet, kAnswer, "mask", 10, Form::kHex16},
    {OmciType::kGetCurrentData, kRequest, "mask", 9, Form::kHex16},
    {OmciType::kGetCurrentData, kAnswer, "mask", 10, Form::kHex16},
    {OmciType::kGetNext, kRequest, "mask", 9, Form::kHex16},
    {OmciType::kGetNext, kRequest, "sequence", 11, Form::kNumber16},
    {OmciType::kGetNext, kAnswer, "mask", 10, Form::kHex16},
    {OmciType::kMibUpload, kAnswer, "rows", 9, Form::kNumber16},
    {OmciType::kMibUploadNext, kRequest, "sequence", 9, Form::kNumber16},
    {OmciType::kMibUploadNext, kAnswer, "object", 9, Form::kObject},
    {OmciType::kMibUploadNext, kAnswer, "mask", 13, Form::kHex16},
    {OmciType::kGetAllAlarms, kRequest, "mode", 9, Form::kNumber8},
    {OmciType::kGetAllAlarms, kAnswer, "rows", 9, Form::kNumber16},
    {OmciType::kGetAllAlarmsNext, kRequest, "sequence", 9, Form::kNumber16},
    {OmciType::kGetAllAlarmsNext, kAnswer, "object", 9, Form::kObject},
    {OmciType::kAlarm, kNotification, "sequence", 40, Form::kNumber8},
    {OmciType::kAttributeValueChange, kNotification, "mask", 9, Form::kHex16},
    {OmciType::kStartSoftwareDownload, kRequest, "window-1", 9, Form::kNumber8},
    {OmciType::kStartSoftwareDownload, kRequest, "size", 10, Form::kNumber32},
    {OmciType::kStartSoftwareDownload, kAnswer, "window-1", 10, Form::kNumber8},
    {OmciType::kDownloadSection, kRequest, "section", 9, Form::kNumber8},
    {OmciType::kDownloadSection, kAnswer, "section", 10, Form::kNumber8},
    {OmciType::kEndSoftwareDownload, kRequest, "CRC", 9, Form::kHex32},
    {OmciType::kEndSoftwareDownload, kRequest, "size", 13, Form::kNumber32},
};

/// Returns the name of a number, or `what` and the number if it has no name.
template <std::size_t N>
std::string NameOf(const std::array<const char*, N>& names, unsigned int number, const char* what) {
    if (number < N && names[number] != nullptr) return names[number];
    return what + (' ' + std::to_string(number));
}

std::string Hex(unsigned int number, int digits) {
    std::string text;
    VariantUtil::Assign(text, "0x%0*x", digits, number);
    return text;
}

MeId ObjectAt(const OmciFrame& frame, unsigned int position) {
    return {frame.Get<std::uint16_t>(position), frame.Get<std::uint16_t>(position + 2)};
}

std::string Value(const OmciFrame& frame, const Field& field) {
    switch (field.form) {
    case Form::kNumber8:
        return std::to_string(frame.Get<std::uint8_t>(field.position));
    case Form::kNumber16:
        return std::to_string(frame.Get<std::uint16_t>(field.position));
    case Form::kNumber32:
        return std::to_string(frame.Get<std::uint32_t>(field.position));
    case Form::kHex16:
        return Hex(frame.Get<std::uint16_t>(field.position), 4);
    case Form::kHex32:
        return Hex(frame.Get<std::uint32_t>(field.position), 8);
    case Form::kObject:
        return MeName(ObjectAt(frame, field.position));
    }
    return {};
}

} // namespace

std::string TypeName(OmciType type) {
    return NameOf(kTypeNames, static_cast<unsigned int>(type), "type");
}

std::string ResultName(OmciResult result) {
    return NameOf(kResultNames, static_cast<unsigned int>(result), "result");
}

std::string MeName(MeId me) {
    const MeClass* known = FindMeClass(me.me_class);
    const std::string name = known == nullptr ? "class" : known->name;
    return name + '(' + std::to_string(me.me_class) + ") " + Hex(me.instance, 4);
}

std::string FrameName(FrameKind kind, OmciType type) {
    constexpr const char* kKinds[] = {" request", " answer", " notification"};
    return TypeName(type) + kKinds[static_cast<unsigned int>(kind)];
}

const char* FaultName(FrameFault fault) {
    constexpr const char* kFaults[] = {
        "none",        "extended format", "wrong size", "wrong device id",
        "wrong flags", "wrong trailer",   "wrong MIC",
    };
    static_assert(sizeof(kFaults) / sizeof(kFaults[0]) == kFrameFaults);
    return kFaults[static_cast<unsigned int>(fault)];
}

std::string Describe(const OmciFrame& frame) {
    const FrameKind kind = frame.Kind();
    std::string line = FrameName(kind, frame.Type());
    if (kind != FrameKind::kNotification) line += " tid " + Hex(frame.Tid(), 4);
    line += ' ' + MeName(frame.Me());
    if (kind == FrameKind::kAnswer && HasResult(frame.Type())) line += ": " + ResultName(frame.Result());
    for (const Field& field : kFields) {
        if (field.type != frame.Type() || field.kind != kind) continue;
        line += std::string(", ") + field.name + ' ' + Value(frame, field);
    }
    return line;
}

} // namespace olt_host
