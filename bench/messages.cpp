// Messages to a module: claimed, copied, queued, handled by the module's task, freed.

#include <thread>

#include "bench/measure.h"
#include "bench/modules.h"

namespace bench {

namespace {

/// Messages of one sender that are not handled yet: no queue is ever full.
constexpr std::size_t kWindow = kQueueLength / 4;

/// Sends `count` messages and waits until they are handled. The first byte tells the handler who sent them.
template <typename Module>
void SendAll(Module& to, unsigned char sender, Counter& handled, std::size_t size, std::size_t count) {
    std::vector<char> data(size, static_cast<char>(sender));
    const std::size_t first = handled.value;
    std::size_t limit = first + kWindow;
    for (std::size_t sent = first; sent != first + count; ++sent) {
        if (sent == limit) {
            handled.Await(limit - kWindow / 2);
            limit += kWindow / 2;
        }
        while (!Module::Send(to, data.data(), static_cast<unsigned int>(size)))
            std::this_thread::yield();
    }
    handled.Await(first + count);
}

template <typename Module>
double TimeOfMessage(std::size_t size, unsigned int senders) {
    auto* handled = new Counter[2];
    auto* module = new Module(7, [handled](char* data, unsigned int length) {
        Keep(data[length - 1]);
        handled[static_cast<unsigned char>(data[0])].Add();
    });
    StartSystem();
    if (senders == 1)
        return TimePerOperation([&](std::size_t count) { SendAll(*module, 0, handled[0], size, count); });
    return TimePerOperationOfTwo([&](unsigned int task, std::size_t count) {
               SendAll(*module, static_cast<unsigned char>(task), handled[task], size, count);
           }) /
           2;
}

Row MessageRow(const char* name, std::size_t size, unsigned int senders, double target, double goal) {
    Row row{name, Unit::kMillionsPerSecond, target, goal, {}};
    row.cases.push_back(
        {Case::Kind::kOurs, "ours", [=] { return TimeOfMessage<OurModule>(size, senders); }, ""});
    ForEachPeerModule([&](const std::string& queue, auto* type) {
        using Module = std::remove_pointer_t<decltype(type)>;
        const Allocator& allocator = Mimalloc();
        row.cases.push_back({Case::Kind::kPeer, queue + " + " + allocator.name,
                             [=] { return TimeOfMessage<Module>(size, senders); }, allocator.library});
    });
    return row;
}

} // namespace

void AddMessageRows(Rows& rows) {
    rows.push_back(MessageRow("message, 64 B, one sender", 64, 1, 1.2, 1.5));
    rows.push_back(MessageRow("message, 1 KiB, one sender", 1024, 1, 1.2, 2));
    rows.push_back(MessageRow("message, 64 B, two senders", 64, 2, 1.0, 1.5));
}

} // namespace bench
