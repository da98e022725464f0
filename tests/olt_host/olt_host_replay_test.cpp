#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "olt_host/replay/replay.h"
#include "tests/support/omci_frames.h"

using namespace olt_host;

namespace {

struct Outcome {
    int status;
    std::string out;
    std::string err;
};

Outcome ReplayOf(const std::string& path, const ReplayOptions& options = {}) {
    std::ostringstream out;
    std::ostringstream err;
    const int status = Replay(path, options, out, err);
    return {status, out.str(), err.str()};
}

/// A file for the time of a test; its name is cut out of what is printed.
class OltHostReplay : public ::testing::Test {
protected:
    ~OltHostReplay() override { std::remove(path.c_str()); }

    Outcome Run(const std::string& text, const ReplayOptions& options = {}) {
        std::ofstream(path) << text;
        Outcome outcome = ReplayOf(path, options);
        for (std::string* printed : {&outcome.out, &outcome.err}) {
            for (std::size_t at; (at = printed->find(path)) != std::string::npos;)
                printed->replace(at, path.size(), "FILE");
        }
        return outcome;
    }

    const std::string path = testing::TempDir() + "olt_host_replay_test.txt";
};

std::string Line(std::string hex, std::size_t size = OmciFrame::kSizeWithoutTrailer) {
    const std::size_t gap = hex.find("...");
    hex.replace(gap, 3, std::string(2 * size - (hex.size() - 3), '0'));
    return hex + "\n";
}

TEST_F(OltHostReplay, FollowsABringUp) {
    const Outcome outcome = Run(Line("80014f0a00020000...") + Line("80012f0a00020000...") +
                                Line("80024d0a00020000...") + Line("80022d0a000200000002...") +
                                Line("80034e0a00020000...") + Line("80032e0a00020000000200008000...") +
                                Line("80044e0a000200000001...") + Line("80042e0a000200000100000080...") +
                                Line("8007440a010c0001...") + // two transactions are missing
                                Line("0000100a000b010180...") + Line("0001490a00020000..."));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out, "FILE: 11 frames\n"
                           "by type\n"
                           "       1  create request\n"
                           "       1  get request\n"
                           "       1  MIB upload request\n"
                           "       2  MIB upload next request\n"
                           "       1  MIB reset request\n"
                           "       1  MIB upload answer\n"
                           "       2  MIB upload next answer\n"
                           "       1  MIB reset answer\n"
                           "       1  alarm notification\n"
                           "by service\n"
                           "       4  MibUpload\n"
                           "       0  Provisioning\n"
                           "       1  Notification\n"
                           "       0  unclaimed\n"
                           "       6  requests, which no service is sent\n"
                           "malformed\n"
                           "       0  lines\n"
                           "procedures\n"
                           "       1  bring-ups followed to their last request\n"
                           "       1  MIB uploads followed by their answers\n"
                           "       4  requests with their answer\n"
                           "       2  requests without an answer\n"
                           "       0  answers without a request\n"
                           "bring-up, lines 1 to 9, transactions 0x8001 to 0x8007\n"
                           "       1  create\n"
                           "       1  MIB upload\n"
                           "       2  MIB upload next\n"
                           "       1  MIB reset\n"
                           "          upload next up to sequence 1, in order\n"
                           "       5  requests in all\n"
                           "       4  answered in the file\n"
                           "       2  transactions that the file does not hold\n"
                           "MIB upload by its answers, lines 4 to 8\n"
                           "       2  rows\n"
                           "       2  announced\n");
}

TEST_F(OltHostReplay, TellsMalformedLinesApart) {
    const std::string text = "# only a comment\n\n"
                             "0001290A00020000 is no frame\n" + // 3
                             Line("0001290a00020000...", 39) +  // 4
                             "  " +
                             Line("0001290a00020000...").substr(0, 80) + "\tget \t# answer\r\n" +
                             Line("0x0001290a00020000...", 41) +       // 6: as long as 40 bytes, with the 0x
                             Line("0001690a00020000...") +             // 7
                             Line("0001290c00020000...") +             // 8
                             Line("0001290b00020000...", 60) +         // 9
                             Line("0001290a00020000...00000029", 44) + // 10
                             Line("0001290a00020000...0000002812345678", 48).substr(0, 96) + // 11
                             std::string(9000, ' ') + "not looked at\n" + "000\n";           // 12
    Outcome outcome = Run(text, {false, true});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "FILE:3: not hexadecimal\n"
                           "FILE:4: wrong size\n"
                           "FILE:7: wrong flags\n"
                           "FILE:8: wrong device id\n"
                           "FILE:10: wrong trailer\n"
                           "FILE:12: not hexadecimal\n");
    const std::string answer = "get answer tid 0x0001 ONU data(2) 0x0000: ok, mask 0x0000\n";
    EXPECT_EQ(outcome.out.substr(0, outcome.out.find("FILE")),
              "5: " + answer + "6: " + answer + "9: extended format\n11: " + answer);
    for (const char* part :
         {"FILE: 3 frames\n", "       1  extended format, not looked into\n",
          "malformed\n       2  not hexadecimal\n       1  wrong size\n"
          "       1  wrong device id\n       1  wrong flags\n       1  wrong trailer\nprocedures\n"})
        EXPECT_NE(outcome.out.find(part), std::string::npos) << outcome.out;

    outcome = Run(text, {true, false});
    EXPECT_NE(outcome.err.find("FILE:11: wrong MIC\n"), std::string::npos);
    EXPECT_EQ(outcome.err.find("FILE:6"), std::string::npos) << "it has none";
}

/// A capture with microseconds in the little-endian pcap format; `link` 1 is Ethernet.
std::string Capture(std::size_t link, const std::vector<std::string>& frames) {
    const auto number = [](std::size_t n) { return std::string({static_cast<char>(n), 0, 0, 0}); };
    std::string file = Bytes("d4c3b2a1020004000000000000000000ffff0000") + number(link);
    for (const std::string& hex : frames)
        file += number(0) + number(0) + number(hex.size() / 2) + number(hex.size() / 2) + Bytes(hex);
    return file;
}

TEST_F(OltHostReplay, ReadsCaptures) {
    const std::string request = "020000000101"
                                "02000000010088b580014f0a00020000" +
                                std::string(80, '0');
    const std::string tagged = "020000000100"
                               "0200000001018100000188a8000288b580012f0a00020000" +
                               std::string(76, '0'); // 40 bytes, padded to 46
    const std::string arp = "ffffffffffff0200000001010806" + std::string(92, '0');
    const std::string frames = Capture(1, {request, arp, tagged, request.substr(0, 60)});
    Outcome outcome = Run(frames);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, "FILE:4: wrong size\n");
    for (const char* part : {"FILE: 2 frames\n", "       1  not OMCI, not looked into\n",
                             "       1  requests with their answer\n"})
        EXPECT_NE(outcome.out.find(part), std::string::npos) << outcome.out;

    outcome = Run(frames + frames.substr(24, 50)); // the host was killed
    EXPECT_EQ(outcome.status, 2);
    EXPECT_NE(outcome.err.find("olt_host: FILE: truncated"), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out.find("FILE: 2 frames\n"), 0u) << "what was read counts";

    outcome = Run(Capture(101, {request}));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out + outcome.err, "olt_host: FILE: its link type is RAW, not Ethernet\n");
}

TEST_F(OltHostReplay, EndsWithoutAFileToRead) {
    EXPECT_EQ(ReplayOf(path + "/none").status, 2);
    const Outcome outcome = ReplayOf(testing::TempDir());
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find(testing::TempDir() + ": "), std::string::npos);
}

/// Every recorded line comes out in one place, counted against what the recording itself says.
TEST(OltHostRecording, IsClassifiedToTheLastLine) {
    const auto recorded = RecordedFrames();
    if (recorded.empty()) GTEST_SKIP() << "no recorded frames at " << OMCI_FRAMES_FILE;
    unsigned long requests = 0;
    for (const RecordedFrame& frame : recorded)
        requests += frame.description.find(" request") != std::string::npos ? 1 : 0;

    const Outcome outcome = ReplayOf(OMCI_FRAMES_FILE);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.err, std::string(OMCI_FRAMES_FILE) + ":516: wrong trailer\n");
    const auto number = [&outcome](const std::string& what) -> unsigned long {
        const std::size_t end = outcome.out.find("  " + what + '\n');
        if (end == std::string::npos) return 0;
        return std::stoul(outcome.out.substr(outcome.out.rfind('\n', end) + 1));
    };
    const unsigned long malformed = number("wrong trailer");
    const unsigned long taken =
        number("MibUpload") + number("Provisioning") + number("Notification") + number("unclaimed");
    EXPECT_EQ(malformed, 1u);
    EXPECT_EQ(number("requests, which no service is sent"), requests - malformed); // that line is a request
    EXPECT_EQ(taken + requests, recorded.size());
    EXPECT_EQ(number("lost"), 0u);
    // The live bring-up in it, to its last request.
    EXPECT_NE(outcome.out.find("bring-up, lines 2 to 188, transactions 0x8264 to 0x849d\n"),
              std::string::npos);
    EXPECT_EQ(number("requests in all"), 187u);
    EXPECT_EQ(number("requests in all") + number("transactions that the file does not hold"), 570u);
    EXPECT_EQ(number("MIB uploads followed by their answers"), 2u);
}

} // namespace
