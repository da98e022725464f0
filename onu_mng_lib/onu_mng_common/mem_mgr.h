/// The library's one memory pool.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_MEM_MGR_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_MEM_MGR_H

#include "onu_mng_lib/onu_mng_common/sem_lock.h"

/// The view that `MemoryAllocator::MemShow` prints.
enum MemShowType : unsigned int {
    MEM_SHOW_GLOBAL = 0, ///< totals of all pools
    MEM_SHOW_DETAIL = 1, ///< free and used blocks of the library's pool by size
    MEM_SHOW_DEBUG = 2,  ///< live blocks of the library's pool by the source line that took them
};

/// Gives out blocks of one memory pool, which is created at start-up. Queued messages, and the text and bytes
/// of `Variant`s, are such blocks.
///
/// One instance for the process. Any task may call every operation. Only `Init` can block, except that a log
/// line or a view blocks as long as the log's sink or the terminal does.
class MemoryAllocator {
public:
    /// The size of the pool that onu_mng_system_init() creates, in bytes.
    static constexpr unsigned int kPoolSize = 0x600000;

    /// Returns the instance of the process.
    static MemoryAllocator* GetInstance() {
        MemoryAllocator* const instance = s_instance.load(std::memory_order_acquire);
        return instance != nullptr ? instance : MakeInstance();
    }

    /// Creates the pool `name` of `size` bytes; `shared` and `options` are passed to the platform. Only the
    /// first successful call creates a pool. Logs nothing.
    /// @return 0, even if there is a pool already; 0x800001f5 if the platform cannot create it. Then a later
    ///         call may try again.
    unsigned int Init(const char* name, unsigned int size, int shared, int options);

    /// Takes a block of `size` bytes. The size is rounded up to 16, and the whole block is filled with zeros.
    ///
    /// `file`, `function` and `line` are the place of the call. `file` must stay valid as long as the block.
    /// @return the block, which the caller gives back with `MemFree`; null if `size` is 0 (one level-13
    ///         line), if the pool has no such block, or before `Init`. If the rounded size is more than
    ///         `kPoolSize`, one level-10 line is written.
    [[nodiscard]] void* MemAlloc(unsigned int size, const char* file, const char* function,
                                 unsigned short line);

    /// Does the same as `MemAlloc`, but may leave the first `written` bytes undefined. Use it if the caller
    /// overwrites these bytes at once.
    [[nodiscard]] void* MemAllocUnfilled(unsigned int size, unsigned int written, const char* file,
                                         const char* function, unsigned short line);

    /// Gives a block back to the pool. Only `ptr` is used.
    /// @return 0; 0x800001f5 for null; the result of the platform for a pointer that it refuses.
    unsigned int MemFree(void* ptr, unsigned int size, const char* file, const char* function,
                         unsigned short line);

    /// Prints one view to the terminal of the command that runs in the calling task, or else to standard
    /// output. Prints nothing for any other `type`.
    void MemShow(MemShowType type);

private:
    template <typename T>
    friend class Immortal;

    MemoryAllocator() = default;
    ~MemoryAllocator() = default;
    static MemoryAllocator* MakeInstance();

    /// Does `MemAlloc` for a size that is 0 or more than `kPoolSize`. Not inlined, so that `MemAlloc` saves
    /// fewer registers.
    [[gnu::noinline]] void* MemAllocUnusual(unsigned int size, const char* file, unsigned short line);

    static inline std::atomic<MemoryAllocator*> s_instance{nullptr};

    std::atomic<int> pool_id{-1};
    std::atomic<unsigned int> pool_size{0};
    bool is_init = false;
    ReadWriteLock lock; ///< guards `is_init` and the creation
};

#endif
