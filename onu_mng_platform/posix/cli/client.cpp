#include "onu_mng_platform/posix/cli/client.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include <sys/socket.h>
#include <sys/time.h>

#include "onu_mng_platform/posix/cli/protocol.h"

namespace onu_mng_platform {
namespace {

// The control characters that TerminalGuard passes. In a completion they would act as keys.
constexpr const char* kKeys = "\t\r\n";

// A line may contain any characters. A line feed in it would start a second request.
bool EndsLine(char c) {
    return c == '\n' || c == '\r';
}

std::string TakeLine(std::string* text) {
    const size_t end = std::min(text->find("\r\n"), text->size());
    std::string line = text->substr(0, end);
    text->erase(0, end + 2);
    return line;
}

} // namespace

CliStatus CliClient::Connect(const std::string& path, std::chrono::seconds patience) {
    const CliStatus status = ConnectTo(path, &connection_);
    const timeval limit{static_cast<time_t>(patience.count()), 0};
    if (status == CliStatus::kOk)
        setsockopt(connection_.get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    return status;
}

std::optional<int> CliClient::Run(std::string_view line, const Print& print) {
    const auto result = Ask(kRunVerb, line, print);
    if (!result && !farewell_.empty()) print(farewell_);
    return result;
}

std::string CliClient::Describe(std::string_view line) {
    std::string text;
    return AskAside(kDescribeVerb, line, &text) ? text : std::string();
}

Completion CliClient::Complete(std::string_view line) {
    std::string text;
    Completion completion;
    if (!AskAside(kCompleteVerb, line, &text)) return completion;
    completion.insert = TakeLine(&text);
    completion.insert.resize(std::min(completion.insert.find_first_of(kKeys), completion.insert.size()));
    while (!text.empty())
        completion.choices.push_back(TakeLine(&text));
    return completion;
}

std::optional<std::string> CliClient::Prompt(std::string* farewell) {
    std::string text;
    const auto result = Ask(kPromptVerb, {}, [&text](std::string_view part) { text += part; });
    if (result) return text;
    *farewell = text;
    return std::nullopt;
}

/// Makes a request whose answer is not printed. If the host closes the connection instead, its message is
/// kept for Run() to print.
bool CliClient::AskAside(std::string_view verb, std::string_view line, std::string* answer) {
    if (Ask(verb, line, [answer](std::string_view part) { *answer += part; })) return true;
    farewell_ += *answer;
    return false;
}

std::optional<int> CliClient::Ask(std::string_view verb, std::string_view line, const Print& print) {
    std::string request(verb);
    request += line;
    std::replace_if(request.begin(), request.end(), EndsLine, ' ');
    request += '\n';
    // Even if sending fails, the host may have sent the reason for closing, so read its answer.
    Send(request);
    return ReceiveAnswer(print);
}

bool CliClient::Send(std::string_view request) {
    while (!request.empty()) {
        const ssize_t sent = send(connection_.get(), request.data(), request.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) return false;
        request.remove_prefix(sent < 0 ? 0 : static_cast<size_t>(sent));
    }
    return true;
}

std::optional<int> CliClient::ReceiveAnswer(const Print& print) {
    size_t end = received_.find(kEndOfAnswer);
    while (end == std::string::npos) {
        PrintReceived(received_.size(), print);
        received_.clear();
        if (!Receive()) return std::nullopt;
        end = received_.find(kEndOfAnswer);
    }
    PrintReceived(end, print);
    size_t line_end = received_.find('\n', end);
    while (line_end == std::string::npos) {
        if (!Receive()) return std::nullopt;
        line_end = received_.find('\n', end);
    }
    const std::string result = received_.substr(end + 1, line_end - end - 1);
    has_exited_ = result.find(kExit) != std::string::npos;
    received_.erase(0, line_end + 1);
    return std::atoi(result.c_str());
}

void CliClient::PrintReceived(size_t size, const Print& print) {
    std::string text = received_.substr(0, size);
    guard_.Clean(&text);
    if (!text.empty()) print(text);
}

bool CliClient::Receive() {
    char data[16384];
    ssize_t size = 0;
    do {
        size = recv(connection_.get(), data, sizeof data, 0);
    } while (size < 0 && errno == EINTR);
    has_timed_out_ = size < 0 && errno == EAGAIN;
    if (size > 0) received_.append(data, static_cast<size_t>(size));
    return size > 0;
}

} // namespace onu_mng_platform
