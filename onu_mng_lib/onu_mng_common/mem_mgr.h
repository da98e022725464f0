/// The library's one memory pool.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_MEM_MGR_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_MEM_MGR_H

#include "onu_mng_lib/onu_mng_common/sem_lock.h"

/// The view that `MemoryAllocator::MemShow` prints.
enum MemShowType : unsigned int {
    MEM_SHOW_GLOBAL = 0, ///< totals of all pools
    MEM_SHOW_DETAIL = 1, ///< free and used blocks of the library's pool by size
    MEM_SHOW_DEBUG = 2,  ///< live blocks of the library's pool by the place that took them
};

/// Serves message packets and the blocks of text and buffer values from one pool that is created at start-up.
///
/// One instance for the process. Every operation may be called from any task; only `Init` can block, and a
/// log line or a view as long as the log's sink or the terminal does.
class MemoryAllocator {
public:
    /// The size of the pool that onu_mng_system_init() creates, in bytes.
    static constexpr unsigned int kPoolSize = 0x600000;

    static MemoryAllocator* GetInstance();

    /// Creates the pool `name` of `size` bytes; `shared` and `options` go to the platform as they are. Only
    /// the first successful call creates a pool.
    /// @return 0, also when there is a pool already; 0x800001f5 when the platform has none to give, and a
    ///         later call may try again. Logs nothing.
    unsigned int Init(const char* name, unsigned int size, int shared, int options);

    /// Takes a block of `size` bytes, rounded up to 16 and filled with zeros over the whole rounded size.
    ///
    /// `file`, `function` and `line` name the caller; `file` outlives the block.
    /// @return the block, to be given back with `MemFree`; null for a `size` of 0 (one level-13 line) and
    ///         when the pool has no such block. More than `kPoolSize` bytes cost one level-10 line.
    void* MemAlloc(unsigned int size, const char* file, const char* function, unsigned short line);

    /// As `MemAlloc`, with the first `written` bytes left undefined for a caller who overwrites them at once.
    void* MemAllocUnfilled(unsigned int size, unsigned int written, const char* file, const char* function,
                           unsigned short line);

    /// Gives a block back. Only `ptr` counts; the other arguments keep the callers uniform.
    /// @return 0; 0x800001f5 for null; what the platform answers for a pointer it refuses.
    unsigned int MemFree(void* ptr, unsigned int size, const char* file, const char* function,
                         unsigned short line);

    /// Prints one view to the terminal whose command runs in this task, else to standard output. Any other
    /// `type` prints nothing.
    void MemShow(MemShowType type);

private:
    template <typename T>
    friend class Immortal;

    MemoryAllocator() = default;
    ~MemoryAllocator() = default;

    std::atomic<int> pool_id{-1};
    std::atomic<unsigned int> pool_size{0};
    bool is_init = false;
    ReadWriteLock lock; ///< guards `is_init` and the creation
};

#endif
