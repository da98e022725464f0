#include "onu_mng_platform/posix/console/cli_console.h"

#include <atomic>
#include <cstdio>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include "onu_mng_platform/common/cli/terminal.h"
#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/posix/cli/event.h"
#include "onu_mng_platform/posix/cli/output.h"
#include "onu_mng_platform/posix/cli/thread.h"
#include "onu_mng_platform/posix/cli/workers.h"
#include "onu_mng_platform/posix/console/cli_editor.h"
#include "onu_mng_platform/posix/console/status_row.h"
#include "onu_mng_platform/ulog.h"

namespace onu_mng_platform {
namespace {

constexpr int kKickPeriod = 100; // ms
constexpr int kSessionLevel = 12;
constexpr int kErrorLevel = 13;

using Terminal = std::unique_ptr<vty, decltype(&vty_destroy)>;

Terminal MakeTerminal(void (*write)(void* context, const char* data, size_t size), void* context) {
    Terminal terminal(vty_create(write, context), vty_destroy);
    if (terminal == nullptr) throw std::bad_alloc();
    terminal->may_save = true;
    return terminal;
}

void AppendTo(void* text, const char* data, size_t size) {
    static_cast<std::string*>(text)->append(data, size);
}

void PutInto(void* output, const char* data, size_t size) {
    static_cast<CliOutput*>(output)->PutText(std::string_view(data, size));
}

bool IsSameDevice(int one, int other) {
    struct stat a {};
    struct stat b {};
    return fstat(one, &a) == 0 && fstat(other, &b) == 0 && a.st_rdev == b.st_rdev;
}

// Opens the terminal again, because O_NONBLOCK on standard output would affect all processes that share it.
// The device may belong to another user if the process has changed its user; /dev/tty can be opened in any
// case.
Descriptor OpenTerminal() {
    constexpr int kFlags = O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC;
    char name[64];
    const bool has_name = ttyname_r(STDOUT_FILENO, name, sizeof name) == 0;
    Descriptor terminal(has_name ? open(name, kFlags) : -1);
    if (terminal.IsOpen() || !IsSameDevice(STDIN_FILENO, STDOUT_FILENO)) return terminal;
    return Descriptor(open("/dev/tty", kFlags));
}

/// While it lives, a log line on the console's terminal overwrites the line that is being typed, which is
/// then redrawn below.
class LogScope {
public:
    explicit LogScope(CliEvent& redraw) : is_set_(IsSameDevice(STDOUT_FILENO, STDERR_FILENO)) {
        if (is_set_) LogSetNeighbour({[](void* event) { static_cast<CliEvent*>(event)->Set(); }, &redraw});
    }
    ~LogScope() {
        if (is_set_) LogSetNeighbour({});
    }
    LogScope(const LogScope&) = delete;
    LogScope& operator=(const LogScope&) = delete;

private:
    const bool is_set_;
};

} // namespace

/// A console from its start to its stop.
class CliConsole::Loop {
public:
    Loop(unsigned int node, const std::string& prompt, Options options)
        : node_(node), prompt_(prompt), options_(std::move(options)), screen_(OpenTerminal()) {}

    ~Loop() {
        stop_.Set();
        if (!thread_.joinable()) return;
        // A terminal that is stopped by Ctrl-S would keep the editor from ending, so output is restarted. The
        // shield blocks SIGTTOU, which would stop a host in the background for that.
        const SignalShield shield;
        do {
            tcflow(STDIN_FILENO, TCOOFF);
            tcflow(STDIN_FILENO, TCOON);
        } while (!IsSet(ended_, kKickPeriod));
        thread_.join();
    }

    bool Start() {
        if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0) return false;
        // In the background, reading would fail or take the input of another program.
        if (tcgetpgrp(STDIN_FILENO) != getpgrp()) return Refuse("the terminal is another job's");
        if (!screen_.IsOpen() || !stop_.IsValid() || !wake_.IsValid() || !redraw_.IsValid() ||
            !ended_.IsValid())
            return Refuse(std::generic_category().message(errno));
        thread_ = StartThread("cli-console", [this] { Run(); });
        return thread_.joinable() || Refuse(std::generic_category().message(errno));
    }

    /// Returns whether the caller is a command or `on_exit`.
    bool IsOwnThread() const {
        return std::this_thread::get_id() == thread_.get_id() || worker_.IsOwnThread();
    }

    void Print(const std::string& text) {
        {
            const std::lock_guard<std::mutex> guard(text_lock_);
            text_ += text;
        }
        redraw_.Set();
    }

    StatusRow& Status() { return status_; }
    void LetCancelLeave(bool leaves) { cancel_leaves_ = leaves; }

private:
    void Run();
    bool Edit();
    bool IsStopped() const { return IsSet(stop_, 0); }
    static bool IsSet(const CliEvent& event, int patience_ms);
    std::string TakeText() {
        const std::lock_guard<std::mutex> guard(text_lock_);
        return std::exchange(text_, std::string());
    }
    bool Refuse(const std::string& cause) const {
        ulogPrintf(options_.log_module, kErrorLevel, "console: not opened: %s\r\n", cause.c_str());
        return false;
    }
    void Log(const char* event) const {
        ulogPrintf(options_.log_module, kSessionLevel, "%s: %s\r\n", user_.c_str(), event);
    }
    bool Serve(CliEditor* editor);
    std::optional<std::string> ReadLine(CliEditor* editor);
    bool Execute(const std::string& line);
    void Show(CliOutput* output, const std::atomic<bool>& is_running);
    void Say(std::string_view text) const;
    Completion Complete(const std::string& line) const;
    std::string Describe(const std::string& line) const;

    const unsigned int node_;
    const std::string prompt_;
    const Options options_;
    const std::string user_ = "console (uid " + std::to_string(getuid()) + ")";
    const CliEvent stop_;
    const CliEvent wake_;
    CliEvent redraw_;
    const CliEvent ended_;
    const Descriptor screen_;
    StatusRow status_{screen_.get()}; ///< used by the task that starts and stops the console
    std::mutex text_lock_;            ///< guards `text_`
    std::string text_;                ///< text of `Print` that is not printed yet
    std::atomic<bool> cancel_leaves_{false};
    CliWorkers worker_{1};
    std::thread thread_;
};

void CliConsole::Loop::Run() {
    const Finally end([this] { ended_.Set(); });
    Log("opened");
    bool is_cut = false;
    try {
        is_cut = Edit();
    } catch (const std::bad_alloc&) {
        // No memory for the editor: the console ends.
    }
    const std::string text = TakeText();
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
    Log(is_cut ? "its terminal is gone" : "left");
    if (options_.on_exit && !is_cut && !IsStopped()) options_.on_exit();
}

/// Serves lines until the operator leaves. @return whether the terminal has disappeared.
bool CliConsole::Loop::Edit() {
    const CliEditor::Events events{stop_, redraw_, [this] { return TakeText(); }, cancel_leaves_};
    CliEditor editor(prompt_,
                     {[this](const std::string& line) { return Complete(line); },
                      [this](const std::string& line) { return Describe(line); }},
                     &events);
    while (Serve(&editor))
        ;
    return editor.IsCut();
}

bool CliConsole::Loop::IsSet(const CliEvent& event, int patience_ms) {
    pollfd ready{event.descriptor(), POLLIN, 0};
    return poll(&ready, 1, patience_ms) > 0;
}

/// Reads and runs one line. @return false if the console must end.
bool CliConsole::Loop::Serve(CliEditor* editor) {
    try {
        const auto line = ReadLine(editor);
        if (!line) Say("\n");
        return line && Execute(*line);
    } catch (const std::bad_alloc&) {
        Say("% Out of memory.\n");
        return true;
    }
}

std::optional<std::string> CliConsole::Loop::ReadLine(CliEditor* editor) {
    const LogScope scope(redraw_);
    return editor->Read();
}

/// Runs a line and shows its output. @return false after "exit".
bool CliConsole::Loop::Execute(const std::string& line) {
    CliOutput output({}, &wake_, CharsetOfLocale());
    const Terminal terminal = MakeTerminal(PutInto, &output);
    terminal->user = user_;
    terminal->log_module = options_.log_module;
    std::atomic<bool> is_running{true};
    const bool has_begun = worker_.Submit([&] {
        const Finally end([&] {
            is_running = false;
            wake_.Set();
        });
        vty_execute(terminal.get(), node_, line.c_str());
    });
    if (!has_begun) throw std::bad_alloc();
    Show(&output, is_running);
    return !terminal->exit_requested;
}

void CliConsole::Loop::Show(CliOutput* output, const std::atomic<bool>& is_running) {
    while (is_running || !output->IsEmpty()) {
        const bool has_output = !output->IsEmpty();
        pollfd ready[] = {{wake_.descriptor(), POLLIN, 0},
                          {has_output ? screen_.get() : -1, POLLOUT, 0},
                          {has_output ? stop_.descriptor() : -1, POLLIN, 0}};
        poll(ready, 3, -1);
        if (ready[0].revents != 0) wake_.Clear();
        if (ready[1].revents != 0) output->Send(screen_.get());
        if (ready[2].revents != 0) output->Break();
    }
    if (output->IsBroken()) Say("% Output cut.\n");
}

void CliConsole::Loop::Say(std::string_view text) const {
    (void)!write(screen_.get(), text.data(), text.size());
}

Completion CliConsole::Loop::Complete(const std::string& line) const {
    const Terminal terminal = MakeTerminal(AppendTo, nullptr);
    return onu_mng_platform::Complete(terminal.get(), node_, line);
}

std::string CliConsole::Loop::Describe(const std::string& line) const {
    std::string text;
    const Terminal terminal = MakeTerminal(AppendTo, &text);
    onu_mng_platform::Describe(terminal.get(), node_, line);
    return text;
}

CliConsole::CliConsole() = default;

// If a command calls exit(), the loop must not wait for that command. The process ends in any case.
CliConsole::~CliConsole() {
    if (loop_ != nullptr && loop_->IsOwnThread()) (void)loop_.release();
}

bool CliConsole::Start(unsigned int node, const std::string& prompt, Options options) {
    if (loop_ != nullptr) return false;
    auto loop = std::make_unique<Loop>(node, prompt, std::move(options));
    if (!loop->Start()) return false;
    loop_ = std::move(loop);
    return true;
}

void CliConsole::Stop() {
    loop_ = nullptr;
}

void CliConsole::Print(const std::string& text) {
    if (loop_ != nullptr) loop_->Print(text);
}

bool CliConsole::ShowStatus(const std::vector<std::string>& texts) {
    return loop_ != nullptr && loop_->Status().Show(texts);
}

void CliConsole::HideStatus() {
    if (loop_ != nullptr) loop_->Status().Hide();
}

void CliConsole::LetCancelLeave(bool leaves) {
    if (loop_ != nullptr) loop_->LetCancelLeave(leaves);
}

} // namespace onu_mng_platform
