// The simulated board itself, without the library.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "onu_mng_platform/cutil.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/sim/fresh_process.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_task.h"
#include "tests/support/sim_scenario.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr int kForEver = -1;

/// The function outlives the task.
std::uint32_t SpawnTask(const std::function<void()>& function) {
    const auto call = [](intptr_t entry, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                         intptr_t, intptr_t) { (*reinterpret_cast<const std::function<void()>*>(entry))(); };
    return bep_taskSpawnEx("service", 100, 8, 4096, call, reinterpret_cast<intptr_t>(&function), 0, 0, 0, 0,
                           0, 0, 0, 0, 0);
}

TEST(SimulatedBoard, MeansTheSameRunByASeedOnEveryMachine) {
    std::map<std::uint64_t, std::uint64_t> fingerprints;
    for (const std::uint64_t seed : {1u, 2u, 2038u, 2u, 1u, 2038u}) {
        Simulation board(seed);
        board.Run([&] {
            const PortQueue queue(1, 4);
            for (int sender = 0; sender < 3; ++sender)
                board.Spawn("sender", [&, sender] {
                    std::this_thread::sleep_for(1ms * sender);
                    SendThing(queue, sender);
                });
            for (int message = 0, value = 0; message < 3; ++message) {
                ReceiveThing(queue, &value);
                ulogPrintf(1, 12, "%d\r\n", value);
            }
        });
        const auto known = fingerprints.emplace(seed, board.Result().fingerprint).first;
        EXPECT_EQ(known->second, board.Result().fingerprint) << "seed " << seed;
        EXPECT_EQ(SimHoldings{}, board.Holdings());
    }
    EXPECT_NE(fingerprints[1], fingerprints[2038]);
    EXPECT_EQ(4498664594098323402u, fingerprints[2038]);
}

/// Counts the places where a text stands in another.
std::size_t Count(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++count;
    return count;
}

TEST(SimulatedBoard, ShowsWhatARunDid) {
    SimOptions options;
    options.keep_record = true;
    options.decisions = "";
    Simulation board(options);
    board.Run([&] {
        const PortQueue queue(4, 4);
        Send(queue, "one\"");
        EXPECT_FALSE(Receive(queue + 1));
        board.Sleep(1500ms);
        board.FailNth(SimFault::kQueueSend, 1);
        Send(queue, "two");
        ulogPrintf(7, 12, "a \"line\"\r\n");
        Receive(queue);
    });
    std::vector<std::string> record = board.Record();
    for (std::string& line : record)
        line = line.substr(0, line.find(" at "));
    EXPECT_EQ((std::vector<std::string>{
                  "0.000000000 host(1): msgQCreate(queue 2, max_msgs 4, msg_size 4) = 0",
                  "0.000000000 host(1): msgQSend(queue 2, len 4, ticks 0) = 0",
                  "0.000000000 host(1): msgQReceive(queue 3, len 64, ticks 0) = -1",
                  "1.500000000 host(1): Sleep(nanoseconds 1500000000) = 0",
                  "1.500000000 host(1): msgQSend(queue 2, len 3, ticks 0) = -1 (told to fail)",
                  "1.500000000 host(1): ulogPrintf(module 7, level 12) = 0",
                  "1.500000000 host(1): msgQReceive(queue 2, len 64, ticks 0) = 4",
                  "1.500000000 host(1): msgQDelete(queue 2) = 0",
              }),
              record);
    EXPECT_EQ(record.size(), board.Result().calls);
    EXPECT_NE(std::string::npos,
              board.Explain().find("log, 1 of 1 lines\n  1.500000000 host: 7 12: a \"line\""));

    const std::string path = testing::TempDir() + "onu_mng_timeline.json";
    ASSERT_TRUE(board.WriteTimeline(path));
    std::stringstream file;
    file << std::ifstream(path).rdbuf();
    const std::string timeline = file.str();
    EXPECT_EQ(record.size(), Count(timeline, "\"ph\":\"X\"")) << timeline;
    for (const char* mark :
         {"\"ph\":\"s\"", "\"ph\":\"f\"", "\"name\":\"fault\"", "a \\\"line\\\"\\u000d\\u000a"})
        EXPECT_EQ(1u, Count(timeline, mark)) << mark << " in\n" << timeline;
    EXPECT_FALSE(board.WriteTimeline("/no/such/folder/timeline.json"));
}

std::int64_t Seconds(clockid_t clock) {
    timespec time{};
    EXPECT_EQ(0, clock_gettime(clock, &time));
    return time.tv_sec;
}

int YearAndMonth() {
    unsigned short year = 0;
    unsigned char month = 0, day = 0, hour = 0, minute = 0, second = 0;
    EXPECT_EQ(0, getDateTime(&year, &month, &day, &hour, &minute, &second));
    return year * 100 + month;
}

TEST(VirtualTime, JumpsToTheNextDeadlineAndStandsStillOtherwise) {
    SimOptions options;
    options.limit = 24h * 366 * 30;
    Simulation board(options);
    board.Run([&] {
        EXPECT_EQ(kSimStartDate, Seconds(CLOCK_REALTIME));
        std::vector<int> woken;
        for (const int hours : {3, 1, 2})
            board.Spawn("sleeper", [&, hours] {
                std::this_thread::sleep_for(hours * 1h);
                EXPECT_EQ(hours * 1h, board.Now());
                woken.push_back(hours);
            });
        board.Join();
        EXPECT_EQ((std::vector<int>{1, 2, 3}), woken);
        EXPECT_EQ(3 * 3600, Seconds(CLOCK_MONOTONIC));
        board.Sleep(24h * 365 * 20);
        EXPECT_EQ(204512, YearAndMonth());
        board.StepCalendar(-24h * 365 * 20);
        EXPECT_EQ(202601, YearAndMonth());
        EXPECT_EQ(24h * 365 * 20 + 3h, board.Now());
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_NEAR(static_cast<double>(std::time(nullptr)), static_cast<double>(Seconds(CLOCK_REALTIME)), 1);
}

TEST(VirtualTime, GoesOnAsFarAsAskedAndIsLeftToOthersWhenAReceiveAlwaysFails) {
    SimOptions options;
    options.until = 1s;
    Simulation board(options);
    int failures = 0;
    const std::function<void()> service = [&] { // its loop goes round at once after a failure
        for (const std::uint32_t queue = NewQueue(1, 4);; ++failures)
            Receive(queue, kForEver);
    };
    board.Run([&] {
        board.FailFrom(SimFault::kQueueReceive, 1);
        SpawnTask(service);
        board.Sleep(500ms);
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_EQ(1s, board.Result().time);
    EXPECT_EQ(1000, failures) << "one a tick";
}

const std::function<void()>& Service(std::function<void()> body) {
    static std::function<void()> service;
    return service = std::move(body);
}

/// A run and how it has to end; the words stand in its report.
struct Ending {
    const char* name;
    SimOutcome outcome;
    std::vector<std::string> words;
    std::function<void(Simulation&)> body;
};

std::vector<Ending> Endings() {
    const auto wait_for_signal = [] { TakeSemaphore(NewSemaphore(false)); };
    return {
        {"a service waits for its next message",
         SimOutcome::kQuiet,
         {},
         [](Simulation&) { SpawnTask(Service([] { Receive(NewQueue(1, 4), kForEver); })); }},
        {"a service is told to wait for a signal",
         SimOutcome::kQuiet,
         {},
         [=](Simulation& board) {
             board.MayIdle("service");
             SpawnTask(Service(wait_for_signal));
         }},
        {"a lock is not given back",
         SimOutcome::kDeadlock,
         {"deadlock", "host(1) waits for semaphore 2",
          "without limit at port_calls.h:", "taken by host at port_calls.h:", "seed 5",
          "last calls of host(1), 2 of 2\n  0.000000000 semBCreate(semaphore 2, available 1) = 0"},
         [](Simulation&) {
             const std::uint32_t lock = NewSemaphore(true);
             TakeSemaphore(lock);
             TakeSemaphore(lock);
         }},
        {"nobody empties a queue",
         SimOutcome::kDeadlock,
         {"waits for room in queue"},
         [](Simulation&) {
             SpawnTask(Service([queue = NewQueue(1, 4)] {
                 Send(queue, "1", kForEver);
                 Send(queue, "2", kForEver);
             }));
         }},
        {"a deleted task does not come to an end point",
         SimOutcome::kDeadlock,
         {"host(1) waits for the end of task 2", "tasks cannot be ended"},
         [=](Simulation&) {
             const std::uint32_t task = SpawnTask(Service([=] {
                 bep_taskSafeEx();
                 wait_for_signal();
             }));
             std::this_thread::sleep_for(1ms);
             bep_taskDeleteEx(task);
         }},
        {"the body is stuck while others have deadlines",
         SimOutcome::kOverLimit,
         {"not quiet within the limit"},
         [=](Simulation&) {
             SpawnTask(Service([] {
                 for (;;)
                     std::this_thread::sleep_for(1min);
             }));
             wait_for_signal();
         }},
        {"a loop polls",
         SimOutcome::kSpinning,
         {"calls without time passing", "host(1) runs, in msgQReceive at "},
         [](Simulation&) {
             const std::uint32_t queue = NewQueue(1, 4);
             while (!Receive(queue)) {
             }
         }},
        {"a task throws",
         SimOutcome::kEscaped,
         {"task \"service\" was left by an exception: lost"},
         [](Simulation&) { SpawnTask(Service([] { throw std::runtime_error("lost"); })); }},
    };
}

TEST(EndOfARun, IsQuietOrToldWithEveryTaskAndWhatItWaitsFor) {
    for (const Ending& ending : Endings()) {
        // Each in a copy of the process: ids count from 1 there, and what is left behind goes with it.
        EXPECT_TRUE(sim_scenario::Passes([&] {
            SimOptions options;
            options.seed = 5;
            options.calls_per_instant = 10'000;
            options.switch_one_in = 1'000'000;
            Simulation board(options);
            const SimResult& result = board.Run([&] { ending.body(board); });
            EXPECT_EQ(ending.outcome, result.outcome) << result.report;
            for (const std::string& word : ending.words)
                EXPECT_NE(std::string::npos, result.report.find(word)) << word << " in:\n" << result.report;
        })) << ending.name;
    }
}

// That each kind fails its calls is what the sweeps over the library live on.
TEST(Faults, MakeTheNamedCallsFailAndNoOthers) {
    Simulation board(1);
    board.Run([&] {
        for (const SimFault kind : {SimFault::kSemaphoreCreate, SimFault::kAny}) {
            const auto outcomes = [&](const std::function<void()>& tell) {
                tell();
                std::string text;
                for (int call = 0; call < 5; ++call)
                    text += PortSemaphore(true) != 0 ? '+' : '-';
                board.FailNone();
                return text;
            };
            EXPECT_EQ("+-+++", outcomes([&] { board.FailNth(kind, 2); }));
            EXPECT_EQ("+-+-+", outcomes([&] { board.FailNth(kind, 2, 4); }));
            EXPECT_EQ("++---", outcomes([&] { board.FailFrom(kind, 3); }));
            EXPECT_EQ("-----", outcomes([&] { board.FailShare(kind, 1); }));
            EXPECT_EQ("+++++", outcomes([&] { board.FailFrom(SimFault::kQueueCreate, 1); }));
        }
        EXPECT_EQ(22u, board.Failed());
        EXPECT_EQ(22u, board.Failed(SimFault::kSemaphoreCreate));
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

TEST(PoolBlocks, HoldNeitherZerosNorWhatTheyHeldBefore) {
    static const int pool = mpuCreate("filled", 4096, 1, 0);
    Simulation board(1);
    board.Run([] {
        auto* const block = static_cast<unsigned char*>(mpuAlloc_(pool, 20, __FILE__, __LINE__));
        EXPECT_EQ(20, std::count(block, block + 20, 0xCD));
        std::fill(block, block + 20, 7);
        EXPECT_EQ(0, mpuFree(block));
        EXPECT_EQ(20, std::count(block, block + 20, 0xDD));
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

TEST(Priorities, DecideWhenChosen) {
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SimOptions options;
        options.seed = seed;
        options.by_priority = true;
        Simulation board(options);
        std::vector<unsigned int> order;
        board.Run([&] {
            for (const unsigned int priority : {102u, 90u, 101u, 103u}) {
                const auto task = [&, priority] {
                    GiveSemaphore(0);
                    order.push_back(priority);
                };
                board.Spawn("task", task, priority);
            }
        });
        EXPECT_EQ((std::vector<unsigned int>{90, 101, 102, 103}), order);
    }
}

TEST(SimulatedBoard, LeavesItsObjectsToTheProgramAndToTheNextRun) {
    EXPECT_TRUE(sim_scenario::Passes([] {
        std::uint32_t semaphore = 0;
        Simulation first(1);
        first.Run([&] { semaphore = NewSemaphore(true); });
        EXPECT_EQ(1, first.Holdings().semaphores);
        EXPECT_EQ(0, TakeSemaphore(semaphore));
        EXPECT_EQ(-1, TakeSemaphore(semaphore)) << "nobody could end the wait";
        Simulation next(1);
        next.Run([&] { EXPECT_EQ(0, GiveSemaphore(semaphore)); });
        EXPECT_TRUE(next.Result().Ok()) << next.Result().report;
    }));
}

TEST(SimulatedBoard, StartsNoTaskAndNoSecondRunOutsideOfARun) {
    EXPECT_EQ(0u, SpawnTask(Service([] {})));
    Simulation board(1);
    board.Run([] { EXPECT_EQ(SimOutcome::kNotStarted, Simulation(1).Run([] {}).outcome); });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

TEST(FreshProcess, BringsItsResultAndLeavesTheCallerAlone) {
    static int counter = 0;
    EXPECT_EQ(7, RunInFreshProcess([] { return ++counter + 6; }));
    EXPECT_EQ(0, counter);
    EXPECT_EQ(127, RunInFreshProcess([] { return raise(SIGKILL); }));
}

} // namespace
