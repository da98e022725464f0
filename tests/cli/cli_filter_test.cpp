// Output filters with output of any shape, and the one that saves.

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <dirent.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "onu_mng_platform/common/cli/terminal.h"
#include "tests/support/captured_terminal.h"

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

/// What reaches the terminal of "print" with a filter; the same however the output is cut.
std::string Filtered(const std::string& filter) {
    static cmd_element record = {"print", Print, nullptr, 0, 0, "print"};
    EXPECT_EQ(install_element(kNode, &record), 0);
    CapturedTerminal terminal;
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

TEST(CliFilterTest, LinesEndInAnyWay) {
    output = "one\r\ntwo\nthree\r\r\n\nlast";
    EXPECT_EQ(Filtered("include e$"), "one\r\nthree\r\n");
    EXPECT_EQ(Filtered("exclude ^$"), "one\r\ntwo\r\nthree\r\nlast\r\n");
    EXPECT_EQ(Filtered("begin ^t"), "two\r\nthree\r\n\r\nlast\r\n");
    EXPECT_EQ(Filtered("count"), "5 lines\r\n");
    output = "";
    EXPECT_EQ(Filtered("count"), "0 lines\r\n");
    EXPECT_EQ(Filtered("exclude x"), "");
}

TEST(CliFilterTest, LongLinesAreTreatedInPieces) {
    output = std::string(1023, 'a') + std::string(1023, 'b') + "c\r\n";
    EXPECT_EQ(Filtered("include b"), std::string(1023, 'b') + "\r\n");
    EXPECT_EQ(Filtered("count"), "3 lines\r\n");
}

// An expression that has the matcher keep a state for every character of this output.
TEST(CliFilterTest, ExpressionsStayWithinBounds) {
    Filtered("count"); // installs
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
    CapturedTerminal terminal;
    piece_size = 100;
    const size_t before = BytesInUse();
    EXPECT_EQ(vty_execute(terminal, kNode, (line + "c").c_str()), 5);
    EXPECT_EQ(terminal.Text(), "");
    EXPECT_LT(in_use - before, 40'000'000U);
}

class CliSaveTest : public testing::Test {
protected:
    CliSaveTest() {
        char name[] = "/tmp/cli_save_XXXXXX";
        directory = mkdtemp(name);
        path = directory + "/report";
        output = "one\r\ntwo\r\n";
        vty* console = terminal;
        console->may_save = true;
        Filtered("count"); // installs
    }
    ~CliSaveTest() override {
        unlink(path.c_str());
        rmdir(directory.c_str());
    }

    std::string Save() {
        EXPECT_EQ(Files(), before);
        vty_execute(terminal, kNode, ("print | save " + path).c_str());
        return terminal.Text();
    }
    std::string Saved() const {
        std::ifstream file(path);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    size_t Files() const {
        DIR* open = opendir(directory.c_str());
        size_t files = 0;
        while (const dirent* entry = readdir(open))
            files += entry->d_name[0] == '.' ? 0 : 1;
        closedir(open);
        return files;
    }

    std::string directory;
    std::string path;
    CapturedTerminal terminal;
    size_t before = 0;
};

TEST_F(CliSaveTest, ReplacesAnEarlierFile) {
    EXPECT_EQ(Save(), "10 bytes saved to " + path + "\r\n");
    EXPECT_EQ(Saved(), output);
    output = "three\r\n";
    before = 1;
    EXPECT_EQ(Save(), "7 bytes saved to " + path + "\r\n");
    EXPECT_EQ(Saved(), output);
    EXPECT_EQ(Files(), 1U);
}

TEST_F(CliSaveTest, KeepsTheEarlierFileWhenTheDiskIsFull) {
    std::ofstream(path) << "old";
    before = 1;
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
    EXPECT_EQ(Files(), 1U);
}

TEST_F(CliSaveTest, LeavesWhatIsNoFileAlone) {
    mkfifo(path.c_str(), 0600);
    before = 1;
    EXPECT_EQ(Save(), "% Cannot save: not a regular file.\r\n");
    EXPECT_EQ(Files(), 1U);
    vty* remote = terminal;
    remote->may_save = false;
    EXPECT_EQ(Save().substr(0, 18), "% Unknown command.");
}

} // namespace
