/* The memory-pool part of the platform seam. A pool gives out blocks of any size from one region, which is
 * reserved when the pool is created. Every operation takes bounded time and may be called from any task. None
 * is an end point of a task (bep.h).
 */
#ifndef ONU_MNG_PLATFORM_MPU_H
#define ONU_MNG_PLATFORM_MPU_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Creates a pool of `size` bytes. When it returns, the memory is really there. `name` is copied. The library
 * passes 1 for `shared` (concurrent tasks may use the pool; there is no other kind) and 0 for `options`. A
 * pool exists until the process ends.
 * Returns the id of the pool, 0 or above; -1 if `size` is 0, or if memory or ids are short. */
int mpuCreate(const char* name, unsigned int size, int shared, int options);

/* Takes a block of `size` bytes with undefined contents, aligned to 16. `file` (a literal) and `line` are
 * kept with the block for the views.
 * Returns the block; null if `size` is 0, if no pool has the id, or if no free range is large enough. Before
 * a request fails, free blocks that other tasks keep in stock are used. The time is bounded: a request that
 * would fail otherwise collects the stocks of all tasks and looks at every free range that is about as large
 * as itself. There are at most (size of the pool / `size`) of them. */
void* mpuAlloc_(int pool_id, unsigned int size, const char* file, int line);

/* Gives a block back to its pool. Any task, even one that did not take it.
 * Returns 0; -1, with nothing changed, for a pointer that is not the start of a block of any pool, for a
 * block that is free already, and for a block that was written past its end. Such a block is never given out
 * again. After a -1, one log line at level 13 gives the reason and, for a pointer into a pool, the name of
 * the pool and the offset in bytes. If the task that took a block and another task return it at the same
 * instant, both may get 0. The log line follows at a later request. */
int mpuFree(void* block);

/* The views print to the terminal of the command that runs in the calling task (cli.h), or else to standard
 * output. Lines end in CR LF. No lock is held while printing. If no pool has the id, nothing is printed. */

/* Prints the totals of every pool: size, used bytes, peak, live blocks, failures. */
void mpuShow(void);
/* Prints the free and the used blocks of one pool by size. */
void mpuShowd(int pool_id);
/* Prints the live blocks of one pool by the source file and line that took them. */
void mpuShowDebug(int pool_id);

/* The totals of one pool, exact if no request is in progress. Bytes are those that callers asked for, each
 * request rounded up to 16. */
typedef struct mpu_stat {
    size_t size;          /* bytes given to mpuCreate() */
    size_t used;          /* bytes in live blocks */
    size_t peak;          /* highest value of `used` so far */
    size_t blocks;        /* live blocks */
    unsigned long allocs; /* blocks taken since creation */
    unsigned long fails;  /* requests that returned null, except those of size 0 */
} mpu_stat;

/* Fills `stat`. Returns 0; -1 if `stat` is null or no pool has the id. */
int mpuGetStat(int pool_id, mpu_stat* stat);

#ifdef __cplusplus
}
#endif

#endif
