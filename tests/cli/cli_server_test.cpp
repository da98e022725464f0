// Operators over the socket: many at once, slow ones, dead ones, foreign ones.

#include <clocale>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "onu_mng_platform/posix/cli/client.h"
#include "onu_mng_platform/posix/cli/server.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"
#include "tests/support/temporary_directory.h"

namespace {

using onu_mng_platform::CliClient;
using onu_mng_platform::CliServer;
using onu_mng_platform::CliStatus;
using onu_mng_platform::ConnectTo;
using onu_mng_platform::Descriptor;

constexpr unsigned int kNode = 40;

int Echo(cmd_element*, vty* terminal, int, char** argv) {
    vty_out(terminal, "%s\r\n", argv[0]);
    return 0;
}

int Rows(cmd_element*, vty* terminal, int, char** argv) {
    const int rows = std::atoi(argv[0]);
    for (int i = 0; i < rows; ++i)
        vty_out(terminal, "row %06d of a report that is as wide as a terminal, as reports are\r\n", i);
    return 0;
}

int Rogue(cmd_element*, vty* terminal, int, char**) {
    vty_out(terminal, "%s",
            "a\x04"
            "0\n\x1b[2Jb\x7f\tc\xc3\x9c\x9b\xc2\x9b\x9b\xe0\x80\x9b"
            "2J\xf0\x9f\x98\x80\r\n");
    return 0;
}

/// What ends more than its command.
int Die(cmd_element*, vty*, int, char** argv) {
    if (*argv[0] == 't') pthread_exit(nullptr);
    if (*argv[0] == 'e') std::exit(3);
    throw 42;
}

std::mutex mutex;
std::condition_variable changed;
int waiting = 0; // of "show wait", each until it is told to go on
bool may_go_on = false;

int Wait(cmd_element*, vty* terminal, int, char**) {
    std::unique_lock<std::mutex> lock(mutex);
    ++waiting;
    changed.notify_all();
    changed.wait(lock, [] { return may_go_on; });
    vty_out(terminal, "done\r\n");
    return 0;
}
void AwaitWaiting(int count) {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [=] { return waiting == count; });
}
void GoOn() {
    const std::lock_guard<std::mutex> lock(mutex);
    may_go_on = true;
    changed.notify_all();
}

void Send(const Descriptor& connection, const std::string& text) {
    EXPECT_EQ(send(connection.get(), text.data(), text.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(text.size()));
}

/// What comes until the other end closes, or until it ends in `end`.
std::string Read(const Descriptor& connection, const std::string& end = "\xff") {
    std::string text;
    char data[4096];
    while (text.size() < end.size() || text.compare(text.size() - end.size(), end.size(), end) != 0) {
        const ssize_t size = recv(connection.get(), data, sizeof data, 0);
        if (size <= 0) break;
        text.append(data, static_cast<size_t>(size));
    }
    return text;
}

class CliServerTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_EQ(Install(kNode, "echo <word>", Echo, "say it again"), 0);
        ASSERT_EQ(Install(kNode, "show rows <0-1000000>", Rows), 0);
        ASSERT_EQ(Install(kNode, "show wait", Wait), 0);
        ASSERT_EQ(Install(kNode, "show rogue", Rogue), 0);
        ASSERT_EQ(Install(kNode, "die [loudly|thread|exit]", Die), 0);
    }
    CliServerTest() {
        waiting = 0;
        may_go_on = false;
    }
    ~CliServerTest() override {
        GoOn();
        server.Stop();
    }

    CliStatus Start(const CliServer::Options& options = {}) {
        return server.Start(path, kNode, "olt# ", options);
    }

    /// A connection on which `text` was typed.
    Descriptor Connect(const std::string& text = "") const {
        Descriptor connection;
        EXPECT_EQ(ConnectTo(path, &connection), CliStatus::kOk);
        if (!text.empty()) Send(connection, text);
        return connection;
    }

    const TemporaryDirectory directory;
    const std::string path = directory.path + "/olt.sock";
    LogLines log;
    CliServer server;
};

/// A program at a server.
class Program : public CliClient {
public:
    explicit Program(const std::string& path) { EXPECT_EQ(Connect(path), CliStatus::kOk); }

    std::string Ask(const std::string& line, int expected = 0) {
        std::string text;
        EXPECT_EQ(Run(line, [&text](std::string_view part) { text += part; }), expected) << line;
        return text;
    }
};

long OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(CliServerTest, AnswersAPersonWhoTypesByHand) {
    ASSERT_EQ(Start(), CliStatus::kOk);
    const Descriptor connection =
        Connect("echo one\r\necho two\n\necho ?\nec?\nshow rows | include a?\nnothing\nex");
    Send(connection, std::string("it\0\necho late\n", 14));
    EXPECT_EQ(Read(connection),
              "one\r\nolt# two\r\nolt# olt#   <word>\r\nolt#   echo  say it again\r\nolt# "
              "% Command incomplete.\r\nolt# % Unknown command.\r\n  nothing\r\n  ^\r\nolt# ");
}

TEST_F(CliServerTest, RunsAScriptToItsEndAndNotHalfALine) {
    ASSERT_EQ(Start(), CliStatus::kOk);
    const Descriptor connection =
        Connect("show rows 3\n" + std::string(3000, 'x') + "\necho " + std::string(1018, 'y') + "\necho 30");
    shutdown(connection.get(), SHUT_WR);
    const std::string answer = Read(connection);
    EXPECT_NE(answer.find("row 000002"), std::string::npos);
    EXPECT_NE(answer.find("olt# % Line too long.\r\nolt# yyyy"), std::string::npos);
    EXPECT_EQ(answer.substr(answer.size() - 10), "yyy\r\nolt# ");
}

TEST_F(CliServerTest, AnswersPrograms) {
    ASSERT_EQ(Start(), CliStatus::kOk);
    Program client(path);
    std::string farewell;
    EXPECT_EQ(client.Prompt(&farewell), "olt# ");
    EXPECT_EQ(client.Ask("echo hello"), "hello\r\n");
    EXPECT_EQ(client.Ask("show", -1), "% Command incomplete.\r\n");
    EXPECT_EQ(client.Ask("echo a\necho b", -1).substr(0, 18), "% Unknown command.");
    EXPECT_EQ(client.Ask("list | save /tmp/x", -1).substr(0, 18), "% Unknown command.");
    EXPECT_EQ(client.Describe("echo "), "  <word>\r\n");
    EXPECT_EQ(client.Complete("ec").insert, "ho ");
    EXPECT_EQ(client.Complete("show r").choices, (Lines{"rogue", "rows"}));
    EXPECT_EQ(client.Ask("show rogue"), "a.0\n.[2Jb.\tc\xc3..\xc2..\xe0..2J\xf0...\r\n");
    EXPECT_STRNE(setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    EXPECT_EQ(Program(path).Ask("show rogue"), "a.0\n.[2Jb.\tc\xc3\x9c.\xc2..\xe0..2J\xf0\x9f\x98\x80\r\n");
    setlocale(LC_CTYPE, "C");
    Program left(path);
    EXPECT_EQ(client.Ask("exit"), "");
    EXPECT_FALSE(client.Prompt(&farewell).has_value());

    const Descriptor raw = Connect("@bogus\n@prompt\n@run\n");
    const std::string answers = "% Unknown request.\r\n\x04-1\nolt# \x04"
                                "0\n% Unknown request.\r\n\x04-1\n";
    EXPECT_EQ(Read(raw, answers), answers);

    server.Stop(); // what it says is not taken for what TAB types
    EXPECT_EQ(left.Complete("sh").insert, "");
    std::string last_words;
    EXPECT_FALSE(left.Run("list", [&](std::string_view text) { last_words += text; }));
    EXPECT_EQ(last_words, "% Closed: the host stops.\r\n");
}

TEST_F(CliServerTest, ServesSixteenOperatorsWhileOneNeverReads) {
    CliServer::Options options;
    options.output.patience = std::chrono::seconds(2);
    ASSERT_EQ(Start(options), CliStatus::kOk);
    const Descriptor dead = Connect("show rows 1000000\n");
    std::vector<std::thread> operators;
    for (int i = 0; i < 16; ++i) {
        operators.emplace_back([this, i] {
            Program client(path);
            for (int k = 0; k < 100; ++k) {
                const std::string word = std::to_string(i * 1000 + k);
                ASSERT_EQ(client.Ask("echo " + word), word + "\r\n");
            }
            EXPECT_EQ(client.Ask("show rows 20000 | count"), "20000 lines\r\n");
            EXPECT_EQ(client.Ask("show rows 20000").size(), 20000U * 70);
        });
    }
    for (std::thread& thread : operators)
        thread.join();
    pollfd end{dead.get(), 0, 0};
    poll(&end, 1, -1);
    EXPECT_NE(end.revents & POLLHUP, 0) << "closed though nothing was read";
    server.Stop();
    const Lines lines = log.Take();
    const auto dropped = [](const std::string& line) { return line.find("its output is not read") + 1 != 0; };
    EXPECT_EQ(std::count_if(lines.begin(), lines.end(), dropped), 1);
}

TEST_F(CliServerTest, ASlowCommandHoldsUpNobodyElse) {
    ASSERT_EQ(Start(), CliStatus::kOk);
    std::vector<std::thread> slow;
    for (int i = 0; i < 8; ++i) {
        slow.emplace_back([this] {
            Program client(path);
            EXPECT_EQ(client.Ask("show wait"), "done\r\n");
        });
    }
    AwaitWaiting(8);
    Program client(path);
    EXPECT_EQ(client.Ask("echo fast"), "fast\r\n");
    GoOn();
    for (std::thread& thread : slow)
        thread.join();
}

TEST_F(CliServerTest, StopsUnderSessionsOfEveryKind) {
    const long before = OpenDescriptors();
    ASSERT_EQ(Start(), CliStatus::kOk);
    const Descriptor idle = Connect();
    const Descriptor busy = Connect("show wait\necho never\n");
    Descriptor gone = Connect("show wait\necho late\n");
    const Descriptor stuck = Connect("show rows 1000000\n");
    AwaitWaiting(2);
    gone.Close();
    std::thread opener(GoOn);
    server.Stop();
    opener.join();
    EXPECT_EQ(Read(idle), "% Closed: the host stops.\r\n");
    EXPECT_NE(access(path.c_str(), F_OK), 0);
    EXPECT_EQ(Start(), CliStatus::kOk);
    server.Stop();
    EXPECT_EQ(OpenDescriptors(), before + 3);
}

TEST_F(CliServerTest, AHandlerThatThrowsOrEndsItsThreadEndsAtMostItsSession) {
    CliServer::Options options;
    options.max_sessions = 2;
    ASSERT_EQ(Start(options), CliStatus::kOk);
    Program client(path);
    EXPECT_EQ(client.Ask("die loudly", -1), "% Command failed: unknown exception.\r\n");
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Read(Connect("die thread\n")), "");
    EXPECT_EQ(client.Ask("echo here"), "here\r\n");
}

TEST_F(CliServerTest, AHandlerMayEndTheProcess) {
    EXPECT_EXIT(
        {
            static CliServer global;
            if (global.Start(path, kNode, "olt# ") != CliStatus::kOk) _exit(1);
            Read(Connect("die exit\n"));
            pause();
        },
        testing::ExitedWithCode(3), "");
    EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST_F(CliServerTest, TheEndOfASessionWaitsForNoCommand) {
    const onu_mng_platform::CliEvent wake;
    onu_mng_platform::CliOutput output({4, std::chrono::hours(1)}, &wake);
    output.PutIfEmpty("full");
    output.PutIfEmpty("not taken, and not waited for");
    int pipe_ends[2];
    ASSERT_EQ(pipe(pipe_ends), 0);
    output.Send(pipe_ends[1]);
    close(pipe_ends[1]);
    char text[64];
    EXPECT_EQ(read(pipe_ends[0], text, sizeof text), 4);
    close(pipe_ends[0]);
}

TEST_F(CliServerTest, AClientGivesAHostUpThatHangs) {
    onu_mng_platform::CliListener hung;
    ASSERT_EQ(hung.Open(path), CliStatus::kOk);
    CliClient client;
    ASSERT_EQ(client.Connect(path, std::chrono::seconds(1)), CliStatus::kOk);
    std::string farewell;
    EXPECT_FALSE(client.Prompt(&farewell).has_value());
    EXPECT_TRUE(client.HasTimedOut());
}

TEST_F(CliServerTest, LetsOnlySoManyIn) {
    CliServer::Options options;
    options.max_sessions = 2;
    ASSERT_EQ(Start(options), CliStatus::kOk);
    const Descriptor first = Connect();
    const Descriptor second = Connect();
    EXPECT_EQ(Read(Connect()), "% Refused: too many sessions.\r\n");
    Send(second, "exit\n");
    EXPECT_EQ(Read(second), "");
    Send(first, "echo here\n");
    EXPECT_EQ(Read(first, "olt# "), "here\r\nolt# ");
    Connect("show wait\n");
    AwaitWaiting(1);
}

TEST_F(CliServerTest, EndsWhoIsSilentForTooLong) {
    CliServer::Options options;
    options.idle_limit = std::chrono::seconds(1);
    ASSERT_EQ(Start(options), CliStatus::kOk);
    const Descriptor busy = Connect("show wait\nexit\n");
    EXPECT_EQ(Read(Connect()), "% Closed: idle.\r\n");
    GoOn();
    EXPECT_EQ(Read(busy), "done\r\nolt# ");
}

TEST_F(CliServerTest, LogsSessionsAndWhatTheyChange) {
    ASSERT_EQ(Start(), CliStatus::kOk);
    Read(Connect("show rows 1 | count\necho x\nexit\n"));
    server.Stop();
    const std::string who =
        "12 cli 1 (uid " + std::to_string(getuid()) + ", pid " + std::to_string(getpid()) + "): ";
    EXPECT_EQ(log.Take(), (Lines{who + "connected", who + "echo x", "9" + who.substr(2) + "closed, exit"}));
}

TEST_F(CliServerTest, RefusesStrangers) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
    ASSERT_EQ(Start(), CliStatus::kOk);
    chmod(directory.path.c_str(), 0755);
    const auto as_user = [](uid_t user, const std::function<bool()>& check) {
        const pid_t child = fork();
        if (child == 0) _exit(setuid(user) == 0 && check() ? 0 : 1);
        int status = 1;
        waitpid(child, &status, 0);
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    };
    Descriptor connection;
    EXPECT_TRUE(as_user(
        65534, [&] { return ConnectTo(path, &connection) == CliStatus::kSystem && errno == EACCES; }));
    chmod(path.c_str(), 0666);
    EXPECT_TRUE(as_user(65534, [this] { return Read(Connect()) == "% Refused: permission denied.\r\n"; }));
    EXPECT_EQ(log.Take().front().substr(0, 21), "13 cli: uid 65534 pid");

    // A stranger's socket, at which somebody else looks for a host.
    server.Stop();
    chmod(directory.path.c_str(), 0777);
    ASSERT_EQ(seteuid(65534), 0);
    onu_mng_platform::CliListener strange;
    EXPECT_EQ(strange.Open(path), CliStatus::kOk);
    ASSERT_EQ(seteuid(0), 0);
    chmod(path.c_str(), 0666);
    EXPECT_TRUE(as_user(65533, [&] { return ConnectTo(path, &connection) == CliStatus::kForeign; }));
    EXPECT_TRUE(as_user(65534, [&] { return ConnectTo(path, &connection) == CliStatus::kOk; }));
    EXPECT_EQ(ConnectTo(path, &connection), CliStatus::kOk) << "root";
}

TEST_F(CliServerTest, MeetsOthersThatStartAtItsOwnPathOnly) {
    const Descriptor other(open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(flock(other.get(), LOCK_EX), 0);
    EXPECT_EQ(Start(), CliStatus::kInUse);
    flock(other.get(), LOCK_UN);
    const Descriptor neighbour(open(directory.path.c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_EQ(flock(neighbour.get(), LOCK_EX), 0);
    EXPECT_EQ(Start(), CliStatus::kOk) << "somebody else's lock of the directory is not ours";
}

TEST_F(CliServerTest, TakesAPathOnlyFromTheDead) {
    const mode_t mask = umask(0);
    ASSERT_EQ(Start(), CliStatus::kOk);
    umask(mask);
    struct stat file {};
    ASSERT_EQ(stat(path.c_str(), &file), 0);
    EXPECT_EQ(file.st_mode & 07777, 0600U);
    EXPECT_EQ(Start(), CliStatus::kInUse);
    CliServer other;
    EXPECT_EQ(other.Start(path, kNode, "x"), CliStatus::kInUse);
    EXPECT_EQ(access((path + ".lock").c_str(), F_OK), -1);
    EXPECT_EQ(Read(Connect("echo here\n"), "olt# "), "here\r\nolt# ");

    // As a process leaves it that dies.
    const std::string left = directory.path + "/left";
    ASSERT_EQ(link(path.c_str(), left.c_str()), 0);
    server.Stop();
    ASSERT_EQ(rename(left.c_str(), path.c_str()), 0);
    ASSERT_EQ(Start(), CliStatus::kOk);

    // Another one has taken the path over: its socket is not ours to remove.
    unlink(path.c_str());
    ASSERT_EQ(other.Start(path, kNode, "x"), CliStatus::kOk);
    server.Stop();
    EXPECT_EQ(access(path.c_str(), F_OK), 0);
    other.Stop();

    std::ofstream(path) << "text";
    log.Take();
    EXPECT_EQ(Start(), CliStatus::kOccupied);
    EXPECT_EQ(log.Take(), Lines{"14 cli: cannot serve " + path + ": the path is no socket"});
    EXPECT_EQ(other.Start("", kNode, "x"), CliStatus::kBadPath);
    EXPECT_EQ(other.Start(std::string(108, 'x'), kNode, "x"), CliStatus::kBadPath);
    EXPECT_EQ(other.Start(directory.path + "/none/olt.sock", kNode, "x"), CliStatus::kSystem);
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
