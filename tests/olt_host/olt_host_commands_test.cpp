// What an operator sees of a host: two PONs of two ONUs, of which 1/2 never answers.

#include "olt_host/host.h"
#include "olt_host/operators/commands.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_platform/sim/simulation.h"
#include "tests/support/transcript.h"

namespace {

constexpr unsigned int kNode = olt_host::ServiceRack::kCliNode;
constexpr std::chrono::seconds kLimit(10); // the supervision ends a state after 15

TEST(HostCommands, ShowTheHostAsLongAsItLives) {
    onu_mng_platform::Simulation board(1);
    board.Run([] {
        {
            olt_host::HostOptions options;
            options.onus = 2;
            options.tick_ms =
                70; // no tick at the moment of a supervision round, which may come first or last
            olt_host::Host host(options);
            host.Line().SetMute(1, true);
            ASSERT_EQ(host.Start(), "");
            const olt_host::HostCommands commands(host, kNode);
            EXPECT_FALSE(host.Table().WaitSettled(kLimit));
            transcript::ExpectScreens("olt_host_stuck.txt", {{"olt> ", kNode}});
            EXPECT_TRUE(host.Table().WaitSettled(kLimit));
            transcript::ExpectScreens("olt_host_settled.txt", {{"olt> ", kNode}});
        }
        StateContextManager::GetInstance()->EndSupervision();
        transcript::ExpectScreens("olt_host_gone.txt", {{"olt> ", kNode}});
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

} // namespace
