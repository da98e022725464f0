#include "olt_host/capture/capture.h"

#include <ctime>
#include <new>
#include <utility>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace olt_host {

namespace {

constexpr unsigned int kPriority = 140; // below the services
constexpr unsigned int kStack = 65536;
constexpr std::size_t kMostWaiting = 65536;
constexpr int kPauseMs = 2;
constexpr unsigned int kPatienceSeconds = 10;

/// Returns the time in microseconds since 1970.
std::int64_t Now() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return std::int64_t{now.tv_sec} * 1000000 + now.tv_nsec / 1000;
}

} // namespace

Capture::~Capture() {
    End();
    EndTask();
}

bool Capture::OpenTask() {
    if (has_task) return true;
    waiting.reserve(kMostWaiting);
    writing.reserve(kMostWaiting);
    has_task = Init("Capture", kPriority, kStack) && Start();
    return has_task;
}

std::string Capture::Begin(const std::string& file, Filter filter) {
    const LockGuard guard(control);
    if (is_on) return "a capture to " + path + " runs";
    if (!OpenTask()) return "the capture's task could not be started";
    std::string wanted = file;
    {
        const LockGuard disk(lock);
        if (std::string failed = writer.Open(file); !failed.empty()) return file + ": " + failed;
    }
    path.swap(wanted);
    pon_no = filter.pon_no;
    onu_id = filter.onu_id;
    dropped = 0;
    is_on = true;
    return {};
}

std::string Capture::End() {
    const LockGuard guard(control);
    if (path.empty()) return {};
    is_on = false;
    WaitUntilWritten();
    const LockGuard disk(lock);
    writer.Close();
    std::string text =
        path + ": " + std::to_string(writer.Frames()) + " frames, " + std::to_string(dropped) + " dropped";
    if (!writer.Fault().empty()) text += "; it ended before: " + writer.Fault();
    path.clear();
    return text;
}

void Capture::WaitUntilWritten() {
    written.TryWait(0); // an earlier request may have timed out and left its signal
    {
        const LockGuard guard(buffer_lock);
        is_asked = true;
    }
    wake.Signal();
    written.TryWait(kPatienceSeconds);
}

bool Capture::IsWanted(OnuKey onu) const {
    const unsigned short pon = pon_no;
    const unsigned short id = onu_id;
    return is_on && (pon == 0 || pon == onu.pon_no) && (id == 0 || id == onu.onu_id);
}

void Capture::Take(OnuKey onu, Direction direction, const OmciFrame& frame) {
    if (!IsWanted(onu)) return;
    const Record record{Now(), onu, direction, frame};
    {
        const LockGuard guard(buffer_lock);
        if (waiting.size() == kMostWaiting) {
            ++dropped;
            return;
        }
        waiting.push_back(record);
        if (waiting.size() > 1) return; // the first record has woken the task
    }
    wake.Signal();
}

// The pause collects several frames for each write, and prevents a spin if the semaphore fails.
void Capture::Run() {
    for (;; Clock::Delay(kPauseMs)) {
        wake.Wait();
        const bool asked = TakeWaiting();
        try {
            Write();
        } catch (const std::bad_alloc&) {
            is_on = false;
        }
        if (asked) written.Signal();
    }
}

/// @return whether `End` waits for these records.
bool Capture::TakeWaiting() {
    writing.clear();
    const LockGuard guard(buffer_lock);
    waiting.swap(writing);
    return std::exchange(is_asked, false);
}

void Capture::Write() {
    const LockGuard guard(lock);
    bool is_written = true;
    for (const Record& record : writing) {
        const EthernetFrame frame = WrapOmci(record.onu, record.direction, record.frame);
        is_written = is_written && writer.Write(record.time, frame.data(), frame.size());
    }
    if ((is_written && writer.Flush()) || !is_on.exchange(false)) return;
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "the capture ended: %s\r\n",
               writer.Fault().c_str());
}

} // namespace olt_host
