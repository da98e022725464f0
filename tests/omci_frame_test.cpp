#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "olt_host/omci_frame.h"
#include "olt_host/omci_text.h"
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

TEST(OmciFrame, BuildsFrames) {
    OmciFrame request = OmciFrame::Request(OmciType::kSet, {262, 0x8001});
    request.SetTid(0x0102);
    request.Set(9, std::uint16_t{0xA000});
    request.Set(11, std::uint16_t{0xFFFE});
    EXPECT_EQ(Bytes(request), Bytes("0102480a01068001a000fffe...0000002800000000", OmciFrame::kSize));

    OmciFrame answer = OmciFrame::AnswerTo(request);
    answer.SetResult(OmciResult::kAttributesFailed);
    EXPECT_EQ(Bytes(answer), Bytes("0102280a0106800109...0000002800000000", OmciFrame::kSize));

    OmciFrame alarm = OmciFrame::Notification(OmciType::kAlarm, {11, 0x0101});
    alarm.Set(40, std::uint8_t{7});
    EXPECT_EQ(Bytes(alarm), Bytes("0000100a000b0101...070000002800000000", OmciFrame::kSize));
}

/// Each recorded frame beside what the recording says about it, number for number.
TEST(OmciFrame, ReadsRecordedFrames) {
    const auto recorded = RecordedFrames();
    if (recorded.empty()) GTEST_SKIP() << "no recorded frames at " << OMCI_FRAMES_FILE;
    const std::regex form(
        "(.*) (request|response|notification)(, no ack)?: ME .*\\(([0-9]+)\\) inst 0x([0-9a-f]+) "
        "tid 0x([0-9a-f]+)(.*)");
    const std::regex mask("(^|[ ;])mask 0x([0-9a-f]+)");
    const std::regex sequence("; sequence ([0-9]+)");
    for (const RecordedFrame& line : recorded) {
        SCOPED_TRACE(line.description);
        OmciFrame frame;
        const bool has_foreign_length = line.description.find("!= 00000028") != std::string::npos &&
                                        line.description.find("94320028") == std::string::npos;
        ASSERT_EQ(OmciFrame::Parse(line.bytes.data(), line.bytes.size(), kInCaptures, frame),
                  has_foreign_length ? FrameFault::kTrailer : FrameFault::kNone);
        std::smatch part;
        ASSERT_TRUE(std::regex_match(line.description, part, form));
        std::string name = part.str(1) + ' ' + (part.str(2) == "response" ? "answer" : part.str(2));
        EXPECT_EQ(FrameName(frame.Kind(), frame.Type()), name);
        EXPECT_EQ(frame.Kind() == FrameKind::kRequest && !frame.WantsAnswer(), part[3].matched);
        EXPECT_EQ(frame.Me().me_class, std::stoul(part.str(4)));
        EXPECT_EQ(frame.Me().instance, std::stoul(part.str(5), nullptr, 16));
        EXPECT_EQ(frame.Tid(), std::stoul(part.str(6), nullptr, 16));
        const std::string rest = part.str(7);
        const std::string text = Describe(frame);
        const auto says = [&](const std::string& words) { return text.find(words) != std::string::npos; };
        EXPECT_TRUE(!std::regex_search(rest, part, mask) || says("mask 0x" + part.str(2))) << text;
        EXPECT_TRUE(!std::regex_search(rest, part, sequence) || says("sequence " + part.str(1))) << text;
        EXPECT_TRUE(rest.find("MIC=CRC32") == std::string::npos ||
                    FaultOf(line.bytes, {false, true}) == FrameFault::kNone);
    }
}

} // namespace
