// The operator's client. It reads commands from a terminal with line editing, the command line or a script.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <sys/wait.h>
#include <unistd.h>

#include "olt_host/operators/cli_path.h"
#include "olt_host/operators/standard_files.h"
#include "onu_mng_lib/onu_mng_version.h"
#include "onu_mng_platform/posix/cli/client.h"
#include "onu_mng_platform/posix/console/cli_editor.h"
#include "onu_mng_platform/posix/console/terminal_modes.h"

namespace {

using onu_mng_platform::CliClient;
using onu_mng_platform::CliEditor;
using onu_mng_platform::CliStatus;

/// Set when output could not be written. Not set when its reader has exited.
bool is_output_lost = false;

enum ExitStatus { kDone = 0, kCommandFailed = 1, kNoHost = 2 };

struct Options {
    std::string path = olt_host::DefaultSocketPath();
    std::vector<std::string> commands;
    bool stops_at_failure = false;
    unsigned int patience_s = 60; // far longer than any command takes between two outputs; 0: no limit
};

/// Standard output, or a pager for the output of one command. The pager starts when the output is complete,
/// so the host does not wait while the operator pages.
class Screen {
public:
    explicit Screen(bool paged) : paged_(paged) {}
    ~Screen() {
        if (paged_) ShowPages();
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Prints text with \n line ends instead of \r\n.
    void Print(std::string_view text) {
        std::string plain(text);
        plain.erase(std::remove(plain.begin(), plain.end(), '\r'), plain.end());
        if (paged_)
            pages_ += plain;
        else
            Write(plain, stdout);
    }

private:
    static void Write(const std::string& text, std::FILE* file) {
        const bool is_written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
        if ((!is_written || std::fflush(file) != 0) && errno != EPIPE) is_output_lost = true;
    }

    void ShowPages() const {
        constexpr int kNotFound = 127; // the shell's status if the pager does not exist
        const char* pager = std::getenv("PAGER");
        // The pager inherits the default SIGPIPE. While it runs, only the pager handles Ctrl-C.
        std::signal(SIGPIPE, SIG_DFL);
        std::FILE* pipe = popen(pager == nullptr || *pager == '\0' ? "less" : pager, "w");
        std::signal(SIGPIPE, SIG_IGN);
        if (pipe == nullptr) return Write(pages_, stdout);
        const auto handler = std::signal(SIGINT, SIG_IGN);
        Write(pages_, pipe);
        const int status = pclose(pipe);
        std::signal(SIGINT, handler);
        if (WIFEXITED(status) && WEXITSTATUS(status) == kNotFound) Write(pages_, stdout);
    }

    const bool paged_;
    std::string pages_;
};

/// Removes " | more" from the end of a line. @return whether it was there.
bool TakeMore(std::string* line) {
    const size_t end = line->find_last_not_of(" \t") + 1;
    for (const std::string_view more : {" | more", " |more"}) {
        if (end < more.size() || line->compare(end - more.size(), more.size(), more) != 0) continue;
        line->resize(end - more.size());
        return true;
    }
    return false;
}

/// The connection to the host and the resulting exit status.
class Session {
public:
    CliStatus Connect(const Options& options) {
        patience_s_ = options.patience_s;
        return client_.Connect(options.path, std::chrono::seconds(patience_s_));
    }
    CliClient& client() { return client_; }

    /// Returns whether the connection is still usable.
    bool IsOpen() const { return status_ != kNoHost && !client_.HasExited(); }
    ExitStatus status() const { return status_; }

    /// Runs a command line and prints its output. @return whether the command succeeded.
    bool Run(std::string line) {
        const bool paged = TakeMore(&line);
        Screen screen(paged && isatty(STDOUT_FILENO) != 0);
        const auto result = client_.Run(line, [&screen](std::string_view text) { screen.Print(text); });
        if (!result) return Lose();
        if (*result != 0) status_ = kCommandFailed;
        return *result == 0;
    }

    /// Prints that the host has closed the connection or does not answer.
    bool Lose() {
        if (client_.HasTimedOut())
            std::fprintf(stderr, "olt_cli: the host has not answered for %u s\n", patience_s_);
        else
            std::fputs("olt_cli: the host has closed the connection\n", stderr);
        status_ = kNoHost;
        return false;
    }

private:
    CliClient client_;
    ExitStatus status_ = kDone;
    unsigned int patience_s_ = 0;
};

std::string HistoryPath() {
    const char* path = std::getenv("OLT_CLI_HISTORY");
    if (path != nullptr) return path;
    const char* home = std::getenv("HOME");
    return home == nullptr ? std::string() : std::string(home) + "/.olt_cli_history";
}

ExitStatus TypeLines(Session* session) {
    std::string farewell;
    const auto prompt = session->client().Prompt(&farewell);
    if (!prompt) {
        Screen(false).Print(farewell);
        session->Lose();
        return kNoHost;
    }
    CliClient& client = session->client();
    CliEditor editor(*prompt, {[&client](const std::string& line) { return client.Complete(line); },
                               [&client](const std::string& line) { return client.Describe(line); }});
    const std::string history = HistoryPath();
    if (!history.empty() && !editor.KeepHistory(history))
        std::fprintf(stderr, "olt_cli: lines are not kept: %s: %s\n", history.c_str(), std::strerror(errno));
    while (session->IsOpen()) {
        const auto line = editor.Read();
        if (!line) break;
        session->Run(*line);
    }
    return session->status() == kNoHost ? kNoHost : kDone;
}

/// Runs the lines that `next` supplies, until it returns false.
template <typename Next>
ExitStatus RunLines(Session* session, bool stops_at_failure, Next next) {
    for (std::string line; session->IsOpen() && next(&line);) {
        if (!session->Run(line) && stops_at_failure) break;
    }
    return session->status();
}

ExitStatus RunCommands(Session* session, const Options& options) {
    auto command = options.commands.begin();
    return RunLines(session, options.stops_at_failure, [&](std::string* line) {
        if (command == options.commands.end()) return false;
        *line = *command++;
        return true;
    });
}

ExitStatus RunScript(Session* session, const Options& options) {
    return RunLines(session, options.stops_at_failure,
                    [](std::string* line) { return static_cast<bool>(std::getline(std::cin, *line)); });
}

ExitStatus Serve(const Options& options) {
    Session session;
    const CliStatus status = session.Connect(options);
    if (status != CliStatus::kOk) {
        std::cerr << "olt_cli: " << options.path << ": " << TextOf(status) << "\n";
        return kNoHost;
    }
    if (!options.commands.empty()) return RunCommands(&session, options);
    const bool types = isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
    return types ? TypeLines(&session) : RunScript(&session, options);
}

/// Returns the exit status. Lost output counts as a failed command.
ExitStatus Finish(ExitStatus status) {
    if (!is_output_lost) return status;
    std::fputs("olt_cli: the output could not be written\n", stderr);
    return status == kDone ? kCommandFailed : status;
}

/// @return the exit status if the program must end; otherwise nothing.
std::optional<ExitStatus> ReadOptions(int argc, char** argv, Options& options) {
    CLI::App app(
        "Types commands to a running olt_host. Without -c lines come from the terminal or from standard "
        "input.\nExit status: 0; 1 if a command failed; 2 if there is no host or it does not answer, and for "
        "wrong options.");
    app.add_option("-s,--socket", options.path, "Socket of the host")->capture_default_str();
    app.add_option("-c,--command", options.commands, "Line to run; may be given several times")
        ->allow_extra_args(false);
    app.add_option("-t,--timeout", options.patience_s,
                   "Seconds without a word from the host after which it is given up; 0: no limit")
        ->check(CLI::Range(0, 86400))
        ->capture_default_str();
    app.add_flag("-e,--stop", options.stops_at_failure, "Stop at the first command that fails");
    app.set_version_flag("--version", std::string("olt_cli ") + onu_mng_version(), "Print the version");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kNoHost;
    }
    return std::nullopt;
}

} // namespace

int main(int argc, char** argv) {
    olt_host::OpenStandardFiles();
    std::setlocale(LC_CTYPE, "");
    // The program must not end in the middle of an answer if the operator quits the pager or pipes into
    // `head`.
    std::signal(SIGPIPE, SIG_IGN);
    onu_mng_platform::TerminalModes::RestoreOnSignals();
    try {
        Options options;
        if (const auto status = ReadOptions(argc, argv, options)) return *status;
        return Finish(Serve(options));
    } catch (const std::bad_alloc&) {
        std::fputs("olt_cli: out of memory\n", stderr);
        return kCommandFailed;
    }
}
