/// OMCI baseline frames: 48 bytes between the OLT and one ONU.
#ifndef OLT_HOST_OMCI_FRAME_H
#define OLT_HOST_OMCI_FRAME_H

#include <array>
#include <cstddef>
#include <cstdint>

#include "onu_mng_lib/onu_mng_common/variant_util.h"

namespace olt_host {

/// The message types, the low 5 bits of byte 3. A frame may hold any other number.
enum class OmciType : std::uint8_t {
    kCreate = 4,
    kDelete = 6,
    kSet = 8,
    kGet = 9,
    kGetAllAlarms = 11,
    kGetAllAlarmsNext = 12,
    kMibUpload = 13,
    kMibUploadNext = 14,
    kMibReset = 15,
    kAlarm = 16,
    kAttributeValueChange = 17,
    kTest = 18,
    kStartSoftwareDownload = 19,
    kDownloadSection = 20,
    kEndSoftwareDownload = 21,
    kActivateImage = 22,
    kCommitImage = 23,
    kSynchronizeTime = 24,
    kReboot = 25,
    kGetNext = 26,
    kTestResult = 27,
    kGetCurrentData = 28,
    kSetTable = 29,
};
constexpr unsigned int kOmciTypes = 32; ///< numbers a frame can hold

/// Byte 9 of the answers that have one.
enum class OmciResult : std::uint8_t {
    kOk = 0,
    kProcessingError = 1,
    kNotSupported = 2,
    kParameterError = 3,
    kUnknownEntity = 4,
    kUnknownInstance = 5,
    kBusy = 6,
    kInstanceExists = 7,
    kAttributesFailed = 9,
};

/// False for the MIB upload and get all alarms answers and those of their next commands.
bool HasResult(OmciType type);

enum class FrameKind { kRequest, kAnswer, kNotification };

/// A managed entity.
struct MeId {
    std::uint16_t me_class;
    std::uint16_t instance;
};
constexpr bool operator==(MeId a, MeId b) {
    return a.me_class == b.me_class && a.instance == b.instance;
}
constexpr bool operator!=(MeId a, MeId b) {
    return !(a == b);
}

constexpr std::uint16_t kOnuData = 2; ///< the class that stands for the MIB
constexpr MeId kMib{kOnuData, 0};

/// Why bytes are no frame.
enum class FrameFault {
    kNone,
    kExtended, ///< the extended format, which this host only recognises
    kSize,     ///< not 48 bytes, or one of the shorter forms where they are admitted
    kDevice,   ///< neither the baseline nor the extended format
    kFlags,    ///< request and answer at once, or the reserved bit
    kTrailer,  ///< the length in the trailer is not 40
    kMic,      ///< the check sum is wrong
};
constexpr unsigned int kFrameFaults = 7;

/// What `OmciFrame::Parse` insists on.
struct FrameRules {
    bool whole = true; ///< all 48 bytes; else also 44 (no MIC) and 40 (no trailer), and a length of 0
    bool mic = true;   ///< a right MIC where there is one
};
/// On a PON.
constexpr FrameRules kOnTheLine{};
/// In captures, which often lack parts of the trailer.
constexpr FrameRules kInCaptures{false, false};

/// The CRC-32 of the I.363.5 adaptation layer: polynomial 0x04C11DB7, most significant bit first, initial
/// value and final xor 0xFFFFFFFF.
std::uint32_t OmciMic(const char* data, std::size_t size);

/// One frame. Fields are named by the position of their first byte, counted from 1 as the recommendation
/// does; integers are big-endian.
class OmciFrame {
public:
    static constexpr std::size_t kSize = 48;
    static constexpr std::size_t kSizeWithoutMic = 44;
    static constexpr std::size_t kSizeWithoutTrailer = 40;
    static constexpr unsigned int kContents = 9; ///< where the contents start
    static constexpr unsigned int kContentsSize = 32;

    /// A frame of zeros but for the device id and the length in the trailer.
    OmciFrame();

    static OmciFrame Request(OmciType type, MeId me);
    /// The head of the answer to a request: its transaction, type and entity.
    static OmciFrame AnswerTo(const OmciFrame& request);
    static OmciFrame Notification(OmciType type, MeId me);

    /// Reads `size` bytes at `data` into `frame`, which is left alone when they are no baseline frame at all.
    /// @return kNone; else the first fault in the order of `FrameFault`: from kFlags on `frame` was read.
    static FrameFault Parse(const char* data, std::size_t size, FrameRules rules, OmciFrame& frame);

    /// 0 in notifications.
    std::uint16_t Tid() const { return Get<std::uint16_t>(1); }
    void SetTid(std::uint16_t tid) { Set(1, tid); }
    OmciType Type() const { return static_cast<OmciType>(Get<std::uint8_t>(3) & 0x1F); }
    FrameKind Kind() const;
    bool WantsAnswer() const { return (Get<std::uint8_t>(3) & kAnswerWanted) != 0; }
    MeId Me() const { return {Get<std::uint16_t>(5), Get<std::uint16_t>(7)}; }
    OmciResult Result() const { return static_cast<OmciResult>(Get<std::uint8_t>(kContents)); }
    void SetResult(OmciResult result) { Set(kContents, static_cast<std::uint8_t>(result)); }

    /// An integer at a position; it lies within the frame.
    template <typename T>
    T Get(unsigned int position) const {
        return VariantUtil::Load<T>(&bytes[position - 1]);
    }
    template <typename T>
    void Set(unsigned int position, T number) {
        VariantUtil::Store(&bytes[position - 1], number);
    }
    /// The bytes from a position on.
    const char* At(unsigned int position) const { return &bytes[position - 1]; }
    char* At(unsigned int position) { return &bytes[position - 1]; }

    /// Writes the MIC of what the frame holds now.
    void Seal() { Set(45, OmciMic(bytes.data(), kSizeWithoutMic)); }

private:
    static constexpr std::uint8_t kReserved = 0x80;
    static constexpr std::uint8_t kAnswerWanted = 0x40;
    static constexpr std::uint8_t kIsAnswer = 0x20;

    OmciFrame(OmciType type, std::uint8_t flags, MeId me);
    FrameFault Check(std::size_t size, FrameRules rules) const;

    std::array<char, kSize> bytes{};
};

} // namespace olt_host

#endif
