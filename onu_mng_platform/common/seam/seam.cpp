// Implements the seam's helpers, calendar, pool and log for ports that add nothing to them.
#include <cstdarg>
#include <ctime>

#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/common/log/log.h"
#include "onu_mng_platform/common/pool/pool.h"
#include "onu_mng_platform/common/sync/asymmetric_barrier.h"
#include "onu_mng_platform/common/text.h"
#include "onu_mng_platform/cutil.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/ulog.h"

using namespace onu_mng_platform;

extern "C" void* bep_memCpyEx(void* dst, const void* src, size_t size) {
    return MemCopy(dst, src, size);
}

extern "C" void* bep_memSetEx(void* dst, int value, size_t size) {
    return MemSet(dst, value, size);
}

extern "C" size_t bep_StrLen(const char* text) {
    return TextLength(text);
}

extern "C" int bep_StrNCmp(const char* a, const char* b, size_t size) {
    return TextCompare(a, b, size);
}

extern "C" int getDateTime(unsigned short* year, unsigned char* month, unsigned char* day,
                           unsigned char* hour, unsigned char* minute, unsigned char* second) {
    timespec now{};
    if (clock_gettime(CLOCK_REALTIME, &now) != 0) return -1;
    return LocalDateTime(now.tv_sec, year, month, day, hour, minute, second);
}

extern "C" int mpuCreate(const char* name, unsigned int size, int /*shared*/, int /*options*/) {
    AsymmetricBarrier::Prepare();
    return PoolCreate(name, size);
}

extern "C" void* mpuAlloc_(int pool_id, unsigned int size, const char* file, int line) {
    return PoolAlloc(pool_id, size, file, line);
}

extern "C" int mpuFree(void* block) {
    return PoolFree(block);
}

extern "C" void mpuShow() {
    PoolShow();
}

extern "C" void mpuShowd(int pool_id) {
    PoolShowDetail(pool_id);
}

extern "C" void mpuShowDebug(int pool_id) {
    PoolShowDebug(pool_id);
}

extern "C" int mpuGetStat(int pool_id, mpu_stat* stat) {
    return PoolGetStat(pool_id, stat);
}

extern "C" void ulogPrintf(unsigned int module, int level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    LogWrite(module, level, format, arguments);
    va_end(arguments);
}

extern "C" int ulogSetModIgnore(unsigned int module, int level, int open) {
    return LogSetModIgnore(module, level, open);
}

extern "C" void ulogSetThreshold(int level) {
    LogSetThreshold(level);
}

extern "C" void ulogSetSink(ulog_sink sink, void* context) {
    LogSetSink(sink, context);
}
