/// Runs tests on the simulated board.
#ifndef ONU_MNG_TESTS_SUPPORT_ON_BOARD_H
#define ONU_MNG_TESTS_SUPPORT_ON_BOARD_H

#include <gtest/gtest.h>

#include <functional>

#include "onu_mng_platform/sim/simulation.h"

/// Runs `body` on a board and expects the run to succeed.
inline void OnBoard(const onu_mng_platform::SimOptions& options,
                    const std::function<void(onu_mng_platform::Simulation&)>& body) {
    onu_mng_platform::Simulation board(options);
    board.Run([&] { body(board); });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

/// Calls `act` repeatedly: first with all its calls of `operator new` failing, then all from the second on,
/// and so on until none fails. Calls `check` after each.
/// @return the number of repetitions with failures.
inline unsigned int WithoutMemory(onu_mng_platform::Simulation& board, const std::function<void()>& act,
                                  const std::function<void(bool failed)>& check) {
    for (unsigned int nth = 1;; ++nth) {
        const unsigned int before = board.Failed();
        board.FailFrom(onu_mng_platform::SimFault::kNew, nth);
        act();
        board.FailNone();
        const bool failed = board.Failed() != before;
        check(failed);
        if (!failed) return nth - 1;
    }
}

#endif
