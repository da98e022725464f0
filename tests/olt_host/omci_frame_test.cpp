#include <regex>
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

/// Each recorded frame beside what the recording says about it, number for number: "get request: ME ONU
/// data(2) inst 0x0000 tid 0x0001; mask 0x8000 ...".
TEST(OmciFrame, ReadsRecordedFrames) {
    const auto recorded = RecordedFrames();
    if (recorded.empty()) GTEST_SKIP() << "no recorded frames at " << OMCI_FRAMES_FILE;
    const std::regex pattern(
        "(.*?)( response)?(, no ack)?: ME .*\\((\\d+)\\) inst 0x(\\w+) tid 0x(\\w+)(.*)");
    const std::regex field("(mask 0x|sequence )\\w+");
    for (const RecordedFrame& line : recorded) {
        SCOPED_TRACE(line.description);
        std::smatch said;
        ASSERT_TRUE(std::regex_match(line.description, said, pattern));
        const auto has = [&](const char* words) { return line.description.find(words) != std::string::npos; };
        OmciFrame frame;
        ASSERT_EQ(OmciFrame::Parse(line.bytes.data(), line.bytes.size(), kInCaptures, frame),
                  has("[trailer 00000029") ? FrameFault::kTrailer : FrameFault::kNone);
        EXPECT_EQ(FrameName(frame.Kind(), frame.Type()), said.str(1) + (said[2].matched ? " answer" : ""));
        EXPECT_EQ(frame.Kind() == FrameKind::kRequest && !frame.WantsAnswer(), said[3].matched);
        EXPECT_EQ(frame.Me().me_class, std::stoul(said[4]));
        EXPECT_EQ(frame.Me().instance, std::stoul(said[5], nullptr, 16));
        EXPECT_EQ(frame.Tid(), std::stoul(said[6], nullptr, 16));
        const std::string text = Describe(frame);
        std::smatch number;
        const std::string rest = said[7];
        EXPECT_TRUE(!std::regex_search(rest, number, field) || text.find(number.str()) != std::string::npos);
        EXPECT_TRUE(!has("MIC=CRC32") || FaultOf(line.bytes, {false, true}) == FrameFault::kNone);
    }
}

} // namespace
