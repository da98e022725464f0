// Messages to a module. Each is claimed, copied, queued, handled by the module's task and freed.

#include "bench/messages.h"

namespace bench {

namespace {

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
