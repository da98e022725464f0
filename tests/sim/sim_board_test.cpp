// The simulated board itself, without the library.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/cutil.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/sim/fresh_process.h"
#include "onu_mng_platform/sim/simulation.h"
#include "onu_mng_platform/ulog.h"
#include "tests/support/sim_scenario.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr int kForEver = -1;

std::uint32_t NewQueue(int capacity = 4) {
    return bep_msgQCreateEx(capacity, sizeof(int), 0, __FILE__, __LINE__);
}
int Send(std::uint32_t queue, int value, int ticks = 0) {
    return bep_msgQSendEx(queue, reinterpret_cast<const char*>(&value), sizeof value, ticks, 1, __FILE__,
                          __LINE__);
}
int Receive(std::uint32_t queue, int ticks) {
    int value = 0;
    return bep_msgQReceiveEx(queue, reinterpret_cast<char*>(&value), sizeof value, ticks, __FILE__,
                             __LINE__) < 0
               ? -1
               : value;
}
std::uint32_t NewSemaphore(int available) {
    return bep_semBCreateEx(2, available, __FILE__, __LINE__);
}
int Take(std::uint32_t semaphore, int ticks) {
    return bep_semTakeEx(semaphore, ticks, __FILE__, __LINE__);
}
int Give(std::uint32_t semaphore) {
    return bep_semGiveEx(semaphore, __FILE__, __LINE__);
}

void CallFunction(intptr_t function, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t, intptr_t,
                  intptr_t, intptr_t) {
    (*reinterpret_cast<const std::function<void()>*>(function))();
}
/// The function outlives the task.
std::uint32_t SpawnTask(const char* name, const std::function<void()>& function,
                        unsigned int priority = 100) {
    return bep_taskSpawnEx(name, priority, 8, 4096, CallFunction, reinterpret_cast<intptr_t>(&function), 0, 0,
                           0, 0, 0, 0, 0, 0, 0);
}

/// Senders and receivers over one small queue with waits, sleeps, logs and blocks: whatever a run can
/// contain.
void Storm(Simulation& board, int pool) {
    const std::uint32_t queue = NewQueue(2);
    const std::uint32_t lock = NewSemaphore(1);
    for (int sender = 0; sender < 3; ++sender) {
        board.Spawn("sender", [=] {
            for (int message = 0; message < 10; ++message) {
                Send(queue, message, kForEver);
                void* block = mpuAlloc_(pool, 40, __FILE__, __LINE__);
                std::this_thread::sleep_for(1ms * sender);
                mpuFree(block);
            }
        });
    }
    for (int receiver = 0; receiver < 2; ++receiver) {
        board.Spawn("receiver", [=] {
            for (int message = 0; message < 15; ++message) {
                const int value = Receive(queue, kForEver);
                Take(lock, kForEver);
                ulogPrintf(7, 12, "received %d\r\n", value);
                Give(lock);
            }
        });
    }
    board.Join();
    bep_msgQDeleteEx(queue);
    bep_semDeleteEx(lock);
}

struct StormRun {
    SimResult result;
    std::vector<std::string> record;
    SimHoldings left;
};

StormRun RunStorm(std::uint64_t seed) {
    static const int pool = mpuCreate("storm", 4096, 1, 0);
    SimOptions options;
    options.seed = seed;
    options.keep_record = true;
    Simulation board(options);
    board.Run([&] { Storm(board, pool); });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_EQ(30u, board.Log().size());
    return {board.Result(), board.Record(), board.Holdings()};
}

TEST(SimulatedBoard, RepeatsARunFromItsSeed) {
    std::set<std::uint64_t> different;
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        const StormRun first = RunStorm(seed);
        const StormRun second = RunStorm(seed);
        EXPECT_EQ(first.record, second.record) << "seed " << seed;
        EXPECT_EQ(first.result.fingerprint, second.result.fingerprint) << "seed " << seed;
        EXPECT_EQ(SimHoldings{}, second.left);
        different.insert(first.result.fingerprint);
    }
    EXPECT_EQ(50u, different.size());
}

TEST(SimulatedBoard, MeansTheSameRunByASeedOnEveryMachine) {
    Simulation board(2038);
    board.Run([&] {
        const std::uint32_t queue = NewQueue(1);
        for (int sender = 0; sender < 3; ++sender)
            board.Spawn("sender", [=] {
                std::this_thread::sleep_for(1ms * sender);
                Send(queue, sender, kForEver);
            });
        for (int message = 0; message < 3; ++message)
            ulogPrintf(1, 12, "%d\r\n", Receive(queue, kForEver));
        bep_msgQDeleteEx(queue);
    });
    EXPECT_EQ(4498664594098323402u, board.Result().fingerprint);
}

TEST(SimulatedBoard, WritesOneLineForEachCall) {
    SimOptions options;
    options.keep_record = true;
    options.switch_one_in = 1'000'000;
    Simulation board(options);
    board.Run([&] {
        const std::uint32_t queue = NewQueue();
        Send(queue, 1);
        EXPECT_EQ(-1, Receive(queue + 1, 0));
        board.Sleep(1500ms);
        bep_msgQDeleteEx(queue);
    });
    std::vector<std::string> record = board.Record();
    for (std::string& line : record)
        line = line.substr(0, line.find(" at "));
    EXPECT_EQ((std::vector<std::string>{
                  "0.000000000 host(1): msgQCreate(queue 2, max_msgs 4, msg_size 4) = 0",
                  "0.000000000 host(1): msgQSend(queue 2, len 4, ticks 0) = 0",
                  "0.000000000 host(1): msgQReceive(queue 3, len 4, ticks 0) = -1",
                  "1.500000000 host(1): Sleep(nanoseconds 1500000000) = 0",
                  "1.500000000 host(1): msgQDelete(queue 2) = 0",
              }),
              record);
    EXPECT_EQ(record.size(), board.Result().calls);
}

std::int64_t Seconds(clockid_t clock) {
    timespec time{};
    EXPECT_EQ(0, clock_gettime(clock, &time));
    return time.tv_sec;
}

std::string Date() {
    unsigned short year = 0;
    unsigned char month = 0, day = 0, hour = 0, minute = 0, second = 0;
    EXPECT_EQ(0, getDateTime(&year, &month, &day, &hour, &minute, &second));
    char text[40];
    std::snprintf(text, sizeof text, "%u-%u-%u %u:%u:%u", year, month, day, hour, minute, second);
    return text;
}

TEST(VirtualTime, JumpsToTheNextDeadlineAndStandsStillOtherwise) {
    SimOptions options;
    options.limit = 24h * 366 * 30;
    Simulation board(options);
    board.Run([&] {
        EXPECT_EQ(kSimStartDate, Seconds(CLOCK_REALTIME));
        EXPECT_EQ("2026-1-1 0:0:0", Date());
        for (int call = 0; call < 1000; ++call)
            Give(0);
        EXPECT_EQ(0ns, board.Now());
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
        EXPECT_EQ("2045-12-27 3:0:0", Date());
        board.StepCalendar(-24h * 365 * 20);
        EXPECT_EQ("2026-1-1 3:0:0", Date());
        EXPECT_EQ(24h * 365 * 20 + 3h, board.Now());
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_NEAR(static_cast<double>(std::time(nullptr)), static_cast<double>(Seconds(CLOCK_REALTIME)), 1);
}

TEST(VirtualTime, EndsEachWaitAtItsOwnDeadline) {
    for (std::uint64_t seed = 1; seed <= 100; ++seed) {
        Simulation board(seed);
        board.Run([&] {
            const std::uint32_t empty = NewQueue();
            const std::uint32_t full = NewQueue(1);
            const std::uint32_t taken = NewSemaphore(0);
            Send(full, 0);
            board.Spawn("thief", [&] { // makes every wait come true for a moment, and takes it away again
                for (int round = 0; round < 40; ++round) {
                    board.Sleep(100ms);
                    Receive(full, 0);
                    Send(full, round);
                    Give(taken);
                    Take(taken, 0);
                }
            });
            std::size_t ended = 0;
            const auto expect = [&](int ticks, bool came, SimTime since) {
                ++ended;
                const SimTime waited = board.Now() - since;
                EXPECT_TRUE(came ? waited <= 1ms * ticks : waited == 1ms * ticks) << ticks;
            };
            for (const int ticks : {0, 1, 250, 3000}) {
                board.Spawn("waiter", [&, ticks] {
                    SimTime since = board.Now();
                    expect(ticks, Receive(empty, ticks) == 0, since);
                    since = board.Now();
                    expect(ticks, Send(full, ticks, ticks) == 0, since);
                    since = board.Now();
                    expect(ticks, Take(taken, ticks) == 0, since);
                });
            }
            board.Join();
            EXPECT_EQ(12u, ended);
            for (const std::uint32_t queue : {empty, full})
                bep_msgQDeleteEx(queue);
            bep_semDeleteEx(taken);
        });
        ASSERT_TRUE(board.Result().Ok()) << board.Result().report;
    }
}

TEST(VirtualTime, GoesOnAsFarAsAskedWhenAllIsQuiet) {
    SimOptions options;
    options.until = 10min;
    Simulation board(options);
    int rounds = 0;
    const std::function<void()> every_minute = [&] {
        for (;; ++rounds)
            std::this_thread::sleep_for(1min);
    };
    board.Run([&] { EXPECT_NE(0u, SpawnTask("periodic", every_minute)); });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_EQ(10min, board.Result().time);
    EXPECT_EQ(10, rounds);
}

/// A run and how it has to end; the words stand in its report.
struct Ending {
    const char* name;
    SimOutcome outcome;
    std::vector<std::string> words;
    std::function<void(Simulation&)> body;
};

const std::function<void()>& Service(std::function<void()> body) {
    static std::function<void()> service;
    return service = std::move(body);
}

std::vector<Ending> Endings() {
    return {
        {"a service waits for its next message",
         SimOutcome::kQuiet,
         {},
         [](Simulation&) { SpawnTask("service", Service([] { Receive(NewQueue(), kForEver); })); }},
        {"a service is told to wait for a signal",
         SimOutcome::kQuiet,
         {},
         [](Simulation& board) {
             board.MayIdle("service");
             SpawnTask("service", Service([] { Take(NewSemaphore(0), kForEver); }));
         }},
        {"a service waits in a call for a deleted queue",
         SimOutcome::kQuiet,
         {},
         [](Simulation&) {
             const std::uint32_t queue = NewQueue();
             SpawnTask("service", Service([=] { Receive(queue, kForEver); }));
             bep_msgQDeleteEx(queue);
         }},
        {"a signal never comes",
         SimOutcome::kDeadlock,
         {"deadlock", "service(2) waits for semaphore 3", "without limit at sim_board_test.cpp:", "seed 5"},
         [](Simulation&) { SpawnTask("service", Service([] { Take(NewSemaphore(0), kForEver); })); }},
        {"a lock is not given back",
         SimOutcome::kDeadlock,
         {"host(1) waits for semaphore 2", "taken by host at sim_board_test.cpp:"},
         [](Simulation&) {
             const std::uint32_t lock = NewSemaphore(1);
             Take(lock, kForEver);
             Take(lock, kForEver);
         }},
        {"nobody empties a queue",
         SimOutcome::kDeadlock,
         {"room in queue"},
         [](Simulation&) {
             const std::uint32_t queue = NewQueue(1);
             SpawnTask("service", Service([=] {
                           Send(queue, 1, kForEver);
                           Send(queue, 2, kForEver);
                       }));
         }},
        {"the body waits for a message",
         SimOutcome::kDeadlock,
         {"host(1) waits for a message in queue 2"},
         [](Simulation&) { Receive(NewQueue(), kForEver); }},
        {"a deleted task does not come to an end point",
         SimOutcome::kDeadlock,
         {"host(1) waits for the end of task 2"},
         [](Simulation&) {
             const std::uint32_t task = SpawnTask("task", Service([] {
                                                      bep_taskSafeEx();
                                                      Take(NewSemaphore(0), kForEver);
                                                  }));
             std::this_thread::sleep_for(1ms);
             bep_taskDeleteEx(task);
         }},
        {"the body is stuck while others have deadlines",
         SimOutcome::kOverLimit,
         {"not quiet within the limit"},
         [](Simulation&) {
             SpawnTask("periodic", Service([] {
                           for (;;)
                               std::this_thread::sleep_for(1min);
                       }));
             Take(NewSemaphore(0), kForEver);
         }},
        {"a loop polls",
         SimOutcome::kSpinning,
         {"calls without time passing", "host(1) runs"},
         [](Simulation&) {
             const std::uint32_t queue = NewQueue();
             while (Receive(queue, 0) < 0) {
             }
         }},
        {"a task throws",
         SimOutcome::kEscaped,
         {"task \"service\" was left by an exception: lost"},
         [](Simulation&) { SpawnTask("service", Service([] { throw std::runtime_error("lost"); })); }},
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

TEST(EndOfARun, TellsTasksThatCannotBeEnded) {
    EXPECT_TRUE(sim_scenario::Passes([] {
        Simulation board(1);
        const SimResult& result = board.Run([] {
            bep_taskSafeEx();
            Take(NewSemaphore(0), kForEver);
        });
        EXPECT_EQ(SimOutcome::kDeadlock, result.outcome);
        EXPECT_NE(std::string::npos, result.report.find("tasks cannot be ended")) << result.report;
    }));
}

/// Counts how many are alive.
class Counted {
public:
    explicit Counted(int& counter) : count(counter) { ++count; }
    ~Counted() { --count; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

private:
    int& count;
};

// A task that is ended somewhere among locks, blocks, waits and sleeps leaves nothing behind, wherever it
// was.
TEST(EndedTasks, AreUnwoundWhereverTheyAre) {
    int pool = -1;
    for (std::uint64_t seed = 1; seed <= 300; ++seed) {
        Simulation board(seed);
        int alive = 0;
        board.Run([&] {
            if (pool < 0) pool = mpuCreate("ended", 4096, 1, 0);
            const std::uint32_t lock = NewSemaphore(1);
            const std::uint32_t queue = NewQueue(1);
            const std::function<void()> work = [&] {
                const Counted counted(alive);
                for (;;) {
                    struct Holding {
                        explicit Holding(std::uint32_t semaphore) : lock(semaphore) { Take(lock, kForEver); }
                        ~Holding() { Give(lock); }
                        const std::uint32_t lock;
                    };
                    const Holding holding(lock);
                    const std::unique_ptr<void, int (*)(void*)> block(mpuAlloc_(pool, 16, __FILE__, __LINE__),
                                                                      mpuFree);
                    Send(queue, 1, kForEver);
                    Receive(queue, kForEver);
                    std::this_thread::sleep_for(1ms);
                }
            };
            const std::uint32_t tasks[] = {SpawnTask("one", work), SpawnTask("two", work)};
            board.Sleep(SimTime(seed * 100'000));
            for (const std::uint32_t task : tasks) {
                EXPECT_EQ(0, bep_taskDeleteEx(task));
                EXPECT_EQ(-1, bep_taskDeleteEx(task));
            }
            EXPECT_EQ(0, alive);
            EXPECT_EQ(0, Take(lock, 0));
            bep_semDeleteEx(lock);
            bep_msgQDeleteEx(queue);
        });
        ASSERT_TRUE(board.Result().Ok()) << board.Result().report;
        ASSERT_EQ(SimHoldings{}, board.Holdings()) << "seed " << seed;
    }
}

TEST(EndedTasks, OfARunThatIsOverAreUnwoundToo) {
    Simulation board(1);
    int alive = 0;
    const std::function<void()> service = [&] {
        const Counted counted(alive);
        Receive(NewQueue(), kForEver);
    };
    board.Run([&] {
        SpawnTask("service", service);
        board.Settle();
        EXPECT_EQ(1, alive);
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_EQ(0, alive);
    EXPECT_EQ(1, board.Holdings().queues) << "the queue lives on";
}

/// A call of each kind that can fail; false when it failed.
struct Failing {
    SimFault fault;
    std::function<bool()> call;
};

std::vector<Failing> FailingCalls() {
    static std::uint32_t queue = 0;
    static std::uint32_t semaphore = 0;
    static int pool = -1;
    return {
        {SimFault::kQueueCreate, [] { return (queue = NewQueue(64)) != 0; }},
        {SimFault::kQueueSend, [] { return Send(queue, 1) == 0 && Receive(queue, 0) == 1; }},
        {SimFault::kQueueReceive, [] { return Send(queue, 1) == 0 && Receive(queue, 0) == 1; }},
        {SimFault::kSemaphoreCreate, [] { return (semaphore = NewSemaphore(1)) != 0; }},
        {SimFault::kSemaphoreTake, [] { return Take(semaphore, 0) + Give(semaphore) == 0; }},
        {SimFault::kTaskSpawn, [] { return SpawnTask("task", Service([] {})) != 0; }},
        {SimFault::kPoolCreate, [] { return (pool = mpuCreate("failing", 4096, 1, 0)) >= 0; }},
        {SimFault::kPoolAlloc, [] { return mpuFree(mpuAlloc_(pool, 16, __FILE__, __LINE__)) == 0; }},
        {SimFault::kNew,
         [] {
             void* const block = ::operator new(16, std::nothrow);
             ::operator delete(block);
             return block != nullptr;
         }},
    };
}

TEST(Faults, MakeTheNamedCallsFailAndNoOthers) {
    EXPECT_TRUE(sim_scenario::Passes([] {
        Simulation board(1);
        board.Run([&] {
            const std::vector<Failing> calls = FailingCalls();
            EXPECT_EQ(kSimFaults - 1, calls.size());
            ulogSetThreshold(16);
            for (const Failing& failing : calls) {
                const auto outcomes = [&] {
                    std::string text;
                    for (int call = 0; call < 5; ++call)
                        text += failing.call() ? '+' : '-';
                    return text;
                };
                SCOPED_TRACE(SimFaultName(failing.fault));
                EXPECT_EQ("+++++", outcomes());
                const auto told = [&](auto&& tell) {
                    tell();
                    std::string text = outcomes();
                    board.FailNone();
                    return text;
                };
                EXPECT_EQ("+-+++", told([&] { board.FailNth(failing.fault, 2); }));
                EXPECT_EQ("++---", told([&] { board.FailFrom(failing.fault, 3); }));
                EXPECT_EQ("-----", told([&] { board.FailShare(failing.fault, 1); }));
                EXPECT_TRUE(failing.call());
            }
            EXPECT_EQ(9 * (kSimFaults - 1), board.Failed());
        });
        EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    }));
}

// The loop of a service goes round at once after a failure.
TEST(Faults, LeaveTimeToTheOthersWhenAReceiveAlwaysFails) {
    SimOptions options;
    options.until = 1s;
    Simulation board(options);
    int failures = 0;
    const std::function<void()> service = [&] {
        for (const std::uint32_t queue = NewQueue();; ++failures)
            Receive(queue, kForEver);
    };
    board.Run([&] {
        board.FailFrom(SimFault::kQueueReceive, 1);
        SpawnTask("service", service);
        board.Sleep(500ms);
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
    EXPECT_EQ(1000, failures) << "one a tick";
}

TEST(Faults, OfAShareComeFromTheSeed) {
    const auto failures = [](std::uint64_t seed) {
        std::string text;
        Simulation board(seed);
        board.Run([&] {
            board.FailShare(SimFault::kSemaphoreCreate, 4);
            for (int call = 0; call < 400; ++call) {
                const std::uint32_t semaphore = NewSemaphore(1);
                text += semaphore != 0 ? '+' : '-';
                bep_semDeleteEx(semaphore);
            }
        });
        return text;
    };
    EXPECT_EQ(failures(1), failures(1));
    EXPECT_NE(failures(1), failures(2));
    const std::string some = failures(3);
    EXPECT_NEAR(100.0, static_cast<double>(std::count(some.begin(), some.end(), '-')), 30.0);
}

TEST(PoolBlocks, HoldNeitherZerosNorWhatTheyHeldBefore) {
    static const int pool = mpuCreate("filled", 4096, 1, 0);
    Simulation board(1);
    board.Run([] {
        auto* const block = static_cast<unsigned char*>(mpuAlloc_(pool, 20, __FILE__, __LINE__));
        EXPECT_EQ(std::vector<unsigned char>(20, 0xCD), std::vector<unsigned char>(block, block + 20));
        std::fill(block, block + 20, 7);
        EXPECT_EQ(0, mpuFree(block));
        EXPECT_EQ(std::vector<unsigned char>(20, 0xDD), std::vector<unsigned char>(block, block + 20));
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

TEST(Priorities, DecideWhenChosen) {
    for (std::uint64_t seed = 1; seed <= 50; ++seed) {
        SimOptions options;
        options.seed = seed;
        options.by_priority = true;
        Simulation board(options);
        std::string order;
        board.Run([&] {
            for (const unsigned int priority : {102u, 90u, 101u, 103u})
                board.Spawn(
                    "task",
                    [&, priority] {
                        Give(0);
                        order += std::to_string(priority) + " ";
                    },
                    priority);
            board.Join();
        });
        EXPECT_EQ("90 101 102 103 ", order);
    }
}

/// Its construction calls the platform.
struct Late {
    Late() : semaphore(NewSemaphore(1)) {}
    static Late& Instance() {
        static Late late;
        return late;
    }
    const std::uint32_t semaphore;
};

/// Uses the platform in the last moment of its thread.
struct LastWord {
    ~LastWord() {
        Take(Late::Instance().semaphore, 0);
        Give(Late::Instance().semaphore);
    }
    bool is_used = false;
};
thread_local LastWord last_word;

TEST(SimulatedBoard, CopesWithStaticsAndThreadLocals) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        EXPECT_TRUE(sim_scenario::Passes([=] {
            Simulation board(seed);
            board.Run([&] {
                for (int task = 0; task < 4; ++task)
                    board.Spawn("task", [] {
                        last_word.is_used = true;
                        EXPECT_EQ(0, Take(Late::Instance().semaphore, kForEver));
                        EXPECT_EQ(0, Give(Late::Instance().semaphore));
                    });
            });
            EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
            EXPECT_EQ(1, board.Holdings().semaphores);
            // What a run made serves the program on, and the next run.
            EXPECT_EQ(0, Take(Late::Instance().semaphore, kForEver));
            EXPECT_EQ(-1, Take(Late::Instance().semaphore, kForEver)) << "nobody could end the wait";
            Simulation next(seed);
            next.Run([] { EXPECT_EQ(0, Give(Late::Instance().semaphore)); });
            EXPECT_TRUE(next.Result().Ok()) << next.Result().report;
        }));
    }
}

TEST(SimulatedBoard, StartsNoTaskAndNoSecondRunOutsideOfARun) {
    EXPECT_EQ(0u, SpawnTask("task", Service([] {})));
    Simulation board(1);
    board.Run([] {
        Simulation inner(1);
        EXPECT_EQ(SimOutcome::kNotStarted, inner.Run([] {}).outcome);
    });
    EXPECT_TRUE(board.Result().Ok()) << board.Result().report;
}

TEST(FreshProcess, BringsItsResultAndLeavesTheCallerAlone) {
    static int counter = 0;
    EXPECT_EQ(7, RunInFreshProcess([] { return ++counter + 6; }));
    EXPECT_EQ(0, counter);
    EXPECT_EQ(127, RunInFreshProcess([] { return raise(SIGKILL); }));
}

} // namespace
