#include <string>

#include <gtest/gtest.h>

#include "olt_host/omci/frame.h"
#include "olt_host/omci/text.h"
#include "tests/support/omci_frames.h"

using namespace olt_host;

namespace {

FrameFault FaultOf(const std::string& bytes, FrameRules rules) {
    OmciFrame frame;
    return OmciFrame::Parse(bytes.data(), bytes.size(), rules, frame);
}

TEST(OmciFrame, ChecksTheMicOfRealFrames) {
    for (const char* hex :
         {"55af490a01000000c000...00000028fdb6bcd5", "0000100a000b040180...0100000028651ad04f"}) {
        std::string bytes = Bytes(hex, OmciFrame::kSize);
        OmciFrame frame;
        ASSERT_EQ(OmciFrame::Parse(bytes.data(), bytes.size(), kOnTheLine, frame), FrameFault::kNone) << hex;
        frame.Seal();
        EXPECT_EQ(Bytes(frame), bytes);
        for (char& byte : bytes) {
            byte = static_cast<char>(byte ^ 0x10);
            EXPECT_NE(FaultOf(bytes, kOnTheLine), FrameFault::kNone) << &byte - bytes.data();
            byte = static_cast<char>(byte ^ 0x10);
        }
    }
}

TEST(OmciFrame, NamesTheFault) {
    const std::string good = Bytes("1234490a00020000...00000028", OmciFrame::kSizeWithoutMic);
    const std::string body = good.substr(0, OmciFrame::kSizeWithoutTrailer);
    const std::string zeros(8, '\0');
    const auto with = [&](std::size_t position, char byte) {
        std::string bytes = good + zeros.substr(4);
        bytes[position - 1] = byte;
        return bytes;
    };
    const struct {
        const char* what;
        std::string bytes;
        FrameFault on_the_line;
        FrameFault in_captures;
    } cases[] = {
        {"nothing", "", FrameFault::kSize, FrameFault::kSize},
        {"no MIC", good, FrameFault::kSize, FrameFault::kNone},
        {"no trailer", body, FrameFault::kSize, FrameFault::kNone},
        {"one byte short", body.substr(1), FrameFault::kSize, FrameFault::kSize},
        {"one byte over", good + zeros.substr(3), FrameFault::kSize, FrameFault::kSize},
        {"a MIC of zeros", with(1, 0x12), FrameFault::kMic, FrameFault::kNone},
        {"a trailer of zeros", body + zeros, FrameFault::kTrailer, FrameFault::kNone},
        {"another length", with(44, 0x29), FrameFault::kTrailer, FrameFault::kTrailer},
        {"bytes before the length", with(41, 0x55), FrameFault::kMic, FrameFault::kNone},
        {"a foreign device", with(4, 0x0C), FrameFault::kDevice, FrameFault::kDevice},
        {"the extended format", Bytes("1234490b00020000000280008000"), FrameFault::kExtended,
         FrameFault::kExtended},
        {"request and answer", with(3, 0x69), FrameFault::kFlags, FrameFault::kFlags},
        {"the reserved bit", with(3, static_cast<char>(0x89)), FrameFault::kFlags, FrameFault::kFlags},
    };
    for (const auto& sample : cases) {
        EXPECT_EQ(FaultOf(sample.bytes, kOnTheLine), sample.on_the_line) << sample.what;
        EXPECT_EQ(FaultOf(sample.bytes, kInCaptures), sample.in_captures) << sample.what;
    }
}

/// What a recording says about a frame: "get request: ME ONU data(2) inst 0x0000 tid 0x0001; mask 0x8000
/// ...".
class Description {
public:
    explicit Description(const std::string& of_frame) : text(of_frame) {}

    /// The frame's name in the words of this host.
    std::string Name() const {
        std::string name = text.substr(0, text.find(": ME "));
        if (WantsNoAnswer()) name.resize(name.find(", no ack"));
        const std::size_t response = name.find(" response");
        return response == std::string::npos ? name : name.replace(response, 9, " answer");
    }
    bool WantsNoAnswer() const { return text.find(", no ack: ME ") != std::string::npos; }
    bool Has(const std::string& words) const { return text.find(words) != std::string::npos; }
    unsigned long Class() const {
        return std::stoul(text.substr(text.rfind('(', text.find(") inst 0x")) + 1));
    }
    unsigned long Hex(const std::string& before) const { return std::stoul(Word(before), nullptr, 16); }
    /// The word behind `before`; empty when that is not there.
    std::string Word(const std::string& before) const {
        const std::size_t at = text.find(before);
        if (at == std::string::npos) return {};
        const std::size_t start = at + before.size();
        return text.substr(start, text.find_first_of(" ;", start) - start);
    }

private:
    const std::string text;
};

/// Each recorded frame beside what the recording says about it, number for number.
TEST(OmciFrame, ReadsRecordedFrames) {
    const auto recorded = RecordedFrames();
    if (recorded.empty()) GTEST_SKIP() << "no recorded frames at " << OMCI_FRAMES_FILE;
    for (const RecordedFrame& line : recorded) {
        SCOPED_TRACE(line.description);
        const Description said(line.description);
        OmciFrame frame;
        ASSERT_EQ(OmciFrame::Parse(line.bytes.data(), line.bytes.size(), kInCaptures, frame),
                  said.Has("[trailer 00000029") ? FrameFault::kTrailer : FrameFault::kNone);
        EXPECT_EQ(FrameName(frame.Kind(), frame.Type()), said.Name());
        EXPECT_EQ(frame.Kind() == FrameKind::kRequest && !frame.WantsAnswer(), said.WantsNoAnswer());
        EXPECT_EQ(frame.Me().me_class, said.Class());
        EXPECT_EQ(frame.Me().instance, said.Hex(" inst 0x"));
        EXPECT_EQ(frame.Tid(), said.Hex(" tid 0x"));
        const std::string text = Describe(frame);
        for (const char* field : {"mask 0x", "sequence "}) {
            EXPECT_TRUE(!said.Has(field) || text.find(field + said.Word(field)) != std::string::npos) << text;
        }
        EXPECT_TRUE(!said.Has("MIC=CRC32") || FaultOf(line.bytes, {false, true}) == FrameFault::kNone);
    }
}

} // namespace
