#include "onu_mng_lib/onu_mng_common/mem_mgr.h"

#include "onu_mng_lib/onu_mng_common/immortal.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/mpu.h"
#include "onu_mng_platform/ulog.h"

namespace {

constexpr unsigned int kGranule = 16;

constexpr unsigned int RoundUp(unsigned int size) {
    return (size + kGranule - 1) & ~(kGranule - 1);
}

} // namespace

MemoryAllocator* MemoryAllocator::MakeInstance() {
    static Immortal<MemoryAllocator> instance;
    s_instance.store(instance.Get(), std::memory_order_release);
    return instance.Get();
}

unsigned int MemoryAllocator::Init(const char* name, unsigned int size, int shared, int options) {
    LockGuard guard(lock);
    if (is_init) return ONU_MNG_OK;
    const int created = mpuCreate(name, size, shared, options);
    if (created < 0) return ONU_MNG_FAILURE;
    pool_size = size;
    pool_id = created;
    is_init = true;
    return ONU_MNG_OK;
}

void* MemoryAllocator::MemAlloc(unsigned int size, const char* file, const char*, unsigned short line) {
    const unsigned int rounded = RoundUp(size);
    if (rounded - 1 >= kPoolSize) return MemAllocUnusual(size, file, line);
    void* const block = mpuAlloc_(pool_id.load(std::memory_order_relaxed), rounded, file, line);
    return block == nullptr ? nullptr : bep_memSetEx(block, 0, rounded);
}

void* MemoryAllocator::MemAllocUnfilled(unsigned int size, unsigned int written, const char* file,
                                        const char*, unsigned short line) {
    const unsigned int rounded = RoundUp(size);
    if (rounded - 1 >= kPoolSize) return MemAllocUnusual(size, file, line);
    char* const block =
        static_cast<char*>(mpuAlloc_(pool_id.load(std::memory_order_relaxed), rounded, file, line));
    if (block != nullptr && written < rounded) bep_memSetEx(block + written, 0, rounded - written);
    return block;
}

void* MemoryAllocator::MemAllocUnusual(unsigned int size, const char* file, unsigned short line) {
    if (size == 0) {
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR, "MemAlloc for zero length \r\n");
        return nullptr;
    }
    const unsigned int rounded = RoundUp(size);
    if (rounded == 0) return nullptr; // the size wrapped around; no pool has such a block
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_WARNING,
               "Warning: alloc size %d exceeds the mem pool size %d\r\n", static_cast<int>(rounded),
               static_cast<int>(pool_size.load()));
    void* const block = mpuAlloc_(pool_id.load(std::memory_order_relaxed), rounded, file, line);
    return block == nullptr ? nullptr : bep_memSetEx(block, 0, rounded);
}

unsigned int MemoryAllocator::MemFree(void* ptr, unsigned int, const char*, const char*, unsigned short) {
    if (ptr == nullptr) return ONU_MNG_FAILURE;
    return static_cast<unsigned int>(mpuFree(ptr));
}

void MemoryAllocator::MemShow(MemShowType type) {
    switch (type) {
    case MEM_SHOW_GLOBAL:
        return mpuShow();
    case MEM_SHOW_DETAIL:
        return mpuShowd(pool_id);
    case MEM_SHOW_DEBUG:
        return mpuShowDebug(pool_id);
    }
}
