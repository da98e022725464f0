/* The log part of the platform seam. A line has a module, which is a number that the host chooses for its
 * source, and a level from 0 (finest) to 15 (gravest). A line below the threshold is not written, unless its
 * level was opened for its module. Every operation may be called from any task. None is an end point of a
 * task (bep.h), and none allocates.
 */
#ifndef ONU_MNG_PLATFORM_ULOG_H
#define ONU_MNG_PLATFORM_ULOG_H

#include "onu_mng_platform/printf_format.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Writes one line through the sink. The text is formatted like printf and ends in "\r\n". A level outside
 * 0..15 counts as the nearest one. Lines of concurrent tasks do not mix. Text beyond 1023 characters is cut.
 * Blocks for as long as the sink does. With the default sink, all lines together block at most 0.2 s in any
 * 2 s. Lines that standard error does not take in that time are lost, and a line at level 13 in their place
 * gives their number. */
void ulogPrintf(unsigned int module, int level, const char* format, ...) ONU_MNG_PRINTF_FORMAT(3, 4);

/* Opens (`open` 1) or closes (`open` 0) a level for one module: while it is open, lines of `module` at
 * `level` are written even if the level is below the threshold.
 * Returns 0; -1 for a level outside 0..15, for another `open`, and if 16 modules have open levels already. */
int ulogSetModIgnore(unsigned int module, int level, int open);

/* Sets the threshold: the lowest level that is written for every module; 10 at the start. With 16, only
 * levels that were opened for a module are written. */
void ulogSetThreshold(int level);

/* Receives the lines. `text` ends as the caller ended it and is valid during the call. Called by one task at
 * a time. It must not log. */
typedef void (*ulog_sink)(void* context, unsigned int module, int level, const char* text);

/* Sends all further lines to `sink` instead of standard error; null restores the default. The default writes
 * the local time, the level and the module before the text. When this function returns, the previous sink is
 * not running and is not called again. */
void ulogSetSink(ulog_sink sink, void* context);

#ifdef __cplusplus
}
#endif

#endif
