#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/sim/seam_call.h"

using namespace onu_mng_platform;

namespace {

constexpr std::size_t kMostBytes = 256u << 20; ///< maximum size of a queue, as a board's memory is limited

constexpr CallName kCreate{"msgQCreate", "queue", "max_msgs", "msg_size"};
constexpr CallName kSend{"msgQSend", "queue", "len", "ticks"};
constexpr CallName kReceive{"msgQReceive", "queue", "len", "ticks"};
constexpr CallName kCount{"msgQNumMsgs", "queue", nullptr, nullptr};
constexpr CallName kDelete{"msgQDelete", "queue", nullptr, nullptr};

std::shared_ptr<Queue> NewQueue(int max_msgs, int msg_size) {
    if (max_msgs <= 0 || msg_size <= 0) return nullptr;
    const auto capacity = static_cast<std::size_t>(max_msgs);
    const auto size = static_cast<std::size_t>(msg_size);
    if (capacity > kMostBytes / (size + sizeof(std::size_t))) return nullptr;
    return std::make_shared<Queue>(capacity, size);
}

} // namespace

uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int, const char* file, int line) {
    SeamCall call(kCreate, {file, line});
    call.With(max_msgs, msg_size);
    if (call.IsToFail(SimFault::kQueueCreate)) return call.Created(0);
    auto queue = NewQueue(max_msgs, msg_size);
    return call.Created(queue != nullptr ? Board::Instance().Add(std::move(queue)) : 0);
}

int bep_msgQSendEx(uint32_t queue_id, const char* buf, unsigned int len, int ticks, int, const char* file,
                   int line) {
    SeamCall call(kSend, {file, line});
    call.On(queue_id).With(len, ticks);
    const auto queue = Board::Instance().Find<Queue>(queue_id);
    if (queue == nullptr || buf == nullptr || len == 0 || len > queue->message_size) return call.Result(-1);
    if (call.IsToFail(SimFault::kQueueSend, ticks)) return call.Result(-1);
    if (!call.WaitFor(WaitKind::kSend, queue, ticks)) return call.Result(-1);
    queue->Put(buf, len, call.Sends());
    return call.Result(0);
}

int bep_msgQReceiveEx(uint32_t queue_id, char* buf, unsigned int len, int ticks, const char* file, int line) {
    SeamCall call(kReceive, {file, line});
    call.On(queue_id).With(len, ticks);
    call.EndPoint();
    Board& board = Board::Instance();
    const auto queue = board.Find<Queue>(queue_id);
    if (queue == nullptr && ticks < 0 && board.WasEver(queue_id, ObjectKind::kQueue))
        call.WaitFor(WaitKind::kOwnEnd, nullptr, ticks);
    if (queue == nullptr || buf == nullptr || len == 0) return call.Result(-1);
    if (call.IsToFail(SimFault::kQueueReceive, ticks)) return call.Result(-1);
    if (!call.WaitFor(WaitKind::kReceive, queue, ticks)) return call.Result(-1);
    return call.Result(static_cast<int>(queue->Get(buf, len, call.Receives())));
}

int bep_msgQNumMsgsEx(uint32_t queue_id) {
    SeamCall call(kCount);
    call.On(queue_id);
    const auto queue = Board::Instance().Find<Queue>(queue_id);
    return call.Result(queue != nullptr ? static_cast<int>(queue->count) : 0);
}

int bep_msgQDeleteEx(uint32_t queue_id) {
    SeamCall call(kDelete);
    call.On(queue_id);
    const auto queue = Board::Instance().Find<Queue>(queue_id);
    if (queue == nullptr) return call.Result(-1);
    Board::Instance().Remove(*queue);
    return call.Result(0);
}
