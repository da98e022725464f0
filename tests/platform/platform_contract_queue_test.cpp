// Message queues, on every port.
#include <gtest/gtest.h>

#include <climits>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "onu_mng_platform/bep.h"
#include "tests/support/port_calls.h"
#include "tests/support/port_fixture.h"
#include "tests/support/port_task.h"
#include "tests/support/seeded.h"

namespace {

PORT_TEST(PlatformQueue, RefusesWhatItCannotCreate) {
    for (const auto& [messages, size] : {std::pair(0, 8), {8, 0}, {-1, 8}, {8, -1}, {INT_MAX, INT_MAX}})
        EXPECT_EQ(NewQueue(messages, size), 0u) << messages << " of " << size;
    const PortQueue queue(1, 1);
    EXPECT_NE(queue, 0u);
    EXPECT_EQ(bep_msgQDeleteEx(queue), 0);
}

PORT_TEST(PlatformQueue, RefusesBadMessagesAndCutsLongOnes) {
    const PortQueue queue(2, 4);
    char byte = 0;
    EXPECT_EQ(Send(queue, ""), -1);
    EXPECT_EQ(Send(queue, "12345"), -1);
    EXPECT_EQ(bep_msgQSendEx(queue, nullptr, 1, 0, 1, __FILE__, __LINE__), -1);
    EXPECT_EQ(bep_msgQReceiveEx(queue, nullptr, 1, 0, __FILE__, __LINE__), -1);
    EXPECT_EQ(bep_msgQReceiveEx(queue, &byte, 0, 0, __FILE__, __LINE__), -1);
    EXPECT_EQ(bep_msgQNumMsgsEx(queue), 0);

    EXPECT_EQ(Send(queue, "1234"), 0);
    EXPECT_EQ(Send(queue, "ab"), 0);
    EXPECT_EQ(Receive(queue, 0, 3), "123"); // the rest of it is gone
    EXPECT_EQ(Receive(queue), "ab");
    EXPECT_EQ(Receive(queue), std::nullopt);
}

struct ModelQueue {
    uint32_t id;
    size_t capacity;
    size_t message_size;
    std::deque<std::string> messages;
};

/// One random operation on a queue that may have been deleted; the model says what must come of it.
void Step(Seeded& random, ModelQueue& queue, bool exists) {
    if (random.Below(2) == 0) {
        std::string message(1 + random.Below(10), random.Byte());
        const bool taken =
            exists && message.size() <= queue.message_size && queue.messages.size() < queue.capacity;
        ASSERT_EQ(Send(queue.id, message), taken ? 0 : -1);
        if (taken) queue.messages.push_back(message);
    } else {
        const unsigned int room = 1 + random.Below(10);
        std::optional<std::string> expected;
        if (exists && !queue.messages.empty()) {
            expected = queue.messages.front().substr(0, room);
            queue.messages.pop_front();
        }
        ASSERT_EQ(Receive(queue.id, 0, room), expected);
    }
    ASSERT_EQ(bep_msgQNumMsgsEx(queue.id), exists ? static_cast<int>(queue.messages.size()) : 0);
}

PORT_TEST(PlatformQueue, FollowsAModelThroughRandomOperations) {
    Seeded random;
    std::vector<ModelQueue> alive;
    std::vector<ModelQueue> deleted;
    const auto any_of = [&random](std::vector<ModelQueue>& queues) {
        return queues.begin() + random.Below(static_cast<unsigned int>(queues.size()));
    };
    for (int i = 0; i < 20000 && !testing::Test::HasFatalFailure(); ++i) {
        const unsigned int what = random.Below(100);
        if (alive.empty() || what == 0) {
            const unsigned int capacity = 1 + random.Below(8), size = 1 + random.Below(9);
            alive.push_back(
                {NewQueue(static_cast<int>(capacity), static_cast<int>(size)), capacity, size, {}});
            ASSERT_NE(alive.back().id, 0u);
        } else if (what == 1) {
            const auto which = any_of(alive);
            ASSERT_EQ(bep_msgQDeleteEx(which->id), 0);
            ASSERT_EQ(bep_msgQDeleteEx(which->id), -1);
            deleted.push_back(*which);
            alive.erase(which);
        } else if (what == 2 && !deleted.empty()) {
            Step(random, *any_of(deleted), false);
        } else {
            Step(random, *any_of(alive), true);
        }
    }
    for (const ModelQueue& queue : alive)
        bep_msgQDeleteEx(queue.id);
}

PORT_TEST(PlatformQueue, WaitsAsLongAsAskedButNoLess) {
    const PortQueue queue(1, 1);
    const int ticks = bep_sysClkRateGetEx() / 20;
    double start = Now();
    EXPECT_EQ(Receive(queue, ticks), std::nullopt);
    EXPECT_GE(Now() - start, 0.05);

    EXPECT_EQ(Send(queue, "x", ticks), 0);
    start = Now();
    EXPECT_EQ(Send(queue, "y", ticks), -1);
    EXPECT_GE(Now() - start, 0.05);
    EXPECT_EQ(bep_msgQNumMsgsEx(queue), 1);
}

PORT_TEST(PlatformQueue, WakesWhoWaits) {
    const PortQueue queue(1, 8);
    std::optional<std::string> received;
    PortTask receiver("receiver", [&] { received = Receive(queue, -1); });
    LetOthersSettle();
    EXPECT_EQ(Send(queue, "one"), 0);
    receiver.WaitUntilDone();
    EXPECT_EQ(received, "one");

    EXPECT_EQ(Send(queue, "two"), 0);
    int sent = 1;
    PortTask sender("sender", [&] { sent = Send(queue, "three", -1); });
    LetOthersSettle();
    EXPECT_EQ(bep_msgQNumMsgsEx(queue), 1);
    EXPECT_EQ(Receive(queue), "two");
    sender.WaitUntilDone();
    EXPECT_EQ(sent, 0);
    EXPECT_EQ(Receive(queue), "three");
}

// A receiver that is deleted or times out just when a message comes for it must not leave the message lying
// while another receiver waits.
PORT_TEST(PlatformQueue, LosesNoMessageWithADeletedReceiver) {
    for (int round = 0; round < 100; ++round) {
        const PortQueue queue(4, 8);
        std::optional<std::string> first;
        std::optional<std::string> second;
        PortTask doomed("doomed", [&] { first = Receive(queue, -1); });
        if (round % 2 == 0) LetOthersSettle();
        PortTask patient("patient", [&] { second = Receive(queue, -1); });
        PortTask sender("sender", [&] { EXPECT_EQ(Send(queue, "x"), 0); });
        doomed.Delete();
        if (first.has_value()) Send(queue, "y");
        patient.WaitUntilDone();
        ASSERT_EQ(second, first.has_value() ? "y" : "x");
        sender.WaitUntilDone();
    }
}

constexpr uint32_t kStreams = 4;
constexpr uint32_t kPerStream = 3000;

struct Parcel {
    uint32_t stream;
    uint32_t number;
};

void SendStream(uint32_t queue, uint32_t stream) {
    for (uint32_t number = 0; number < kPerStream; ++number)
        ASSERT_TRUE(SendThing(queue, Parcel{stream, number}));
}

/// Receives until a parcel of no stream comes; counts the parcels and expects each stream in order.
void ReceiveStreams(uint32_t queue, uint32_t* count) {
    uint32_t next[kStreams] = {};
    for (Parcel parcel{}; ReceiveThing(queue, &parcel) && parcel.stream < kStreams; ++*count) {
        ASSERT_GE(parcel.number, next[parcel.stream]);
        next[parcel.stream] = parcel.number + 1;
    }
}

PORT_TEST(PlatformQueue, KeepsTheOrderOfEachSenderAndLosesNothing) {
    const PortQueue queue(3, sizeof(Parcel));
    uint32_t counts[2] = {};
    const PortTasks receivers(2, [&](int number) { ReceiveStreams(queue, &counts[number]); });
    const PortTasks senders(kStreams, [&](int number) { SendStream(queue, static_cast<uint32_t>(number)); });
    senders.WaitUntilDone();
    for (int i = 0; i < 2; ++i)
        EXPECT_TRUE(SendThing(queue, Parcel{kStreams, 0}));
    receivers.WaitUntilDone();
    EXPECT_EQ(counts[0] + counts[1], kStreams * kPerStream);
    EXPECT_EQ(bep_msgQNumMsgsEx(queue), 0);
}

} // namespace
