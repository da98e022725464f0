#include "olt_host/onu/fiber.h"

#include <new>
#include <type_traits>

#include "olt_host/onu/onu_key.h"
#include "olt_host/services/messages.h"
#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"

namespace olt_host {

namespace {

constexpr unsigned int kPriority = 110;
constexpr unsigned int kStack = 65536;
constexpr int kForEver = -1;
constexpr int kNoWait = -2;
constexpr int kRetryMs = 100;
constexpr std::size_t kMostLate = 4096;

} // namespace

/// A message in the fiber's queue.
struct Fiber::Parcel {
    OnuKey onu; ///< PON 0 marks a tick
    OmciFrame frame;
};

void Impairments::Clear() {
    for (auto* rate : {&loss_percent, &corrupt_percent, &duplicate_percent, &delay_percent, &delay_ticks,
                       &restart_ticks, &link_ticks})
        *rate = 0;
}

Fiber::Fiber(const OnuTable& onu_table, const std::atomic<Tick>& time, const Setup& fiber_setup)
    : table(onu_table), now(time), setup(fiber_setup), random(fiber_setup.seed) {
    static_assert(std::is_trivially_copyable_v<Parcel>);
    onus.reserve(table.Size());
    for (unsigned int index = 0; index < table.Size(); ++index)
        onus.push_back(std::make_unique<Drop>(SerialOf(table.KeyOf(index)), setup.ports));
}

bool Fiber::Open() {
    return queue.Init(static_cast<int>(setup.queue_length), sizeof(Parcel)) == ONU_MNG_OK &&
           Init("Fiber", kPriority, kStack) && Start();
}

void Fiber::Send(OnuKey onu, const OmciFrame& frame) {
    for (WireTap* tap : setup.taps)
        tap->OnSend(onu, frame);
    Parcel parcel{onu, frame};
    if (queue.SendMsg(reinterpret_cast<char*>(&parcel), sizeof parcel, kNoWait) != ONU_MNG_OK)
        ++counters.overrun;
}

void Fiber::Advance() {
    Parcel parcel{{0, 0}, {}};
    // If the queue is full, the tick is lost; the next one does the same work.
    static_cast<void>(queue.SendMsg(reinterpret_cast<char*>(&parcel), sizeof parcel, kNoWait));
}

void Fiber::Run() {
    for (;;) {
        Parcel parcel;
        if (queue.RecvMsg(reinterpret_cast<char*>(&parcel), sizeof parcel, kForEver) != sizeof parcel) {
            Clock::Delay(kRetryMs); // do not spin if the queue fails
            continue;
        }
        try {
            if (parcel.onu.pon_no == 0)
                LetTimePass();
            else
                CarryDown(parcel.onu, parcel.frame);
        } catch (const std::bad_alloc&) {
            ++counters.lost; // lose one frame, not the connection to all ONUs
        }
    }
}

void Fiber::CarryDown(OnuKey onu, const OmciFrame& frame) {
    const auto index = table.IndexOf(onu);
    if (!index) return;
    ++counters.down;
    const bool is_double = Happens(impairments.duplicate_percent);
    counters.duplicated += is_double ? 1 : 0;
    Reach(*index, frame);
    if (is_double) Reach(*index, frame);
}

bool Fiber::IsLost() {
    const bool is_lost = Happens(impairments.loss_percent);
    counters.lost += is_lost ? 1 : 0;
    return is_lost;
}

void Fiber::MayCorrupt(OmciFrame& frame) {
    if (!Happens(impairments.corrupt_percent)) return;
    char& byte = *frame.At(1 + static_cast<unsigned int>(random() % OmciFrame::kSizeWithoutMic));
    byte = static_cast<char>(byte ^ static_cast<char>(1 + random() % 255));
    ++counters.corrupted;
}

/// Hands a frame to the ONU. The ONU drops frames with a wrong MIC.
void Fiber::Reach(unsigned int index, const OmciFrame& frame) {
    Drop& drop = *onus[index];
    if (IsLost() || drop.is_mute || now < drop.silent_until) return;
    OmciFrame received = frame;
    MayCorrupt(received);
    OmciFrame request;
    if (OmciFrame::Parse(received.At(1), OmciFrame::kSize, kOnTheLine, request) != FrameFault::kNone) return;
    OmciFrame answer;
    if (drop.onu.Take(request, answer)) CarryUp(index, answer);
}

void Fiber::CarryUp(unsigned int index, OmciFrame frame) {
    if (IsLost()) return;
    MayCorrupt(frame);
    const bool is_double = Happens(impairments.duplicate_percent);
    counters.duplicated += is_double ? 1 : 0;
    Arrive(index, frame);
    if (is_double) Arrive(index, frame);
}

void Fiber::Arrive(unsigned int index, const OmciFrame& frame) {
    const unsigned int longest = impairments.delay_ticks;
    if (longest == 0 || late.size() == kMostLate || !Happens(impairments.delay_percent))
        return Deliver(table.KeyOf(index), frame);
    late.insert({now + 1 + random() % longest, {index, frame}});
    ++counters.delayed;
}

/// Drops frames with a wrong MIC and sends the others to the services.
void Fiber::Deliver(OnuKey onu, const OmciFrame& frame) {
    OmciFrame received;
    if (OmciFrame::Parse(frame.At(1), OmciFrame::kSize, kOnTheLine, received) != FrameFault::kNone) {
        ++counters.malformed;
        return;
    }
    for (WireTap* tap : setup.taps)
        tap->OnReceive(onu, received);
    ++counters.up;
    if (onu_mng_module_send_msg(kFiberModule, kMsgFrame, onu.pon_no, onu.onu_id, received.At(1),
                                OmciFrame::kSizeWithoutTrailer) != ONU_MNG_OK)
        ++counters.refused;
}

void Fiber::LetTimePass() {
    while (!late.empty() && late.begin()->first <= now) {
        const Late next = late.begin()->second;
        late.erase(late.begin());
        Deliver(table.KeyOf(next.index), next.frame);
    }
    if (impairments.restart_ticks == 0 && impairments.link_ticks == 0) return;
    for (unsigned int index = 0; index < onus.size(); ++index)
        Disturb(index);
}

void Fiber::Disturb(unsigned int index) {
    Drop& drop = *onus[index];
    if (HappensOnceIn(impairments.restart_ticks)) {
        drop.onu.Restart();
        drop.silent_until = now + setup.silent_ticks;
        ++counters.restarts;
    }
    if (now < drop.silent_until || drop.is_mute || !HappensOnceIn(impairments.link_ticks)) return;
    const auto port = static_cast<unsigned int>(random() % setup.ports);
    CarryUp(index, drop.onu.ToggleLink(port));
    CarryUp(index, drop.onu.ReportState(port));
}

} // namespace olt_host
