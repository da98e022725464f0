/* The operating-system half of the platform seam: message queues, binary semaphores, tasks, ticks, and
 * memory and string helpers. The library calls nothing of the operating system but these functions,
 * clock_gettime(CLOCK_REALTIME) and nanosleep().
 *
 * Ids of queues, semaphores and tasks are 32-bit numbers, never 0. A stale id, the id of another kind or a
 * number that was never an id is answered with the failure result, never with a crash.
 *
 * Waits are given in ticks of bep_sysClkRateGetEx(): a positive number waits at most that long on the
 * monotonic clock, 0 does not wait, -1 (any negative number) waits without limit. The deadline is fixed
 * when the call is made, so that wake-ups in between do not prolong it.
 *
 * Ending a task: bep_taskDeleteEx() ends a task at its next end point: a queue receive, a queue send or
 * semaphore take that would have to wait, a nanosleep(). There the port unwinds the task's stack, so
 * destructors run and lock guards give back what they hold; the function that was called does not return.
 * Code between an end point and the task's entry lets the unwinding pass (in C++: a `catch (...)` calls
 * bep_passTaskEnd() first; in C: compiled with -fexceptions). A port for a system whose tasks cannot be unwound reaches
 * the same by any means that leaves no lock taken and no block lost.
 *
 * `file` and `line` name the caller for the port's diagnostics; `file` outlives the call (a literal).
 */
#ifndef ONU_MNG_PLATFORM_BEP_H
#define ONU_MNG_PLATFORM_BEP_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#include <cxxabi.h>

extern "C" {
#endif

/* ---- Message queues: bounded, first in first out, messages copied in and out ---- */

/* Creates a queue for exactly `max_msgs` messages of at most `msg_size` bytes each, all memory reserved.
 * `options` is 0 (first in, first out). Does not block; any task.
 * Returns the id; 0 when a number is not positive or memory or ids are short. */
uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int options, const char* file, int line);

/* Copies `len` bytes as one message to the end of queue `queue_id`; waits at most `ticks` while it is full.
 * `priority` is always 1 (ordinary). Any task, any number at once.
 * Returns 0; -1 when the queue stayed full, for a null `buf`, for a `len` of 0 or above the message size, or
 * for an id that is none. A queue deleted during the wait is treated as in bep_msgQReceiveEx(). */
int bep_msgQSendEx(uint32_t queue_id, const char* buf, unsigned int len, int ticks, int priority,
                   const char* file, int line);

/* Copies the oldest message of queue `queue_id` into `buf`, at most `len` bytes of it, and removes it; waits
 * at most `ticks` while the queue is empty. Any task, any number at once. An end point even when a message is
 * there.
 * Returns the number of bytes copied; -1 when no message came, for a null `buf` or a `len` of 0, or for an id
 * that is none.
 * A task that waits when the queue is deleted goes on waiting, quietly, to be deleted (or for its deadline);
 * so does a task that calls with the id of a queue deleted before when `ticks` is negative, so that a loop
 * around this call never spins. A caller that is no task of the port gets -1 in both cases. */
int bep_msgQReceiveEx(uint32_t queue_id, char* buf, unsigned int len, int ticks, const char* file, int line);

/* Returns the number of messages waiting in queue `queue_id`; 0 for an id that is none. Does not block. */
int bep_msgQNumMsgsEx(uint32_t queue_id);

/* Deletes queue `queue_id` and the messages in it. Does not block. Returns 0; -1 for an id that is none. */
int bep_msgQDeleteEx(uint32_t queue_id);

/* ---- Binary semaphores ---- */

/* Creates a binary semaphore, available when `available` is not 0. `options` is 2 (waiters served in any
 * order). Does not block; any task. Returns the id; 0 when memory or ids are short. */
uint32_t bep_semBCreateEx(int options, int available, const char* file, int line);

/* Takes semaphore `sem_id`; waits at most `ticks` while it is not available. An end point only where it has
 * to wait. Returns 0 when it was taken; -1 when it stayed unavailable or for an id that is none. A task that
 * waits without limit when the semaphore is deleted goes on waiting to be deleted; any other waiter gets -1.
 */
int bep_semTakeEx(uint32_t sem_id, int ticks, const char* file, int line);

/* Makes semaphore `sem_id` available and wakes one waiter; giving an available one changes nothing. Any task
 * may give, also one that did not take. Does not block. Returns 0; -1 for an id that is none. */
int bep_semGiveEx(uint32_t sem_id, const char* file, int line);

/* Deletes semaphore `sem_id`. Does not block. Returns 0; -1 for an id that is none. */
int bep_semDeleteEx(uint32_t sem_id);

/* ---- Tasks ---- */

/* The body of a task; the arguments are those given to bep_taskSpawnEx(). The task ends when it returns. */
typedef void (*bep_task_entry)(intptr_t arg1, intptr_t arg2, intptr_t arg3, intptr_t arg4, intptr_t arg5,
                               intptr_t arg6, intptr_t arg7, intptr_t arg8, intptr_t arg9, intptr_t arg10);

/* Starts a task. `name` is copied. `priority` runs from 0 (highest) to 255 (lowest); a port without the right
 * to it says so once, with the remedy, and goes on without. `options` is 8 (the task may use floating point).
 * `stack_size` is in bytes and is rounded up to what the system needs, a guard page comes on top. Does not
 * block; any task.
 * Returns the id; 0 when the task could not be started. The id stays valid until bep_taskDeleteEx(), also
 * after the entry returned. */
uint32_t bep_taskSpawnEx(const char* name, unsigned int priority, int options, unsigned int stack_size,
                         bep_task_entry entry, intptr_t arg1, intptr_t arg2, intptr_t arg3, intptr_t arg4,
                         intptr_t arg5, intptr_t arg6, intptr_t arg7, intptr_t arg8, intptr_t arg9,
                         intptr_t arg10);

/* Ends task `task_id` at its next end point (above) and returns when it has ended; at once when it had ended
 * before. No end point itself: the caller's own deletion waits. Returns 0; -1, with nothing changed, for an id
 * that is none (a second deletion included), for the calling task itself, and for a task that is itself
 * deleting the caller, directly or through others. */
int bep_taskDeleteEx(uint32_t task_id);

/* Between bep_taskSafeEx() and the matching bep_taskUnsafeEx() the calling task is not ended: its waits run
 * their course and the deletion takes effect at the first end point after the outermost Unsafe. For code that
 * must not be unwound, such as destructors that wait. Pairs nest; neither blocks; both do nothing in a caller
 * that is no task of the port. */
void bep_taskSafeEx(void);
void bep_taskUnsafeEx(void);

/* ---- Ticks, memory, text ---- */

/* Returns the ticks per second, a positive constant. */
int bep_sysClkRateGetEx(void);

/* Copies `size` bytes from `src` to `dst`, which do not overlap; nothing when either is null. Returns `dst`.
 */
void* bep_memCpyEx(void* dst, const void* src, size_t size);

/* Sets `size` bytes at `dst` to the low 8 bits of `value`; nothing when `dst` is null. Returns `dst`. */
void* bep_memSetEx(void* dst, int value, size_t size);

/* Returns the number of characters before the terminator of `text`; 0 for null. */
size_t bep_StrLen(const char* text);

/* Compares at most `size` characters of two texts as unsigned bytes. Returns a number below, equal to or
 * above 0; a null text is less than any other and equal to null. */
int bep_StrNCmp(const char* a, const char* b, size_t size);

#ifdef __cplusplus
}

/* A port that unwinds a task by a C++ exception throws this type, or one derived from it. */
struct bep_TaskEnd {};

/* Rethrows the exception in flight if it ends the calling task: a bep_TaskEnd, or the C library's own
 * unwinding of a thread. Returns for any other exception. To be called first in a `catch (...)` between an end
 * point and the task's entry. */
inline void bep_passTaskEnd() {
    try {
        throw;
    } catch (const bep_TaskEnd&) {
        throw;
#ifdef __GLIBCXX__
    } catch (const abi::__forced_unwind&) {
        throw;
#endif
    } catch (...) {
    }
}
#endif

#endif
