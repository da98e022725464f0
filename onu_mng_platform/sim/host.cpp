#include <cstdarg>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/pool/pool.h"
#include "onu_mng_platform/common/text.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/sim/seam_call.h"
#include "onu_mng_platform/ulog.h"

using namespace onu_mng_platform;

// The functions that all ports share, each inside a call of the board.

namespace {

constexpr CallName kPoolCreate{"mpuCreate", nullptr, "size", nullptr};
constexpr CallName kPoolAlloc{"mpuAlloc", nullptr, "pool", "size"};
constexpr CallName kPoolFree{"mpuFree", nullptr, "block", nullptr};
constexpr CallName kPoolShow{"mpuShow", nullptr, nullptr, nullptr};
constexpr CallName kPoolStat{"mpuGetStat", nullptr, "pool", nullptr};
constexpr CallName kLog{"ulogPrintf", nullptr, "module", "level"};
constexpr CallName kLogSet{"ulogSet", nullptr, "module", "level"};
constexpr CallName kCopy{"memCpy", nullptr, "size", nullptr};
constexpr CallName kSet{"memSet", nullptr, "size", nullptr};
constexpr CallName kLength{"StrLen", nullptr, nullptr, nullptr};
constexpr CallName kCompare{"StrNCmp", nullptr, "size", nullptr};

std::int64_t PoolNumber(const SeamCall& call, int pool_id) {
    return call.Run() != nullptr ? call.Run()->blocks.PoolNumber(pool_id) : 0;
}

} // namespace

int mpuCreate(const char* name, unsigned int size, int, int) {
    SeamCall call(kPoolCreate);
    call.With(size);
    if (call.IsToFail(SimFault::kPoolCreate)) return call.Result(-1);
    const int pool_id = PoolCreate(name, size);
    return call.Result(pool_id, PoolNumber(call, pool_id));
}

void* mpuAlloc_(int pool_id, unsigned int size, const char* file, int line) {
    SeamCall call(kPoolAlloc, {file, line});
    call.With(PoolNumber(call, pool_id), size);
    void* block = call.IsToFail(SimFault::kPoolAlloc) ? nullptr : PoolAlloc(pool_id, size, file, line);
    return call.Result(block, call.Run() != nullptr ? call.Run()->blocks.Taken(block, size) : 0);
}

int mpuFree(void* block) {
    SeamCall call(kPoolFree);
    if (call.Run() == nullptr) return PoolFree(block);
    Blocks& blocks = call.Run()->blocks;
    call.With(blocks.Number(block));
    const int result = PoolFree(block);
    if (result == 0) blocks.Returned(block);
    return call.Result(result);
}

void mpuShow(void) {
    SeamCall call(kPoolShow);
    PoolShow();
    call.Result(0);
}

void mpuShowd(int pool_id) {
    SeamCall call(kPoolShow);
    PoolShowDetail(pool_id);
    call.Result(0);
}

void mpuShowDebug(int pool_id) {
    SeamCall call(kPoolShow);
    PoolShowDebug(pool_id);
    call.Result(0);
}

int mpuGetStat(int pool_id, mpu_stat* stat) {
    SeamCall call(kPoolStat);
    call.With(PoolNumber(call, pool_id));
    return call.Result(PoolGetStat(pool_id, stat));
}

void ulogPrintf(unsigned int module, int level, const char* format, ...) {
    SeamCall call(kLog);
    call.With(module, level);
    va_list arguments;
    va_start(arguments, format);
    LogWrite(module, level, format, arguments);
    va_end(arguments);
    call.Result(0);
}

int ulogSetModIgnore(unsigned int module, int level, int open) {
    SeamCall call(kLogSet);
    call.With(module, level);
    const int result = LogSetModIgnore(module, level, open);
    if (result == 0 && open == 1 && call.Run() != nullptr)
        call.Run()->opened_levels.emplace_back(module, level);
    return call.Result(result);
}

void ulogSetThreshold(int level) {
    SeamCall call(kLogSet);
    call.With(0, level);
    LogSetThreshold(level);
    call.Result(0);
}

void ulogSetSink(ulog_sink sink, void* context) {
    SeamCall call(kLogSet);
    LogSetSink(sink, context);
    call.Result(0);
}

void* bep_memCpyEx(void* dst, const void* src, size_t size) {
    SeamCall call(kCopy);
    call.With(static_cast<std::int64_t>(size));
    return call.Result(MemCopy(dst, src, size), 0);
}

void* bep_memSetEx(void* dst, int value, size_t size) {
    SeamCall call(kSet);
    call.With(static_cast<std::int64_t>(size));
    return call.Result(MemSet(dst, value, size), 0);
}

size_t bep_StrLen(const char* text) {
    SeamCall call(kLength);
    return call.Result(TextLength(text));
}

int bep_StrNCmp(const char* a, const char* b, size_t size) {
    SeamCall call(kCompare);
    call.With(static_cast<std::int64_t>(size));
    return call.Result(TextCompare(a, b, size));
}
