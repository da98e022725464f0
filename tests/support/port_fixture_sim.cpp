#include "tests/support/port_fixture.h"

#include <gtest/gtest.h>

#include "onu_mng_platform/sim/simulation.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/sim_scenario.h"

namespace {

using onu_mng_platform::Simulation;

Simulation* current_board = nullptr;

} // namespace

// Runs under several schedules, each in its own process, because pools are few and live as long as the
// process.
void RunOnPort(const std::function<void()>& body) {
    const auto run = [&body](Simulation& board) {
        current_board = &board;
        board.Run([&body] {
            ulogSetSink(nullptr, nullptr); // the default, instead of the board's sink
            body();
        });
        EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    };
    sim_scenario::ForEachSeed(run, 100);
}

void LetOthersSettle() {
    current_board->Settle();
}
