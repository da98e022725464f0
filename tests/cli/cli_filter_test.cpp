// Output filters with output of any shape, and the one that saves.

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "onu_mng_platform/common/cli/terminal.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/temporary_directory.h"

namespace {

constexpr unsigned int kNode = 30;
std::string output;    // of the command "print"
size_t piece_size = 1; // in which it is written
size_t in_use = 0;     // bytes of the heap when all was written

size_t BytesInUse() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

int Print(cmd_element*, vty* terminal, int, char**) {
    for (size_t at = 0; at < output.size(); at += piece_size)
        vty_out(terminal, "%s", output.substr(at, piece_size).c_str());
    in_use = BytesInUse();
    return 5;
}

class CliFilterTest : public testing::Test {
protected:
    inline static const int installed = Install(kNode, "print", Print);

    /// What reaches the terminal of "print" with a filter; the same however the output is cut.
    std::string Filtered(const std::string& filter) {
        std::string first;
        for (const size_t size : {1U, 2U, 7U, 100000U}) {
            piece_size = size;
            EXPECT_EQ(vty_execute(terminal, kNode, ("print | " + filter).c_str()), 5);
            const std::string text = terminal.Text();
            if (size == 1) first = text;
            EXPECT_EQ(text, first) << "pieces of " << size;
        }
        return first;
    }

    CapturedTerminal terminal;
};

TEST_F(CliFilterTest, LinesEndInAnyWay) {
    output = "one\r\ntwo\nthree\r\r\n\nlast";
    EXPECT_EQ(Filtered("include e$"), "one\r\nthree\r\n");
    EXPECT_EQ(Filtered("exclude ^$"), "one\r\ntwo\r\nthree\r\nlast\r\n");
    EXPECT_EQ(Filtered("begin ^t"), "two\r\nthree\r\n\r\nlast\r\n");
    EXPECT_EQ(Filtered("count"), "5 lines\r\n");
    EXPECT_EQ(Filtered("include e$|a s "), "one\r\nthree\r\n") << "blanks at the end are none of it";
    output = "";
    EXPECT_EQ(Filtered("count"), "0 lines\r\n");
    EXPECT_EQ(Filtered("exclude x"), "");
}

TEST_F(CliFilterTest, LongLinesAreTreatedInPieces) {
    output = std::string(1023, 'a') + std::string(1023, 'b') + "c\r\n";
    EXPECT_EQ(Filtered("include b"), std::string(1023, 'b') + "\r\n");
    EXPECT_EQ(Filtered("count"), "3 lines\r\n");
}

// An expression that has the matcher keep a state for every character of this output.
TEST_F(CliFilterTest, ExpressionsStayWithinBounds) {
    output.clear();
    unsigned int bits = 1;
    for (int i = 0; i < 8000; ++i) {
        bits = bits * 1103515245 + 12345;
        output += (bits >> 16 & 1) != 0 ? 'a' : 'b';
        if (i % 100 == 99) output += "\r\n";
    }
    std::string line = "print | include (a|b)*a";
    for (int i = 0; i < 23; ++i)
        line += "(a|b)";
    piece_size = 100;
    const size_t before = BytesInUse();
    EXPECT_EQ(vty_execute(terminal, kNode, (line + "c").c_str()), 5);
    EXPECT_EQ(terminal.Text(), "");
    EXPECT_LT(in_use - before, 40'000'000U);
}

std::string Report(const std::string& body) {
    const std::string separator = "------------------------------\r\n";
    return "\r\nThe result is shown as follows\r\n" + separator + "\r\n" + body +
           "\r\nThe parameter description:\r\nID               : Context ID       \r\n\r\n" + separator +
           "Total result number = 2\r\n\r\n";
}

TEST_F(CliFilterTest, JsonHasAnObjectForEachEntry) {
    const struct {
        std::string text;
        std::vector<std::string> objects;
    } cases[] = {
        {"", {}},
        {Report("\r\n"), {}},
        {Report(
             "ID     NAME  TIME        \r\n1      a     0x1f        \r\n-2     longer 0xffffffffffffffff \r\n"
             "       b c               \r\n"),
         {R"({"ID":1,"NAME":"a","TIME":31})", R"({"ID":-2,"NAME":"longer","TIME":18446744073709551615})",
          R"({"ID":null,"NAME":"b c","TIME":null})"}},
        {Report("FLAG             = True            \r\nSN               = 123456789012    \r\n"
                "LEVELS           = 4,7,            \r\nMAC              =                 \r\n") +
             "and more",
         {R"({"FLAG":true,"SN":"123456789012","LEVELS":"4,7,","MAC":null})", R"({"text":"and more"})"}},
        {"Two of them:\nUp to bytes      Used  Bytes  State\n         16         7      8  in sync\n"
         "2 of them: 2 used, 8 bytes in all of them\n\nAn Empty One\nName  Bytes  Place at\nx   123456  "
         "a:1\n",
         {R"({"text":"Two of them:"})", R"({"Up to bytes":16,"Used":7,"Bytes":8,"State":"in sync"})",
          R"({"text":"2 of them: 2 used, 8 bytes in all of them"})", R"({"text":"An Empty One"})",
          R"({"Name":"x","Bytes":123456,"Place at":"a:1"})"}},
        {"Size  Size  Size\n   1     2    03\n", {R"({"Size":1,"Size 2":2,"Size 3":"03"})"}},
        {"% Out of range.\r\n  <1-9>  a number\r\n  state          in sync, not\r\n",
         {R"({"error":"Out of range."})", R"({"name":"<1-9>","value":"a number"})",
          R"({"name":"state","value":"in sync, not"})"}},
        {"a \"b\" \\ \x1b\t\xc3\x9c\xf0\x9f\x98\x80\xed\xa0\x80\xc0\x80\xe2\x82",
         {R"({"text":"a \"b\" \\ \u001b\u0009\u00dc\ud83d\ude00\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd"})"}},
    };
    const TemporaryDirectory directory;
    const std::string path = directory.path + "/all";
    for (const auto& each : cases) {
        output = each.text;
        std::string expected;
        for (const std::string& object : each.objects)
            expected += (expected.empty() ? "[\r\n" : ",\r\n") + object;
        EXPECT_EQ(Filtered("json"), expected.empty() ? "[]\r\n" : expected + "\r\n]\r\n");
        std::ofstream(path, std::ios::app) << expected << (expected.empty() ? "[]" : "]");
    }
    EXPECT_EQ(vty_execute(terminal, kNode, "print it | js"), -1);
    EXPECT_EQ(terminal.Text().substr(0, 31), "[\r\n{\"error\":\"Unknown command.\"}");
    if (std::system("jq --version > /dev/null 2>&1") != 0) GTEST_SKIP() << "jq is not installed";
    EXPECT_EQ(std::system(("jq -es 'length == 8 and all(type == \"array\")' > /dev/null " + path).c_str()),
              0);
}

class CliSaveTest : public CliFilterTest {
protected:
    CliSaveTest() {
        output = "one\r\ntwo\r\n";
        vty* console = terminal;
        console->may_save = true;
    }

    std::string Save() {
        vty_execute(terminal, kNode, ("print | save " + path).c_str());
        return terminal.Text();
    }
    /// What is saved, and nothing else is left in the directory.
    std::string Saved() const {
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path), {}), 1);
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const TemporaryDirectory directory;
    const std::string path = directory.path + "/report";
};

TEST_F(CliSaveTest, ReplacesAnEarlierFile) {
    const auto mode = [this] { return std::filesystem::status(path).permissions(); };
    const mode_t mask = umask(0027);
    EXPECT_EQ(Save(), "10 bytes saved to " + path + "\r\n");
    umask(mask);
    EXPECT_EQ(Saved(), output);
    EXPECT_EQ(mode(), std::filesystem::perms{0640});
    std::filesystem::permissions(path, std::filesystem::perms{0604});
    output = "three\r\n";
    EXPECT_EQ(Save(), "7 bytes saved to " + path + "\r\n");
    EXPECT_EQ(Saved(), output);
    EXPECT_EQ(mode(), std::filesystem::perms{0604});
}

TEST_F(CliSaveTest, KeepsTheEarlierFileWhenTheDiskIsFull) {
    std::ofstream(path) << "old";
    output = std::string(100000, 'x');
    piece_size = 100;
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{1000, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string answer = Save();
    setrlimit(RLIMIT_FSIZE, &old);
    EXPECT_EQ(answer, "% Cannot save: File too large.\r\n");
    EXPECT_EQ(Saved(), "old");
}

TEST_F(CliSaveTest, LeavesWhatIsNoFileAlone) {
    mkfifo(path.c_str(), 0600);
    EXPECT_EQ(Save(), "% Cannot save: not a regular file.\r\n");
    EXPECT_TRUE(std::filesystem::is_fifo(path));
    vty* remote = terminal;
    remote->may_save = false;
    EXPECT_EQ(Save().substr(0, 18), "% Unknown command.");
}

} // namespace
