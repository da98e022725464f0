/* The memory-pool half of the platform seam: blocks of any size from one region that is reserved when the
 * pool is created. Every operation takes bounded time and may be called from any task; none is an end point
 * of a task (bep.h).
 */
#ifndef ONU_MNG_PLATFORM_MPU_H
#define ONU_MNG_PLATFORM_MPU_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Creates a pool of `size` bytes, whose memory is there when the function returns. `name` is copied. The library passes 1 for `shared` (the pool serves
 * concurrent tasks; the only kind there is) and 0 for `options`. Pools live as long as the process.
 * Returns the pool's id, 0 or above; -1 when the region or the ids are short or `size` is 0. */
int mpuCreate(const char* name, unsigned int size, int shared, int options);

/* Takes a block of `size` bytes, aligned to 16, with undefined contents. `file` (a literal that outlives the
 * block) and `line` are kept with the block for the views.
 * Returns the block; null when `size` is 0, no pool has the id or no free range is large enough. Free blocks
 * that other tasks keep in stock are used before a request fails.
 * The time is bounded: a request that would fail otherwise takes back what all tasks have in stock and looks
 * at every free range that is about as large as itself, at most (size of the pool / `size`) of them. */
void* mpuAlloc_(int pool_id, unsigned int size, const char* file, int line);

/* Returns a block to its pool, from any task.
 * Returns 0; -1, with nothing changed, for a pointer that is not the start of a block of any pool, for a block
 * that is free already, and for a block written past its end (which is never handed out again). One log line
 * at level 13 then names the pool and the offset from its start in bytes. */
int mpuFree(void* block);

/* The views print to the terminal whose command is running in the calling task (cli.h), else to standard
 * output; lines end in CR LF. No lock is held while printing. Ids of no pool print nothing. */

/* Totals of every pool: size, used, peak, live blocks, failures. */
void mpuShow(void);
/* Free and used blocks of one pool by size. */
void mpuShowd(int pool_id);
/* The live blocks of one pool grouped by the source file and line that took them. */
void mpuShowDebug(int pool_id);

/* The exact totals of one pool. Bytes count what callers asked for, rounded up to 16. */
typedef struct mpu_stat {
    size_t size;          /* bytes of the region */
    size_t used;          /* bytes in live blocks */
    size_t peak;          /* highest value of `used` so far */
    size_t blocks;        /* live blocks */
    unsigned long allocs; /* blocks taken since creation */
    unsigned long fails;  /* requests answered with null, those of size 0 excepted */
} mpu_stat;

/* Fills `stat`. Returns 0; -1 for null or an id of no pool. */
int mpuGetStat(int pool_id, mpu_stat* stat);

#ifdef __cplusplus
}
#endif

#endif
