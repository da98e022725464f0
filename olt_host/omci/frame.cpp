#include "olt_host/omci/frame.h"

#include <algorithm>

namespace olt_host {

namespace {

constexpr char kBaseline = 0x0A;
constexpr char kExtended = 0x0B;
constexpr std::uint16_t kTrailerLength = 40;

constexpr unsigned int kDevicePosition = 4;
constexpr unsigned int kLengthPosition = 43;
constexpr unsigned int kMicPosition = 45;

using CrcTable = std::array<std::uint32_t, 256>;

constexpr CrcTable MakeCrcTable() {
    CrcTable table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t crc = byte << 24;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 0x80000000u) != 0 ? crc << 1 ^ 0x04C11DB7u : crc << 1;
        table[byte] = crc;
    }
    return table;
}
constexpr CrcTable kCrcTable = MakeCrcTable();

} // namespace

bool HasResult(OmciType type) {
    switch (type) {
    case OmciType::kMibUpload:
    case OmciType::kMibUploadNext:
    case OmciType::kGetAllAlarms:
    case OmciType::kGetAllAlarmsNext:
        return false;
    default:
        return true;
    }
}

std::uint32_t OmciMic(const char* data, std::size_t size) {
    std::uint32_t crc = 0xFFFFFFFFu;
    for (const char* byte = data; byte != data + size; ++byte)
        crc = crc << 8 ^ kCrcTable[(crc >> 24 ^ static_cast<unsigned char>(*byte)) & 0xFF];
    return ~crc;
}

OmciFrame::OmciFrame() {
    *At(kDevicePosition) = kBaseline;
    Set(kLengthPosition, kTrailerLength);
}

OmciFrame::OmciFrame(OmciType type, std::uint8_t flags, MeId me) : OmciFrame() {
    Set(3, static_cast<std::uint8_t>(static_cast<std::uint8_t>(type) | flags));
    Set(5, me.me_class);
    Set(7, me.instance);
}

OmciFrame OmciFrame::Request(OmciType type, MeId me) {
    return OmciFrame(type, kAnswerWanted, me);
}

OmciFrame OmciFrame::AnswerTo(const OmciFrame& request) {
    OmciFrame answer(request.Type(), kIsAnswer, request.Me());
    answer.SetTid(request.Tid());
    return answer;
}

OmciFrame OmciFrame::Notification(OmciType type, MeId me) {
    return OmciFrame(type, 0, me);
}

FrameKind OmciFrame::Kind() const {
    const std::uint8_t flags = Get<std::uint8_t>(3);
    if ((flags & kIsAnswer) != 0) return FrameKind::kAnswer;
    if ((flags & kAnswerWanted) != 0) return FrameKind::kRequest;
    switch (Type()) {
    case OmciType::kAlarm:
    case OmciType::kAttributeValueChange:
    case OmciType::kTestResult:
        return FrameKind::kNotification;
    default:
        return FrameKind::kRequest; // a request without an answer
    }
}

FrameFault OmciFrame::Parse(const char* data, std::size_t size, FrameRules rules, OmciFrame& frame) {
    if (size < kDevicePosition) return FrameFault::kSize;
    const char device = data[kDevicePosition - 1];
    if (device == kExtended) return FrameFault::kExtended;
    const bool is_short = size == kSizeWithoutMic || size == kSizeWithoutTrailer;
    if (size != kSize && (rules.whole || !is_short)) return FrameFault::kSize;
    if (device != kBaseline) return FrameFault::kDevice;

    OmciFrame read;
    std::copy_n(data, size, read.bytes.begin());
    frame = read;
    return frame.Check(size, rules);
}

FrameFault OmciFrame::Check(std::size_t size, FrameRules rules) const {
    const std::uint8_t flags = Get<std::uint8_t>(3);
    if ((flags & kReserved) != 0 || (flags & (kAnswerWanted | kIsAnswer)) == (kAnswerWanted | kIsAnswer))
        return FrameFault::kFlags;
    const std::uint16_t length = Get<std::uint16_t>(kLengthPosition);
    if (length != kTrailerLength && (rules.whole || length != 0)) return FrameFault::kTrailer;
    if (rules.mic && size == kSize && Get<std::uint32_t>(kMicPosition) != OmciMic(At(1), kSizeWithoutMic))
        return FrameFault::kMic;
    return FrameFault::kNone;
}

} // namespace olt_host
