#include "onu_mng_platform/posix/console/cli_editor.h"

#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <deque>
#include <fstream>
#include <new>
#include <utility>

#include <fcntl.h>
#include <histedit.h>
#include <poll.h>
#include <sys/file.h>
#include <unistd.h>

#include "onu_mng_platform/posix/cli/descriptor.h"

namespace onu_mng_platform {
namespace {

constexpr int kHistorySize = 500;
constexpr size_t kMaxKeptLines = 2 * kHistorySize; ///< from which on a file is made shorter
constexpr char kCancel = '\x03';                   // Ctrl-C
constexpr char kQuote = '\x16';                    // Ctrl-V

void Print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

/// Keeps the editors of other processes from a file that they share.
class FileLock {
public:
    explicit FileLock(int file) : file_(file) { flock(file_, LOCK_EX); }
    ~FileLock() { flock(file_, LOCK_UN); }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    const int file_;
};

std::string UpToCursor(EditLine* edit) {
    const LineInfo* line = el_line(edit);
    return std::string(line->buffer, line->cursor);
}

} // namespace

class CliEditor::Editing {
public:
    Editing(const std::string& prompt, Keys keys, const Events* events)
        : prompt_(prompt), keys_(std::move(keys)), events_(events), history_(history_init()),
          edit_(el_init("olt", stdin, stdout, stderr)) {
        if (history_ == nullptr || edit_ == nullptr) throw std::bad_alloc();
        HistEvent event;
        history(history_.get(), &event, H_SETSIZE, kHistorySize);
        history(history_.get(), &event, H_SETUNIQUE, 1);
        EditLine* edit = edit_.get();
        el_set(edit, EL_CLIENTDATA, this);
        el_set(edit, EL_PROMPT, &Editing::Prompt);
        el_set(edit, EL_EDITOR, "emacs");
        el_set(edit, EL_HIST, history, history_.get());
        el_set(edit, EL_GETCFN, &Editing::ReadCharacter);
        el_set(edit, EL_SETTY, "-d", "-isig", nullptr);
        if (events != nullptr) el_set(edit, EL_SETTY, "-x", "-isig", nullptr);
        el_set(edit, EL_BIND, "^W", "ed-delete-prev-word", nullptr);
    }

    std::optional<std::string> Read() {
        do {
            // Before the prompt, so that a key that is pressed at its sight is one of the editor's.
            el_set(edit_.get(), EL_PREP_TERM, 1);
            is_cancelled_ = false;
            if (events_ != nullptr) PrintWaiting();
            int size = 0;
            const char* line = el_gets(edit_.get(), &size);
            if (line == nullptr || size <= 0) return std::nullopt;
            line_.assign(line, static_cast<size_t>(size));
        } while (is_cancelled_);
        while (!line_.empty() && (line_.back() == '\n' || line_.back() == '\r'))
            line_.pop_back();
        return Remember();
    }

    void KeepHistory(const std::string& path) {
        kept_in_ = Descriptor(open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0600));
        const FileLock lock(kept_in_.get());
        std::ifstream file(path);
        std::deque<std::string> lines;
        size_t count = 0;
        for (std::string line; std::getline(file, line); ++count) {
            lines.push_back(line);
            if (lines.size() > kHistorySize) lines.pop_front();
        }
        for (const std::string& line : lines)
            Enter(line);
        if (count <= kMaxKeptLines || ftruncate(kept_in_.get(), 0) != 0) return;
        for (const std::string& line : lines)
            Append(line);
    }

private:
    struct EndEdit {
        void operator()(EditLine* edit) const { el_end(edit); }
    };
    struct EndHistory {
        void operator()(History* past) const { history_end(past); }
    };
    static Editing* Of(EditLine* edit) {
        void* self = nullptr;
        el_get(edit, EL_CLIENTDATA, &self);
        return static_cast<Editing*>(self);
    }

    static char* Prompt(EditLine* edit) { return Of(edit)->prompt_.data(); }
    static int ReadCharacter(EditLine* edit, wchar_t* character) { return Of(edit)->Next(character); }

    std::string Remember() {
        if (line_.find_first_not_of(" \t") == std::string::npos) return line_;
        Enter(line_);
        const FileLock lock(kept_in_.get());
        Append(line_);
        return line_;
    }

    void Enter(const std::string& line) {
        HistEvent event;
        history(history_.get(), &event, H_ENTER, line.c_str());
    }
    void Append(const std::string& line) {
        const std::string kept = line + '\n';
        (void)!write(kept_in_.get(), kept.data(), kept.size());
    }

    int Next(wchar_t* character);
    int NextByte(char* byte);
    bool TakeKey(char* byte);
    void Help();
    void Complete();
    bool IsLeft(char byte) const;
    void PrintBelow(const std::string& text);
    void PrintWaiting() const;
    void Redraw();

    std::string prompt_;
    const Keys keys_;
    const Events* const events_;
    std::unique_ptr<History, EndHistory> history_;
    std::unique_ptr<EditLine, EndEdit> edit_;
    std::string line_;
    Descriptor kept_in_;
    std::string typed_for_; ///< what TAB has yet to type for the operator
    std::mbstate_t half_read_{};
    bool is_quote_ = false; ///< the last key was Ctrl-V
    bool is_cancelled_ = false;
};

int CliEditor::Editing::Next(wchar_t* character) {
    char byte = 0;
    int result = 0;
    while ((result = NextByte(&byte)) == 1) {
        if (IsLeft(byte)) return 0;
        if (TakeKey(&byte)) continue;
        const size_t size = std::mbrtowc(character, &byte, 1, &half_read_);
        if (size <= 1) return 1;
        // Half a character goes on with the next byte; what is none is left out.
        if (size == static_cast<size_t>(-1)) half_read_ = std::mbstate_t{};
    }
    return result;
}

/// Does what a key of ours does. The editing library is not told of them: it would never free their names.
bool CliEditor::Editing::TakeKey(char* byte) {
    const bool is_quoted = std::exchange(is_quote_, !is_quote_ && *byte == kQuote);
    if (is_quoted) return false;
    // Nothing is thrown through the library, which is C: a key that memory is too short for does nothing.
    try {
        if (*byte == '?') return Help(), true;
        if (*byte == '\t') return Complete(), true;
    } catch (const std::bad_alloc&) {
        return true;
    }
    is_cancelled_ = *byte == kCancel;
    if (is_cancelled_) {
        Print("^C");
        *byte = '\n';
    }
    return false;
}

void CliEditor::Editing::Help() {
    PrintBelow("?\n" + keys_.describe(UpToCursor(edit_.get())));
}

void CliEditor::Editing::Complete() {
    const Completion completion = keys_.complete(UpToCursor(edit_.get()));
    typed_for_ = completion.insert;
    if (!typed_for_.empty()) return;
    if (completion.choices.empty()) return Print("\a");
    std::string list = "\n";
    for (const std::string& choice : completion.choices)
        list.append("  ").append(choice);
    PrintBelow(list + "\n");
}

void CliEditor::Editing::PrintBelow(const std::string& text) {
    Print(text);
    el_set(edit_.get(), EL_REFRESH); // begins a new line on the screen
}

void CliEditor::Editing::PrintWaiting() const {
    events_->redraw.Clear(); // before taking: what comes now is told again
    Print(events_->take_text());
}

void CliEditor::Editing::Redraw() {
    Print("\r\x1b[K"); // it may have been drawn since
    PrintWaiting();
    el_set(edit_.get(), EL_REFRESH);
}

bool CliEditor::Editing::IsLeft(char byte) const {
    if (byte != kCancel || is_quote_ || events_ == nullptr || !events_->cancel_leaves) return false;
    const LineInfo* line = el_line(edit_.get());
    return line->buffer == line->lastchar;
}

int CliEditor::Editing::NextByte(char* byte) {
    if (!typed_for_.empty()) {
        *byte = typed_for_.front();
        typed_for_.erase(0, 1);
        return 1;
    }
    const int stop = events_ == nullptr ? -1 : events_->stop.descriptor();
    const int redraw = events_ == nullptr ? -1 : events_->redraw.descriptor();
    pollfd input[] = {{STDIN_FILENO, POLLIN, 0}, {stop, POLLIN, 0}, {redraw, POLLIN, 0}};
    for (;;) {
        if (poll(input, 3, -1) < 0) continue;
        if (input[1].revents != 0) return 0;
        if (input[2].revents != 0) Redraw();
        if (input[0].revents == 0) continue;
        const ssize_t size = read(STDIN_FILENO, byte, 1);
        if (size >= 0) return static_cast<int>(size);
        if (errno != EINTR && errno != EAGAIN) return -1;
    }
}

CliEditor::CliEditor(const std::string& prompt, Keys keys, const Events* events)
    : editing_(std::make_unique<Editing>(prompt, std::move(keys), events)) {}

CliEditor::~CliEditor() = default;

std::optional<std::string> CliEditor::Read() {
    return editing_->Read();
}

void CliEditor::KeepHistory(const std::string& path) {
    editing_->KeepHistory(path);
}

} // namespace onu_mng_platform
