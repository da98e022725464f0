#include <string>

#include <gtest/gtest.h>

#include "olt_host/onu/simulated_onu.h"
#include "tests/support/omci_frames.h"

using namespace olt_host;

namespace {

constexpr SerialNumber kSerial{'S', 'I', 'M', 'U', 1, 2, 3, 4};
constexpr unsigned int kPorts = 4;
constexpr MeId kGemCtp{268, 1};
constexpr MeId kTCont{262, 0x8000};
constexpr MeId kOnu{256, 0};

/// An ONU under test, each request with a transaction of its own.
class SimulatedOnuTest : public ::testing::Test {
protected:
    OmciFrame Ask(OmciFrame request) {
        request.SetTid(++tid);
        return Repeat(request);
    }
    OmciFrame Ask(OmciType type, MeId me, const std::string& contents = {}) {
        OmciFrame request = OmciFrame::Request(type, me);
        contents.copy(request.At(OmciFrame::kContents), contents.size());
        return Ask(request);
    }
    OmciFrame Repeat(const OmciFrame& request) {
        OmciFrame answer;
        EXPECT_TRUE(onu.Take(request, answer));
        EXPECT_EQ(answer.Tid(), request.Tid());
        EXPECT_EQ(answer.Type(), request.Type());
        EXPECT_EQ(answer.Me(), request.Me());
        EXPECT_EQ(answer.Kind(), FrameKind::kAnswer);
        OmciFrame read;
        EXPECT_EQ(OmciFrame::Parse(answer.At(1), OmciFrame::kSize, kOnTheLine, read), FrameFault::kNone);
        return answer;
    }
    unsigned int DataSync() { return Ask(OmciType::kGet, kMib, Bytes("8000")).Get<std::uint8_t>(12); }

    SimulatedOnu onu{kSerial, kPorts};
    std::uint16_t tid = 0;
};

TEST_F(SimulatedOnuTest, AnswersWithOmcisResults) {
    const struct {
        OmciType type;
        MeId me;
        const char* contents;
        OmciResult result;
        unsigned int data_sync;
    } steps[] = {
        {OmciType::kCreate, kGemCtp, "0404800003", OmciResult::kOk, 1},
        {OmciType::kCreate, kGemCtp, "0404800003", OmciResult::kInstanceExists, 1},
        {OmciType::kCreate, {4711, 1}, "", OmciResult::kUnknownEntity, 1},
        {OmciType::kCreate, {262, 9}, "", OmciResult::kNotSupported, 1}, // only an ONU creates T-CONTs
        {OmciType::kSet, kGemCtp, "80000405", OmciResult::kOk, 2},
        {OmciType::kSet, kGemCtp, "04000405", OmciResult::kAttributesFailed, 2}, // the UNI counter
        {OmciType::kSet, kGemCtp, "00010405", OmciResult::kAttributesFailed, 2}, // there is none
        {OmciType::kSet, {268, 2}, "80000405", OmciResult::kUnknownInstance, 2},
        {OmciType::kDelete, kTCont, "", OmciResult::kNotSupported, 2},
        {OmciType::kDelete, {268, 2}, "", OmciResult::kUnknownInstance, 2},
        {OmciType::kDelete, kGemCtp, "", OmciResult::kOk, 3},
        {OmciType::kGet, kGemCtp, "8000", OmciResult::kUnknownInstance, 3},
        {OmciType::kGet, {4711, 0}, "8000", OmciResult::kUnknownEntity, 3},
        {OmciType::kSynchronizeTime, kOnu, "", OmciResult::kOk, 3},
        {OmciType::kStartSoftwareDownload, {7, 1}, "1f00000400", OmciResult::kNotSupported, 3},
        {OmciType::kTest, kOnu, "", OmciResult::kNotSupported, 3},
        {static_cast<OmciType>(30), kOnu, "", OmciResult::kNotSupported, 3},
        {OmciType::kMibReset, {3, 0}, "", OmciResult::kUnknownEntity, 3},
        {OmciType::kMibReset, kMib, "", OmciResult::kOk, 0},
        {OmciType::kSet, kMib, "800088", OmciResult::kOk, 0x88}, // the counter itself
        {OmciType::kReboot, kOnu, "", OmciResult::kOk, 0},
    };
    for (const auto& step : steps) {
        EXPECT_EQ(Ask(step.type, step.me, Bytes(step.contents)).Result(), step.result)
            << &step - steps << ": type " << static_cast<int>(step.type);
        EXPECT_EQ(DataSync(), step.data_sync) << &step - steps;
    }
}

TEST_F(SimulatedOnuTest, GivesBackWhatWasSet) {
    Ask(OmciType::kCreate, kGemCtp, Bytes("04048000038000ffff"));
    Ask(OmciType::kSet, kGemCtp, Bytes("a000040501"));
    const OmciFrame answer = Ask(OmciType::kGet, kGemCtp, Bytes("e000"));
    EXPECT_EQ(Bytes(answer).substr(8, 8), Bytes("00e0000405800001"));

    // 13 attributes of 71 bytes, of which 25 go into an answer: those that do, in order.
    const OmciFrame cut = Ask(OmciType::kGet, kOnu, Bytes("fffc"));
    EXPECT_EQ(cut.Result(), OmciResult::kAttributesFailed);
    EXPECT_EQ(cut.Get<std::uint16_t>(10), 0xDF90);
    EXPECT_EQ(cut.Get<std::uint16_t>(37), 0x0004);
    EXPECT_EQ(cut.Get<std::uint16_t>(39), 0x2068);
}

TEST_F(SimulatedOnuTest, AnswersARepeatedTransactionFromItsStore) {
    OmciFrame create = OmciFrame::Request(OmciType::kCreate, kGemCtp);
    create.SetTid(7);
    const OmciFrame first = Repeat(create);
    EXPECT_EQ(Bytes(Repeat(create)), Bytes(first));
    EXPECT_EQ(first.Result(), OmciResult::kOk);
    EXPECT_EQ(onu.Mib().DataSync(), 1);
    create.SetTid(8);
    EXPECT_EQ(Repeat(create).Result(), OmciResult::kInstanceExists);
    onu.Restart();
    EXPECT_EQ(Repeat(create).Result(), OmciResult::kOk);
}

} // namespace
