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
constexpr unsigned int kOmciTypes = 32; ///< type numbers that 5 bits can hold

/// The result and reason code, byte 9 of most answers (`HasResult`).
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

/// Returns whether answers of a type carry a result. Those to MIB upload, get all alarms and their "next"
/// commands do not.
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

constexpr std::uint16_t kOnuData = 2; ///< the managed entity class that represents the MIB
constexpr MeId kMib{kOnuData, 0};

/// Why bytes are not a valid frame.
enum class FrameFault {
    kNone,
    kExtended, ///< the extended format, which this host does not support
    kSize,     ///< neither 48 bytes nor a shorter size that the rules allow
    kDevice,   ///< neither the baseline nor the extended format
    kFlags,    ///< marked as request and as answer, or the reserved bit is set
    kTrailer,  ///< the length in the trailer is not 40
    kMic,      ///< the check sum is wrong
};
constexpr unsigned int kFrameFaults = 7;

/// What `OmciFrame::Parse` checks.
struct FrameRules {
    bool whole = true; ///< require 48 bytes; else accept also 44 (no MIC), 40 (no trailer) and a length of 0
    bool mic = true;   ///< require a correct MIC in frames of 48 bytes
};
/// For frames on a PON.
constexpr FrameRules kOnTheLine{};
/// For frames from captures, which often lack parts of the trailer.
constexpr FrameRules kInCaptures{false, false};

/// Returns the CRC-32 of the I.363.5 adaptation layer: polynomial 0x04C11DB7, most significant bit first,
/// initial value and final xor 0xFFFFFFFF.
std::uint32_t OmciMic(const char* data, std::size_t size);

/// One frame. The position of a field is that of its first byte, counted from 1 as in the recommendation.
/// Integers are big-endian.
class OmciFrame {
public:
    static constexpr std::size_t kSize = 48;
    static constexpr std::size_t kSizeWithoutMic = 44;
    static constexpr std::size_t kSizeWithoutTrailer = 40;
    static constexpr unsigned int kContents = 9; ///< position of the first byte of the contents
    static constexpr unsigned int kContentsSize = 32;

    /// Makes a frame of zeros, except for the device id and the length in the trailer.
    OmciFrame();

    static OmciFrame Request(OmciType type, MeId me);
    /// Returns an answer with the transaction id, type and entity of a request, and empty contents.
    static OmciFrame AnswerTo(const OmciFrame& request);
    static OmciFrame Notification(OmciType type, MeId me);

    /// Reads `size` bytes at `data` into `frame`.
    /// @return kNone, or the first fault in the order of `FrameFault`. With kExtended, kSize and kDevice
    ///         `frame` is unchanged; with the later faults it holds the bytes.
    static FrameFault Parse(const char* data, std::size_t size, FrameRules rules, OmciFrame& frame);

    /// Returns the transaction id; 0 in notifications.
    std::uint16_t Tid() const { return Get<std::uint16_t>(1); }
    void SetTid(std::uint16_t tid) { Set(1, tid); }
    OmciType Type() const { return static_cast<OmciType>(Get<std::uint8_t>(3) & 0x1F); }
    FrameKind Kind() const;
    bool WantsAnswer() const { return (Get<std::uint8_t>(3) & kAnswerWanted) != 0; }
    MeId Me() const { return {Get<std::uint16_t>(5), Get<std::uint16_t>(7)}; }
    OmciResult Result() const { return static_cast<OmciResult>(Get<std::uint8_t>(kContents)); }
    void SetResult(OmciResult result) { Set(kContents, static_cast<std::uint8_t>(result)); }

    /// Reads or writes an integer at a position. All of it must lie within the frame.
    template <typename T>
    T Get(unsigned int position) const {
        return VariantUtil::Load<T>(&bytes[position - 1]);
    }
    template <typename T>
    void Set(unsigned int position, T number) {
        VariantUtil::Store(&bytes[position - 1], number);
    }
    /// Points to the byte at a position.
    const char* At(unsigned int position) const { return &bytes[position - 1]; }
    char* At(unsigned int position) { return &bytes[position - 1]; }

    /// Computes the MIC and writes it into the trailer.
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
