// The whole example host on the simulated board: the same code, its tasks under schedules from a seed, its
// PONs with faults from the same seed. A failure prints the command that replays its seed.

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <utility>

#include "olt_host/host.h"
#include "olt_host/omci/text.h"
#include "olt_host/onu/onu_key.h"
#include "olt_host/services/mib_upload_service.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_platform/sim/simulation.h"
#include "tests/support/omci_frames.h"
#include "tests/support/sim_scenario.h"

using namespace olt_host;
using namespace onu_mng_platform;
using namespace std::chrono_literals;

namespace {

constexpr unsigned int kSends = 3;
constexpr SimTime kTimeout = 3s;

/// Watches what the OLT sends: a request goes out when the one before has its answer or has waited 3 seconds
/// for it, and it is repeated at most twice, unchanged.
class OneInFlight : public WireTap {
public:
    explicit OneInFlight(const Simulation& simulation) : board(simulation) {}

    void OnSend(OnuKey onu, const OmciFrame& frame) override {
        Transaction& last = of_onu[{onu.pon_no, onu.onu_id}];
        EXPECT_TRUE(!last.in_flight || board.Now() - last.sent >= kTimeout)
            << "ONU " << onu.pon_no << '/' << onu.onu_id << ": " << Describe(last.frame)
            << " is in flight, and now " << Describe(frame);
        const bool is_repeated = frame.Tid() == last.frame.Tid();
        EXPECT_TRUE(!is_repeated || Bytes(frame) == Bytes(last.frame)) << Describe(frame);
        // An answer to an earlier sending is one to the request.
        last = {frame, board.Now(), is_repeated ? last.sends + 1 : 1, !is_repeated || last.in_flight};
        EXPECT_LE(last.sends, kSends) << Describe(frame);
        requests += is_repeated ? 0 : 1;
    }

    void OnReceive(OnuKey onu, const OmciFrame& frame) override {
        Transaction& last = of_onu[{onu.pon_no, onu.onu_id}];
        if (frame.Kind() == FrameKind::kAnswer && frame.Tid() == last.frame.Tid()) last.in_flight = false;
    }

    unsigned long requests = 0;

private:
    struct Transaction {
        OmciFrame frame;
        SimTime sent{0};
        unsigned int sends = 0;
        bool in_flight = false;
    };

    const Simulation& board;
    std::map<std::pair<unsigned int, unsigned int>, Transaction> of_onu;
};

void Impair(Impairments& impairments, std::mt19937_64& random) {
    impairments.loss_percent = static_cast<unsigned int>(random() % 20);
    impairments.corrupt_percent = static_cast<unsigned int>(random() % 10);
    impairments.duplicate_percent = static_cast<unsigned int>(random() % 20);
    impairments.delay_percent = static_cast<unsigned int>(random() % 20);
    impairments.delay_ticks = static_cast<unsigned int>(random() % 20);
    impairments.restart_ticks = 50 + static_cast<unsigned int>(random() % 200);
    impairments.link_ticks = 20 + static_cast<unsigned int>(random() % 100);
}

/// What the host thinks of an ONU that is not so; empty when all is: each has what was meant for it and for
/// no other.
std::string Mistake(Host& host, unsigned int index) {
    const OnuStatus status = host.Table().Read(index);
    const SimulatedOnu& onu = host.Line().Onu(index);
    if (status.phase != OnuPhase::kInSync) return "not in sync";
    if (status.data_sync != onu.Mib().DataSync()) return "data sync";
    if (!(host.Table().ReadMib(index) == OnuMib(SerialOf(status.onu), onu.Mib().Ports()).Rows()))
        return "MIB";
    for (unsigned int port = 0; port < onu.Mib().Ports(); ++port) {
        const MeId me{11, static_cast<std::uint16_t>(OnuMib::kFirstPort + port)};
        if (status.alarmed.Has(me) != onu.IsLinkDown(port)) return "alarm";
    }
    char gem_port[2] = {};
    OnuMib::Attributes gem{0x8000, gem_port, sizeof gem_port};
    if (onu.Mib().Get({268, 1}, gem) != OmciResult::kOk) return "no GEM port";
    return VariantUtil::GetUshort(gem_port) == 0x0400 + status.onu.onu_id ? "" : "GEM port";
}

std::string Mistakes(Host& host) {
    std::string text;
    for (unsigned int index = 0; index < host.Table().Size(); ++index) {
        const std::string mistake = Mistake(host, index);
        if (!mistake.empty()) text += " ONU " + std::to_string(index) + ": " + mistake + ';';
    }
    return text;
}

HostOptions Options(unsigned int onus) {
    HostOptions options;
    options.pons = 2;
    options.onus = onus / options.pons;
    options.ports = 1;
    options.tick_ms = 500;
    options.window = onus / 2 + 1;
    options.queue = onus / 4 + 1; // shorter than the window, so that it is full now and then
    options.attempts = 0;
    options.audit_s = 10;
    return options;
}

/// Lets time pass until the host has no procedure under way and thinks of every ONU what is true.
void WaitForTruth(Simulation& board, Host& host, SimTime limit) {
    const SimTime until = board.Now() + limit;
    board.Settle(); // and so nothing but this runs before time goes on
    while (host.Active() > 0 || !Mistakes(host).empty()) {
        ASSERT_LT(board.Now(), until) << Mistakes(host);
        board.Sleep(500ms);
        board.Settle();
    }
}

/// Runs `body`; nothing of the library or the host is left behind.
void OnBoard(Simulation& board, const std::function<void(Simulation&)>& body) {
    board.Run([&] {
        body(board);
        StateContextManager::GetInstance()->EndSupervision();
        EXPECT_EQ(board.Holdings().blocks, 0);
        EXPECT_EQ(board.Holdings().tasks, 0);
        EXPECT_EQ(board.Holdings().queues, 0);
        EXPECT_EQ(board.Holdings().locks_taken, 0);
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

/// Faults of PONs and of the platform and terminations for a minute, then none: after another minute at most every ONU is in
/// sync.
void BringUpThroughFaults(Simulation& on, unsigned int onus) {
    OnBoard(on, [&](Simulation& board) {
        const std::uint64_t seed = board.Result().seed;
        std::mt19937_64 random(seed);
        OneInFlight watch(board);
        HostOptions options = Options(onus);
        options.seed = seed;
        options.tap = &watch;
        Host host(options);
        Impair(host.Line().impairments, random);
        const auto mute = static_cast<unsigned int>(random() % onus);
        host.Line().SetMute(mute, true);
        ASSERT_EQ(host.Start(), "");
        for (const SimFault fault : {SimFault::kQueueSend, SimFault::kQueueReceive, SimFault::kPoolAlloc})
            board.FailShare(fault, 50 + static_cast<unsigned int>(random() % 500));
        for (int second = 0; second < 60; ++second) { // an operator ends procedures with requests in flight
            board.Sleep(1s);
            StateContextManager::GetInstance()->Terminate(1 + static_cast<unsigned int>(random() % onus));
        }
        board.FailNone();
        host.Line().SetMute(mute, false);
        host.Line().impairments.Clear();
        WaitForTruth(board, host, 60s);
        EXPECT_GT(watch.requests, 30u * onus);
    });
}

TEST(SimOltHost, Brings16OnusUpThroughFaults) {
    sim_scenario::ForEachSeed([](Simulation& board) { BringUpThroughFaults(board, 16); });
}

} // namespace
