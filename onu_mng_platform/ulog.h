/* The log half of the platform seam. A line has a module (the host's number for its source) and a level from
 * 0 (finest) to 15 (gravest); lines below the threshold stay silent unless their level was opened for their
 * module. Every operation may be called from any task, none is an end point of a task (bep.h), none
 * allocates.
 */
#ifndef ONU_MNG_PLATFORM_ULOG_H
#define ONU_MNG_PLATFORM_ULOG_H

#include "onu_mng_platform/printf_format.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Writes one line, formatted like printf and ending in "\r\n", through the sink. Lines of concurrent tasks
 * never mix; text beyond 1023 characters is cut. May block for as long as the sink does. By default all lines
 * together block at most 0.2 s in any 2 s: lines that standard error does not take in that time are lost, and
 * counted in a line of level 13 where they are missing. */
void ulogPrintf(unsigned int module, int level, const char* format, ...) ONU_MNG_PRINTF_FORMAT(3, 4);

/* With `open` 1 lines of `module` at `level` are written although the level is below the threshold; with 0
 * no longer. Returns 0; -1 for a level outside 0..15, another `open`, or when no more modules can be kept
 * (16 at a time have open levels). */
int ulogSetModIgnore(unsigned int module, int level, int open);

/* The lowest level that is written for every module; 10 at start. 16 silences all but
 * the levels opened for their module. */
void ulogSetThreshold(int level);

/* A receiver of lines; `text` ends as the caller ended it and is valid during the call. Called by one task at
 * a time. It must not log. */
typedef void (*ulog_sink)(void* context, unsigned int module, int level, const char* text);

/* Sends all further lines to `sink` instead of standard error; null restores the default, which writes the
 * local time, the level and the module before the text. When it returns, the earlier sink is not running and
 * will not be called again. */
void ulogSetSink(ulog_sink sink, void* context);

#ifdef __cplusplus
}
#endif

#endif
