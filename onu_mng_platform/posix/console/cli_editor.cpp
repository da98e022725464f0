#include "onu_mng_platform/posix/console/cli_editor.h"

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <new>
#include <utility>

#include <histedit.h>
#include <unistd.h>

#include "onu_mng_platform/posix/console/history_file.h"
#include "onu_mng_platform/posix/console/line_room.h"
#include "onu_mng_platform/posix/console/terminal_input.h"

namespace onu_mng_platform {
namespace {

constexpr int kHistorySize = 500;
constexpr char kCancel = '\x03'; // Ctrl-C
constexpr char kQuote = '\x16';  // Ctrl-V

void Print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

std::string UpToCursor(EditLine* edit) {
    const LineInfo* line = el_line(edit);
    return std::string(line->buffer, line->cursor);
}

} // namespace

class CliEditor::Editing {
public:
    Editing(const std::string& prompt, Keys keys, const Events* events)
        : prompt_(prompt), keys_(std::move(keys)), events_(events),
          input_(events == nullptr ? nullptr : &events->stop, events == nullptr ? nullptr : &events->redraw),

          history_(history_init(), history_end), edit_(el_init("olt", stdin, stdout, stderr), el_end) {
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

    ~Editing() { End(); }

    std::optional<std::string> Read() {
        do {
            // The terminal is in raw mode before the prompt appears, so the editor gets every key after it.
            if (!input_.AwaitForeground()) return std::nullopt;
            el_set(edit_.get(), EL_PREP_TERM, 1);
            FitWindow();
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

    bool KeepHistory(const std::string& path) {
        if (!kept_.Open(path)) return false;
        for (const std::string& line : kept_.Read(kHistorySize))
            Enter(line);
        return true;
    }

    bool IsCut() const { return input_.IsCut(); }

private:
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
        kept_.Append(line_);
        return line_;
    }

    void Enter(const std::string& line) {
        HistEvent event;
        history(history_.get(), &event, H_ENTER, line.c_str());
    }

    int Next(wchar_t* character);
    bool Convert(char byte, wchar_t* character);
    bool HasRoom(wchar_t key, bool is_quoted);
    int NextByte(char* byte);
    bool TakeKey(char* byte);
    void Help();
    void Complete();
    bool IsLeft(char byte) const;
    void PrintBelow(const std::string& text);
    void PrintWaiting() const;
    void Redraw();
    void Resume();
    bool FitWindow();
    std::pair<int, int> Window() const;
    int End();

    std::string prompt_;
    const Keys keys_;
    const Events* const events_;
    TerminalInput input_;
    const std::unique_ptr<History, decltype(&history_end)> history_;
    const std::unique_ptr<EditLine, decltype(&el_end)> edit_;
    std::string line_;
    HistoryFile kept_;
    LineRoom room_;
    std::string typed_for_; ///< completed characters that are still to be fed to the editor
    std::mbstate_t half_read_{};
    bool is_quote_ = false; ///< the last key was Ctrl-V
    bool is_cancelled_ = false;
};

int CliEditor::Editing::Next(wchar_t* character) {
    char byte = 0;
    int result = 0;
    while ((result = NextByte(&byte)) == 1) {
        if (IsLeft(byte)) return 0;
        const bool is_quoted = is_quote_;
        if (TakeKey(&byte) || !Convert(byte, character)) continue;
        if (HasRoom(*character, is_quoted)) return 1;
        is_quote_ = is_quoted;
        Print("\a");
    }
    return result;
}

/// Adds a byte to the character that is being read. Drops invalid bytes. If the byte does not continue an
/// incomplete character, drops that character and starts a new one. @return whether the character is
/// complete.
bool CliEditor::Editing::Convert(char byte, wchar_t* character) {
    constexpr auto kInvalid = static_cast<size_t>(-1);
    const bool is_first = std::mbsinit(&half_read_) != 0;
    const size_t size = std::mbrtowc(character, &byte, 1, &half_read_);
    if (size != kInvalid) return size <= 1;
    half_read_ = std::mbstate_t{};
    return !is_first && Convert(byte, character);
}

bool CliEditor::Editing::HasRoom(wchar_t key, bool is_quoted) {
    const LineInfo* line = el_line(edit_.get());
    const std::string_view text(line->buffer, static_cast<size_t>(line->lastchar - line->buffer));
    const auto [rows, columns] = Window();
    const size_t cells = static_cast<size_t>(rows) * static_cast<size_t>(columns);
    return room_.Admits(key, is_quoted, text, cells - std::min(prompt_.size(), cells));
}

/// Handles the editor's own keys. They are not bound in the editing library, which would never free their
/// names.
/// @return whether the key was handled completely.
bool CliEditor::Editing::TakeKey(char* byte) {
    const bool is_quoted = std::exchange(is_quote_, !is_quote_ && *byte == kQuote);
    if (is_quoted) return false;
    // No exception may pass through the library, which is written in C. If memory is short, the key has no
    // effect.
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
    events_->redraw.Clear(); // before taking the text, so that later text sets the event again
    Print(events_->take_text());
}

void CliEditor::Editing::Redraw() {
    Print("\r\x1b[K"); // the line may have been redrawn meanwhile
    if (events_ != nullptr) PrintWaiting();
    el_set(edit_.get(), EL_REFRESH);
}

bool CliEditor::Editing::IsLeft(char byte) const {
    if (byte != kCancel || is_quote_ || events_ == nullptr || !events_->cancel_leaves) return false;
    const LineInfo* line = el_line(edit_.get());
    return line->buffer == line->lastchar;
}

/// Sets up the terminal again after other programs have used it.
void CliEditor::Editing::Resume() {
    el_set(edit_.get(), EL_PREP_TERM, 0);
    el_set(edit_.get(), EL_PREP_TERM, 1);
    Redraw();
}

/// The rows and columns of the window according to the library.
std::pair<int, int> CliEditor::Editing::Window() const {
    std::pair<int, int> window;
    el_get(edit_.get(), EL_GETTC, "li", &window.first);
    el_get(edit_.get(), EL_GETTC, "co", &window.second);
    return window;
}

/// Tells the library the current size of the window. The library does not correct its cursor position, so the
/// caller must redraw a line that is on the screen. @return whether the size has changed.
bool CliEditor::Editing::FitWindow() {
    const auto before = Window();
    el_resize(edit_.get());
    return Window() != before;
}

int CliEditor::Editing::End() {
    // In the background the library must not change the terminal, which belongs to another job.
    if (IsInBackground()) el_set(edit_.get(), EL_EDITMODE, 0);
    return 0;
}

int CliEditor::Editing::NextByte(char* byte) {
    if (!typed_for_.empty()) {
        *byte = typed_for_.front();
        typed_for_.erase(0, 1);
        return 1;
    }
    for (;;) {
        switch (input_.Wait(byte)) {
        case TerminalInput::Event::kByte:
            if (FitWindow()) Redraw();
            return 1;
        case TerminalInput::Event::kRedraw:
            Redraw();
            break;
        case TerminalInput::Event::kResumed:
            Resume();
            break;
        case TerminalInput::Event::kEnd:
            return End();
        }
    }
}

CliEditor::CliEditor(const std::string& prompt, Keys keys, const Events* events)
    : editing_(std::make_unique<Editing>(prompt, std::move(keys), events)) {}

CliEditor::~CliEditor() = default;

std::optional<std::string> CliEditor::Read() {
    return editing_->Read();
}

bool CliEditor::KeepHistory(const std::string& path) {
    return editing_->KeepHistory(path);
}

bool CliEditor::IsCut() const {
    return editing_->IsCut();
}

} // namespace onu_mng_platform
