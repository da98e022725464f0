#include "onu_mng_platform/posix/cli/session.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include <sys/socket.h>

#include "onu_mng_platform/common/cli/assist.h"
#include "onu_mng_platform/common/cli/line.h"
#include "onu_mng_platform/common/cli/terminal.h"
#include "onu_mng_platform/posix/cli/protocol.h"
#include "onu_mng_platform/posix/cli/thread.h"

namespace onu_mng_platform {
namespace {

// One character more than the limit, so that vty_execute() still refuses a line that is too long.
constexpr size_t kMaxRequest = kCompleteVerb.size() + kMaxLine + 1;

bool TakeStart(std::string_view* text, std::string_view start) {
    if (text->substr(0, start.size()) != start) return false;
    text->remove_prefix(start.size());
    return true;
}

// After a "|" the "?" may belong to a regular expression.
bool AsksForHelp(std::string_view line) {
    return !line.empty() && line.back() == '?' && line.find('|') == std::string_view::npos;
}

} // namespace

CliSession::CliSession(Descriptor socket, const std::string& user, const CliSessionSettings& settings,
                       const CliEvent* wake)
    : socket_(std::move(socket)), settings_(settings), wake_(wake), output_(settings.output, wake),
      terminal_(vty_create(Write, this)) {
    if (terminal_ == nullptr) throw std::bad_alloc();
    terminal_->user = user;
    terminal_->log_module = settings.log_module;
}

bool CliSession::WantsInput() const {
    return !has_left_ && !is_running_ && !HasLine();
}

// Without events the descriptor is left out, because poll() would report a closed connection again and again.
pollfd CliSession::Poll() const {
    const int input = WantsInput() ? POLLIN : 0;
    const int output = output_.IsEmpty() ? 0 : POLLOUT;
    const auto events = static_cast<short>(input | output);
    return pollfd{events == 0 ? -1 : socket_.get(), events, 0};
}

void CliSession::Serve(short events) {
    if ((events & ~POLLOUT) != 0 && WantsInput()) Receive();
    if ((events & ~POLLIN) != 0) output_.Send(socket_.get());
}

void CliSession::Receive() {
    char data[4096];
    const ssize_t size = recv(socket_.get(), data, sizeof data, MSG_DONTWAIT);
    if (size > 0) return Keep(std::string_view(data, static_cast<size_t>(size)));
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    has_left_ = true;
    if (size < 0) output_.Break();
}

void CliSession::Keep(std::string_view data) {
    last_active_ = Clock::now();
    input_.append(data);
    std::replace(input_.begin(), input_.end(), '\0', ' ');
    // The rest of a line that is too long is not needed to refuse it.
    if (!HasLine() && input_.size() > kMaxRequest) input_.resize(kMaxRequest);
}

bool CliSession::TakeRequest() {
    if (is_running_) return false;
    if (std::exchange(was_running_, false)) last_active_ = Clock::now();
    const size_t end = input_.find('\n');
    if (end == std::string::npos || terminal_->exit_requested) return false;
    request_.assign(input_, 0, end);
    input_.erase(0, end + 1);
    if (!request_.empty() && request_.back() == '\r') request_.pop_back();
    was_running_ = true;
    is_running_ = true;
    return true;
}

void CliSession::Run() {
    const Finally end([this] {
        is_running_ = false;
        wake_->Set();
    });
    try {
        Answer();
    } catch (...) { // memory is short, or a handler has ended its thread
        output_.Break();
        bep_passTaskEnd();
    }
}

void CliSession::Answer() {
    if (request_.empty() || request_.front() != '@') return AnswerByHand(request_);
    const int result = AnswerVerb(request_);
    output_.PutEndOfAnswer(result, terminal_->exit_requested);
}

int CliSession::AnswerVerb(std::string_view request) {
    if (TakeStart(&request, kRunVerb))
        return vty_execute(terminal_.get(), settings_.node, std::string(request).c_str());
    if (TakeStart(&request, kDescribeVerb)) {
        Describe(terminal_.get(), settings_.node, request);
    } else if (TakeStart(&request, kCompleteVerb)) {
        AnswerCompletion(request);
    } else if (request == kPromptVerb) {
        output_.PutText(settings_.prompt);
    } else {
        output_.PutText("% Unknown request.\r\n");
        return -1;
    }
    return 0;
}

void CliSession::AnswerByHand(std::string_view line) {
    if (AsksForHelp(line))
        Describe(terminal_.get(), settings_.node, line.substr(0, line.size() - 1));
    else
        vty_execute(terminal_.get(), settings_.node, std::string(line).c_str());
    if (!terminal_->exit_requested) output_.PutText(settings_.prompt);
}

void CliSession::AnswerCompletion(std::string_view line) {
    const Completion completion = Complete(terminal_.get(), settings_.node, line);
    output_.PutText(completion.insert + "\r\n");
    for (const std::string& choice : completion.choices)
        output_.PutText(choice + "\r\n");
}

const char* CliSession::Ending() const {
    if (is_running_ || !output_.IsEmpty()) return nullptr;
    if (terminal_->exit_requested) return "exit";
    return has_left_ && !HasLine() ? "left" : nullptr;
}

void CliSession::Close(std::string_view farewell) {
    output_.PutIfEmpty(farewell); // does not block, although a running command may have filled the buffer
    output_.Send(socket_.get());
    output_.Break();
    socket_.Close();
}

CliSession::Clock::time_point CliSession::Deadline() const {
    return is_running_ ? Clock::time_point::max() : last_active_ + settings_.idle_limit;
}

void CliSession::Write(void* self, const char* data, size_t size) {
    static_cast<CliSession*>(self)->output_.PutText(std::string_view(data, size));
}

} // namespace onu_mng_platform
