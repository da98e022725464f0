// The services one message at a time: an ONU at the other end of the link answers what the test lets it.

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "olt_host/omci/text.h"
#include "olt_host/onu/simulated_onu.h"
#include "olt_host/services/mib_upload_service.h"
#include "olt_host/services/notification_service.h"
#include "olt_host/services/provisioning_service.h"
#include "olt_host/services/service_rack.h"
#include "onu_mng_lib/onu_mng_common/state_chart.h"
#include "onu_mng_lib/onu_mng_module_cinterface.h"
#include "onu_mng_platform/sim/simulation.h"
#include "tests/support/omci_frames.h"

using namespace olt_host;

namespace {

constexpr OnuKey kOnu{1, 1};

unsigned int Deliver(OnuKey onu, OmciFrame frame) {
    return onu_mng_module_send_msg(kFiberModule, kMsgFrame, onu.pon_no, onu.onu_id, frame.At(1),
                                   OmciFrame::kSizeWithoutTrailer);
}

/// Answers at once, as the ONU does but for what `distort` makes of it; `distort` may hold an answer back.
class DirectLink : public OmciLink {
public:
    void Send(OnuKey onu, const OmciFrame& frame) override {
        requests.push_back(frame);
        OmciFrame answer;
        if (simulated.Take(frame, answer) && (!distort || distort(answer))) Deliver(onu, answer);
    }

    SimulatedOnu simulated{SerialOf(kOnu), 1};
    std::function<bool(OmciFrame& answer)> distort;
    std::vector<OmciFrame> requests;
};

/// The three services on a board, for two ONUs of which the second waits until it is wanted.
class Bench {
public:
    explicit Bench(onu_mng_platform::Simulation& simulation, unsigned int attempts = 1) : board(simulation) {
        const ServiceGround ground{table,       channels,          link, now, work_queued, 64, 1,
                                   {30, 3, 11}, {attempts, 10, 40}};
        EXPECT_TRUE(rack.Initialise(1, 2, 30));
        EXPECT_TRUE(rack.Add(std::make_unique<MibUploadService>(ground, 0)));
        EXPECT_TRUE(rack.Add(std::make_unique<ProvisioningService>(ground)));
        EXPECT_TRUE(rack.Add(std::make_unique<NotificationService>(ground)));
        EXPECT_TRUE(rack.Start());
        table.Update(1, [](OnuStatus& status) { status.phase = OnuPhase::kProvisioning; });
    }
    ~Bench() { StateContextManager::GetInstance()->EndSupervision(); }

    /// Goes to a tick and lets everything happen that it brings.
    OnuStatus TickTo(Tick tick) {
        now = tick;
        char nothing = 0;
        for (const OmciService* service : rack.Services())
            onu_mng_module_send_msg(kHostModule, kMsgTick | service->mod_type, 0, 0, &nothing, 1);
        return Settled();
    }
    OnuStatus Settled() {
        board.Settle();
        return table.Read(0);
    }

    onu_mng_platform::Simulation& board;
    OnuTable table{1, 2};
    std::vector<OmciChannel> channels{2};
    DirectLink link;
    std::atomic<Tick> now{0};
    WorkFlags work_queued{};
    ServiceRack rack;
};

void OnBench(const std::function<void(Bench&)>& body, unsigned int attempts = 1) {
    onu_mng_platform::Simulation board(1);
    board.Run([&] {
        Bench bench(board, attempts);
        body(bench);
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

TEST(OltHostServices, TakeFramesInOrderOfPrecedence) {
    const struct {
        const char* frame;
        int service; ///< -1: nobody's
    } cases[] = {
        {"00012f0a00020000...", 0},  // MIB reset
        {"00012d0a00020000...", 0},  // MIB upload
        {"00012e0a00020000...", 0},  // MIB upload next
        {"0001290a00020000...", 0},  // get of ONU data
        {"0001290a01060000...", 1},  // any other get
        {"0001240a01060000...", 1},  // create
        {"0001260a01060000...", 1},  // delete
        {"0001280a00020000...", 1},  // set, of ONU data too
        {"00012b0a00020000...", 2},  // get all alarms
        {"00012c0a00020000...", 2},  // get all alarms next
        {"0000100a000b0101...", 2},  // alarm
        {"0000110a000b0101...", 2},  // attribute value change
        {"00001b0a000b0101...", 2},  // test result
        {"0001320a01000000...", -1}, // test
        {"0001330a00070000...", -1}, // start software download
        {"0001490a00020000...", -1}, // a request
        {"0001290b00020000...", -1}, // the extended format
    };
    OnBench([&](Bench& bench) {
        bench.table.Update(0, [](OnuStatus& status) { status.phase = OnuPhase::kProvisioning; });
        const auto frames = [&bench] {
            std::vector<unsigned long> of_services;
            for (const OmciService* service : bench.rack.Services())
                of_services.push_back(service->Frames());
            return of_services;
        };
        for (const auto& sample : cases) {
            std::vector<unsigned long> expected = frames();
            if (sample.service >= 0) ++expected[static_cast<std::size_t>(sample.service)];
            std::string bytes = Bytes(sample.frame, OmciFrame::kSizeWithoutTrailer);
            EXPECT_EQ(onu_mng_module_send_msg(kFiberModule, kMsgFrame, 1, 1, bytes.data(),
                                              OmciFrame::kSizeWithoutTrailer) == ONU_MNG_OK,
                      sample.service >= 0);
            bench.board.Settle();
            EXPECT_EQ(frames(), expected) << sample.frame;
        }
    });
}

// Answers to nothing in flight change nothing, and the request waits on.
TEST(OltHostServices, PassOverStrayAnswers) {
    OnBench([](Bench& bench) {
        OmciFrame right;
        bench.link.distort = [&right](OmciFrame& answer) {
            right = answer;
            return false;
        };
        bench.TickTo(0);
        ASSERT_EQ(bench.link.requests.size(), 1u);
        OmciFrame wrong_tid = right;
        wrong_tid.SetTid(static_cast<std::uint16_t>(right.Tid() + 1));
        OmciFrame wrong_type = OmciFrame::AnswerTo(OmciFrame::Request(OmciType::kMibUpload, kMib));
        wrong_type.SetTid(right.Tid());
        OmciFrame wrong_me = OmciFrame::AnswerTo(OmciFrame::Request(OmciType::kMibReset, {2, 1}));
        wrong_me.SetTid(right.Tid());
        Deliver(kOnu, wrong_tid);
        Deliver(kOnu, wrong_type);
        Deliver(kOnu, wrong_me);
        Deliver({1, 2}, right); // from the other ONU
        Deliver({9, 9}, right); // from no ONU
        bench.Settled();
        EXPECT_EQ(bench.rack.Services()[0]->Strays(), 5u);
        EXPECT_EQ(bench.link.requests.size(), 1u);

        bench.link.distort = nullptr;
        Deliver(kOnu, right);
        EXPECT_EQ(bench.Settled().phase, OnuPhase::kInSync);
        Deliver(kOnu, right); // once more
        bench.Settled();
        EXPECT_EQ(bench.rack.Services()[0]->Strays(), 6u);
    });
}

// An answer has one number that it should not have.
TEST(OltHostServices, FailWhereTheOnuDoes) {
    constexpr MeId kAny{0, 0};
    const struct {
        const char* what;
        OmciType type;
        MeId me;
        unsigned int position;
        std::uint16_t number;
        OnuFailure failure;
    } cases[] = {
        {"reset refused", OmciType::kMibReset, kMib, 9, 0x0600, OnuFailure::kRefused},
        {"no rows", OmciType::kMibUpload, kMib, 9, 0, OnuFailure::kMibRows},
        {"more rows than there are", OmciType::kMibUpload, kMib, 9, 1000, OnuFailure::kMibRows},
        {"an upload without ONU data", OmciType::kMibUploadNext, kAny, 9, 5, OnuFailure::kMibRows},
        {"a counter that has moved", OmciType::kGet, kMib, 12, 0x0100, OnuFailure::kDataSync},
        {"a counter that is not told", OmciType::kGet, kMib, 10, 0, OnuFailure::kRefused},
        {"create refused", OmciType::kCreate, {47, 2}, 9, 0x0300, OnuFailure::kRefused},
        {"another value than was set", OmciType::kGet, {262, 0x8000}, 12, 0x0BAD, OnuFailure::kDataSync},
        {"alarms that are gone", OmciType::kGetAllAlarms, kMib, 9, 2, OnuFailure::kMibRows},
    };
    for (const auto& sample : cases) {
        OnBench([&](Bench& bench) {
            bench.link.distort = [&](OmciFrame& answer) {
                const bool is_row_of_it = sample.me == kAny && answer.Get<std::uint16_t>(9) == kOnuData;
                if (answer.Type() == sample.type && (is_row_of_it || answer.Me() == sample.me))
                    answer.Set(sample.position, sample.number);
                return true;
            };
            const OnuStatus status = bench.TickTo(0);
            EXPECT_EQ(status.failure, sample.failure) << sample.what;
            EXPECT_NE(status.phase, OnuPhase::kInSync) << sample.what;
            EXPECT_EQ(bench.rack.Services()[0]->Active(), 0u) << sample.what;
        });
    }
}

// Pauses of 10, 20, 40, 40 ticks, and the fifth bring-up is the last.
TEST(OltHostServices, TryAgainAfterPauses) {
    OnBench(
        [](Bench& bench) {
            bench.link.distort = [](OmciFrame& answer) {
                answer.SetResult(OmciResult::kBusy);
                return true;
            };
            std::vector<Tick> begun;
            OnuStatus status;
            for (Tick tick = 0; tick < 300; ++tick) {
                status = bench.TickTo(tick);
                while (begun.size() < bench.link.requests.size())
                    begun.push_back(tick);
            }
            EXPECT_EQ(begun, (std::vector<Tick>{0, 10, 30, 70, 110}));
            EXPECT_EQ(status.phase, OnuPhase::kFailed);
            EXPECT_TRUE(status.given_up);
            EXPECT_EQ(status.attempts, 5u);
        },
        5);
}

TEST(OltHostServices, KeepAlarms) {
    OnBench([](Bench& bench) {
        bench.TickTo(0);
        SimulatedOnu& onu = bench.link.simulated;
        const auto alarm = [&] {
            const OmciFrame frame = onu.ToggleLink(0);
            Deliver(kOnu, frame);
            return bench.Settled();
        };
        const std::size_t before = bench.link.requests.size();
        EXPECT_EQ(alarm().alarmed.Size(), 1u);
        EXPECT_EQ(alarm().alarmed.Size(), 0u);
        EXPECT_EQ(bench.link.requests.size(), before) << "nothing was missed, nothing is asked";
        onu.ToggleLink(0); // lost
        EXPECT_EQ(alarm().alarmed.Size(), 0u);
        EXPECT_EQ(bench.link.requests.size(), before + 1) << "asked at once";
        onu.ToggleLink(0); // lost
        onu.ToggleLink(0); // lost
        EXPECT_EQ(alarm().alarmed.Size(), 1u);
        EXPECT_EQ(bench.link.requests.size(), before + 3) << "all and one next";
        EXPECT_EQ(bench.Settled().alarms, 4u);
    });
}

TEST(StateChart, LeavesStatesThatAreRefusedToTheirOwner) {
    OnBench([](Bench&) {
        StateChart chart;
        StateContext context(1);
        ServiceState too_high(STATE_MAX + 1);
        ServiceState second(5);
        EXPECT_EQ(chart.RegisterState(context, nullptr, "NONE"), ONU_MNG_FAILURE);
        EXPECT_EQ(chart.RegisterState(context, &too_high, "HIGH"), ONU_MNG_FAILURE);
        EXPECT_EQ(chart.RegisterState(context, new ServiceState(5), "FIRST"), ONU_MNG_OK);
        EXPECT_EQ(chart.RegisterState(context, &second, "SECOND"), ONU_MNG_OK);
    });
}

} // namespace
