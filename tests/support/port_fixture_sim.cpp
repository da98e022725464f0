#include "tests/support/port_fixture.h"

#include <gtest/gtest.h>

#include "onu_mng_platform/sim/simulation.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/sim_scenario.h"

namespace {

using onu_mng_platform::Simulation;

Simulation* current_board = nullptr;

} // namespace

// Under some schedules, each in a process of its own: pools, of which there are few, live as long as that.
void RunOnPort(const std::function<void()>& body) {
    const auto run = [&body](Simulation& board) {
        current_board = &board;
        board.Run([&body] {
            ulogSetSink(nullptr, nullptr); // the log as a program finds it
            body();
        });
        EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    };
    sim_scenario::ForEachSeed(run, 100);
}

void LetOthersSettle() {
    current_board->Settle();
}
