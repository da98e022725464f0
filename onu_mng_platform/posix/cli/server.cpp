#include "onu_mng_platform/posix/cli/server.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/socket.h>

#include "onu_mng_platform/posix/cli/event.h"
#include "onu_mng_platform/posix/cli/session.h"
#include "onu_mng_platform/posix/cli/thread.h"
#include "onu_mng_platform/posix/cli/workers.h"
#include "onu_mng_platform/ulog.h"

namespace onu_mng_platform {
namespace {

using Clock = CliSession::Clock;

constexpr int kLeftLevel = 9; // silent at the usual threshold
constexpr int kSessionLevel = 12;
constexpr int kErrorLevel = 13;
constexpr int kStartLevel = 14;
constexpr std::chrono::seconds kPause{1}; // after memory or descriptors were short

// The timeout for poll() in milliseconds, rounded up so that poll() does not return before the deadline.
int WaitUntil(Clock::time_point deadline) {
    if (deadline == Clock::time_point::max()) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, 3600000));
}

} // namespace

/// A server from its start to its stop.
class CliServer::Loop {
public:
    Loop(unsigned int node, const std::string& prompt, const Options& options)
        : options_(options), settings_{node, prompt, options.log_module, options.idle_limit, options.output},
          workers_(options.max_sessions) {
        sessions_.reserve(options.max_sessions);
        polls_.reserve(options.max_sessions + kFirstSession);
    }

    ~Loop() {
        stopping_ = true;
        wake_.Set();
        if (thread_.joinable()) thread_.join();
        workers_.Stop();
    }

    CliStatus Start(const std::string& path) {
        if (!wake_.IsValid()) return CliStatus::kSystem;
        const CliStatus status = listener_.Open(path);
        if (status != CliStatus::kOk) return status;
        thread_ = StartThread("cli-server", [this] { Run(); });
        return thread_.joinable() ? CliStatus::kOk : CliStatus::kSystem;
    }

private:
    struct Entry {
        std::string user;
        std::shared_ptr<CliSession> session;
    };

    static constexpr size_t kWake = 0;
    static constexpr size_t kListener = 1;
    static constexpr size_t kFirstSession = 2;

    void Run();
    void Wait();
    void Accept();
    void Refuse(const Descriptor& connection, const CliPeer& peer, const char* cause) const;
    void Admit(Descriptor connection, const CliPeer& peer);
    const char* Attend(const std::shared_ptr<CliSession>& session, short events);
    void End(const Entry& entry, const char* cause) const;

    const Options options_;
    const CliSessionSettings settings_;
    const CliEvent wake_;
    CliListener listener_;
    CliWorkers workers_;
    std::vector<Entry> sessions_;
    std::vector<pollfd> polls_;
    Clock::time_point accept_at_ = Clock::time_point::min();
    unsigned long last_number_ = 0;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

void CliServer::Loop::Run() {
    while (!stopping_) {
        Wait();
        // Backwards, because erase() moves the later elements.
        for (size_t i = sessions_.size(); i-- > 0;) {
            const char* cause = Attend(sessions_[i].session, polls_[kFirstSession + i].revents);
            if (cause == nullptr) continue;
            End(sessions_[i], cause);
            sessions_.erase(sessions_.begin() + static_cast<std::ptrdiff_t>(i));
        }
        if (polls_[kListener].revents != 0) Accept();
    }
    for (const Entry& entry : sessions_)
        End(entry, "the host stops");
}

void CliServer::Loop::Wait() {
    const bool accepts = Clock::now() >= accept_at_;
    Clock::time_point deadline = accepts ? Clock::time_point::max() : accept_at_;
    polls_.assign({{wake_.descriptor(), POLLIN, 0}, {accepts ? listener_.descriptor() : -1, POLLIN, 0}});
    for (const Entry& entry : sessions_) {
        polls_.push_back(entry.session->Poll());
        deadline = std::min(deadline, entry.session->Deadline());
    }
    // poll() fails only if memory is short, and then sets no events.
    if (poll(polls_.data(), polls_.size(), WaitUntil(deadline)) < 0) std::this_thread::sleep_for(kPause);
    if (polls_[kWake].revents != 0) wake_.Clear();
}

/// Serves a session. @return the reason if the session must end; else null.
const char* CliServer::Loop::Attend(const std::shared_ptr<CliSession>& session, short events) {
    try {
        session->Serve(events);
        if (session->TakeRequest() && !workers_.Submit([session] { session->Run(); }))
            return "no thread for it";
    } catch (const std::bad_alloc&) {
        return "no memory for it";
    }
    if (session->IsStuck()) return "its output is not read";
    return Clock::now() < session->Deadline() ? session->Ending() : "idle";
}

void CliServer::Loop::End(const Entry& entry, const char* cause) const {
    const bool left = entry.session->Ending() != nullptr && !entry.session->IsStuck();
    char line[64] = "";
    if (!left) std::snprintf(line, sizeof line, "%% Closed: %s.\r\n", cause);
    entry.session->Close(line);
    ulogPrintf(options_.log_module, left ? kLeftLevel : kSessionLevel, "%s: closed, %s\r\n",
               entry.user.c_str(), cause);
}

void CliServer::Loop::Accept() {
    CliPeer peer{};
    Descriptor connection = listener_.Accept(&peer);
    if (!connection.IsOpen()) {
        // Without descriptors the listener stays readable, and the loop would spin without a pause.
        if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) accept_at_ = Clock::now() + kPause;
        return;
    }
    if (!peer.IsTrusted()) return Refuse(connection, peer, "permission denied");
    if (sessions_.size() == options_.max_sessions) return Refuse(connection, peer, "too many sessions");
    try {
        Admit(std::move(connection), peer);
    } catch (const std::bad_alloc&) {
        accept_at_ = Clock::now() + kPause;
    }
}

void CliServer::Loop::Refuse(const Descriptor& connection, const CliPeer& peer, const char* cause) const {
    char line[64];
    const int size = std::snprintf(line, sizeof line, "%% Refused: %s.\r\n", cause);
    (void)!send(connection.get(), line, static_cast<size_t>(size), MSG_DONTWAIT | MSG_NOSIGNAL);
    ulogPrintf(options_.log_module, kErrorLevel, "cli: uid %u pid %d refused, %s\r\n", peer.uid, peer.pid,
               cause);
}

void CliServer::Loop::Admit(Descriptor connection, const CliPeer& peer) {
    char user[64];
    std::snprintf(user, sizeof user, "cli %lu (uid %u, pid %d)", last_number_ + 1, peer.uid, peer.pid);
    sessions_.push_back(
        Entry{user, std::make_shared<CliSession>(std::move(connection), user, settings_, &wake_)});
    ++last_number_;
    ulogPrintf(options_.log_module, kSessionLevel, "%s: connected\r\n", user);
}

CliServer::CliServer() = default;
CliServer::~CliServer() = default;

CliStatus CliServer::Start(const std::string& path, unsigned int node, const std::string& prompt,
                           const Options& options) {
    if (loop_ != nullptr) return CliStatus::kInUse;
    loop_ = std::make_unique<Loop>(node, prompt, options);
    const CliStatus status = loop_->Start(path);
    if (status == CliStatus::kOk) return status;
    const int error = errno;
    ulogPrintf(options.log_module, kStartLevel, "cli: cannot serve %s: %s\r\n", path.c_str(),
               TextOf(status).c_str());
    loop_ = nullptr;
    errno = error;
    return status;
}

CliStatus CliServer::Start(const std::string& path, unsigned int node, const std::string& prompt) {
    return Start(path, node, prompt, Options());
}

void CliServer::Stop() {
    loop_ = nullptr;
}

} // namespace onu_mng_platform
