/// Sending messages to one module as fast as it handles them.
#ifndef ONU_MNG_BENCH_MESSAGES_H
#define ONU_MNG_BENCH_MESSAGES_H

#include <algorithm>
#include <thread>
#include <vector>

#include "bench/measure.h"
#include "bench/modules.h"

namespace bench {

constexpr unsigned int kMostSenders = 4;

/// The messages of one sender that may be unhandled at a time: fewer than fill the queue or the pool.
inline std::size_t WindowOf(std::size_t size) {
    constexpr std::size_t kMostBytes = 1 << 20;
    return std::clamp<std::size_t>(kMostBytes / size, 2, kQueueLength / kMostSenders);
}

/// Sends `count` messages and waits until they are handled. The first byte tells the handler who sent them.
template <typename Module>
void SendAll(Module& to, unsigned int sender, Counter& handled, std::size_t size, std::size_t count) {
    std::vector<char> data(size, static_cast<char>(sender));
    const std::size_t window = WindowOf(size);
    const std::size_t first = handled.value;
    std::size_t limit = first + window;
    for (std::size_t sent = first; sent != first + count; ++sent) {
        if (sent == limit) {
            handled.Await(limit - window / 2);
            limit += window / 2;
        }
        while (!Module::Send(to, data.data(), static_cast<unsigned int>(size)))
            std::this_thread::yield();
    }
    handled.Await(first + count);
}

/// Seconds for one message.
template <typename Module>
double TimeOfMessage(std::size_t size, unsigned int senders) {
    auto* handled = new Counter[kMostSenders];
    auto* module = new Module(7, [handled](char* data, unsigned int length) {
        Keep(data[length - 1]);
        handled[static_cast<unsigned char>(data[0])].Add();
    });
    StartSystem();
    return TimePerOperationOf(senders,
                              [&](unsigned int sender, std::size_t count) {
                                  SendAll(*module, sender, handled[sender], size, count);
                              }) /
           senders;
}

} // namespace bench

#endif
