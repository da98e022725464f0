// Output filters with output of any shape, and the one that saves.

#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

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
