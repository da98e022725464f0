/* The operating-system part of the platform seam: message queues, binary semaphores, tasks, ticks, and memory
 * and string helpers. The library calls no other function of the operating system, except
 * clock_gettime(CLOCK_REALTIME) and nanosleep().
 *
 * Ids of queues, semaphores and tasks are 32-bit numbers and never 0. A function that is given an id that is
 * not valid (stale, of another kind, or never an id) returns its failure result. It does not crash.
 *
 * Waits are in ticks; bep_sysClkRateGetEx() gives the ticks per second. A positive number waits at most that
 * long on the monotonic clock. 0 does not wait. A negative number (the library uses -1) waits without limit.
 * The deadline is computed once, when the call is made, so wake-ups in between do not prolong the wait.
 *
 * bep_taskDeleteEx() ends a task at its next end point. End points are: a queue receive; a queue send or a
 * semaphore take that has to wait; a nanosleep(). There the port unwinds the stack of the task: destructors
 * run, lock guards unlock, and the function that was called does not return. Code between an end point and
 * the entry of the task must let the unwinding pass. In C++, a `catch (...)` calls bep_passTaskEnd() first. C
 * code is compiled with -fexceptions. A port for a system whose tasks cannot be unwound may end them in
 * another way, as long as no lock stays taken and no block is lost.
 *
 * `file` and `line` are the place of the call, for the diagnostics of the port. `file` must be a literal.
 */
#ifndef ONU_MNG_PLATFORM_BEP_H
#define ONU_MNG_PLATFORM_BEP_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#include <exception>

extern "C" {
#endif

/* ---- Message queues: bounded, first in first out, messages copied in and out ---- */

/* Creates a queue for exactly `max_msgs` messages of at most `msg_size` bytes each, and reserves all memory
 * for it. `options` is 0 (first in, first out). Does not block. Any task.
 * Returns the id; 0 if a number is not positive, or if memory or ids are short. */
uint32_t bep_msgQCreateEx(int max_msgs, int msg_size, int options, const char* file, int line);

/* Appends the `len` bytes at `buf` to queue `queue_id` as one message. Waits at most `ticks` while the queue
 * is full. `priority` is always 1 (ordinary). Any number of tasks at once.
 * Returns 0; -1 if the queue stayed full, if `buf` is null, if `len` is 0 or larger than the message size, or
 * if the id is not valid. If the queue is deleted during the wait, see bep_msgQReceiveEx(). */
int bep_msgQSendEx(uint32_t queue_id, const char* buf, unsigned int len, int ticks, int priority,
                   const char* file, int line);

/* Removes the oldest message of queue `queue_id` and copies at most `len` bytes of it to `buf`. Waits at most
 * `ticks` while the queue is empty. Any number of tasks at once. An end point even if a message is there.
 * Returns the number of bytes copied; -1 if no message came, if `buf` is null or `len` is 0, or if the id is
 * not valid. If the queue is deleted while a task of the port waits, the task goes on waiting until it is
 * ended itself or its deadline passes. The same holds if the task calls with negative `ticks` and the id of a
 * queue that was deleted before. So a loop around this call never spins. A caller that is not a task of the
 * port gets -1 in both cases. */
int bep_msgQReceiveEx(uint32_t queue_id, char* buf, unsigned int len, int ticks, const char* file, int line);

/* Returns the number of messages that wait in queue `queue_id`; 0 if the id is not valid. Does not block. */
int bep_msgQNumMsgsEx(uint32_t queue_id);

/* Deletes queue `queue_id` and the messages in it. Does not block. Returns 0; -1 if the id is not valid. */
int bep_msgQDeleteEx(uint32_t queue_id);

/* ---- Binary semaphores ---- */

/* Creates a binary semaphore, which is available if `available` is not 0. `options` is 2 (waiters are served
 * in any order). Does not block. Any task. Returns the id; 0 if memory or ids are short. */
uint32_t bep_semBCreateEx(int options, int available, const char* file, int line);

/* Takes semaphore `sem_id`. Waits at most `ticks` while it is not available. An end point only if it has to
 * wait.
 * Returns 0 if it was taken; -1 if it stayed unavailable or the id is not valid. If the semaphore is deleted,
 * a task of the port that waits without limit goes on waiting until it is ended itself; any other waiter gets
 * -1. */
int bep_semTakeEx(uint32_t sem_id, int ticks, const char* file, int line);

/* Makes semaphore `sem_id` available and wakes one waiter. If it is available already, nothing changes. Any
 * task may give it, even one that did not take it. Does not block. Returns 0; -1 if the id is not valid. */
int bep_semGiveEx(uint32_t sem_id, const char* file, int line);

/* Deletes semaphore `sem_id`. Does not block. Returns 0; -1 if the id is not valid. */
int bep_semDeleteEx(uint32_t sem_id);

/* ---- Tasks ---- */

/* The body of a task. Its arguments are those of bep_taskSpawnEx(). The task ends when the body returns. */
typedef void (*bep_task_entry)(intptr_t arg1, intptr_t arg2, intptr_t arg3, intptr_t arg4, intptr_t arg5,
                               intptr_t arg6, intptr_t arg7, intptr_t arg8, intptr_t arg9, intptr_t arg10);

/* Starts a task that runs `entry`. `name` is copied. `priority` is 0 (highest) to 255 (lowest). If the
 * process has no right to priorities, the port writes one log line with the remedy and goes on without them.
 * `options` is 8 (the task may use floating point). `stack_size` is in bytes; the port adds what the system
 * needs, and a guard page. Does not block. Any task.
 * Returns the id; 0 if the task could not be started. The id stays valid until bep_taskDeleteEx(), even after
 * `entry` has returned. */
uint32_t bep_taskSpawnEx(const char* name, unsigned int priority, int options, unsigned int stack_size,
                         bep_task_entry entry, intptr_t arg1, intptr_t arg2, intptr_t arg3, intptr_t arg4,
                         intptr_t arg5, intptr_t arg6, intptr_t arg7, intptr_t arg8, intptr_t arg9,
                         intptr_t arg10);

/* Ends task `task_id` at its next end point (see above) and returns when it has ended; at once if it has
 * ended already. This is not an end point itself: if the caller is being deleted too, it ends later.
 * Returns 0; -1, with nothing changed, if the id is not valid (even because the task is being deleted
 * already), if the task is the caller, or if the task itself waits, directly or through others, for the
 * caller to end. */
int bep_taskDeleteEx(uint32_t task_id);

/* Keep the calling task from being ended between bep_taskSafeEx() and the matching bep_taskUnsafeEx(). Its
 * waits work as usual there, and a deletion takes effect at the first end point after the outermost
 * bep_taskUnsafeEx(). For code that must not be unwound, such as a destructor that waits. Pairs can be
 * nested. They do not block, and do nothing if the caller is not a task of the port. */
void bep_taskSafeEx(void);
void bep_taskUnsafeEx(void);

/* ---- Ticks, memory, text ---- */

/* Returns the ticks per second, a positive constant. */
int bep_sysClkRateGetEx(void);

/* Copies `size` bytes from `src` to `dst`, which must not overlap. Does nothing if either is null. Returns
 * `dst`. */
void* bep_memCpyEx(void* dst, const void* src, size_t size);

/* Sets `size` bytes at `dst` to the low 8 bits of `value`. Does nothing if `dst` is null. Returns `dst`. */
void* bep_memSetEx(void* dst, int value, size_t size);

/* Returns the number of characters of `text` before its NUL; 0 for null. */
size_t bep_StrLen(const char* text);

/* Compares at most `size` characters of two texts as unsigned bytes. Returns a number less than, equal to or
 * greater than 0. Null is equal to null and less than any text. */
int bep_StrNCmp(const char* a, const char* b, size_t size);

#ifdef __cplusplus
}

/* The type of the exception with which a port unwinds a task. A port may throw a type derived from it. */
struct bep_TaskEnd {};

/* Rethrows the current exception if it ends the calling task: a bep_TaskEnd, or the unwinding of a thread by
 * the C library. Returns for any other exception. Call it first in every `catch (...)` between an end point
 * and the entry of the task. */
inline void bep_passTaskEnd() {
    try {
        throw;
    } catch (const bep_TaskEnd&) {
        throw;
    } catch (...) {
        if (std::current_exception() == nullptr) throw; // it is not from C++: pthread_exit()
    }
}
#endif

#endif
