/* The command-line half of the platform seam: commands with a syntax and a handler, and terminals.
 */
#ifndef ONU_MNG_PLATFORM_CLI_H
#define ONU_MNG_PLATFORM_CLI_H

#include <stddef.h>

#include "onu_mng_platform/printf_format.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A terminal: takes the characters that commands print. Created by vty_create(). */
typedef struct vty vty;

/* Writes text, formatted like printf, to a terminal and appends nothing. Of any length. Returns the number of
 * characters written; -1 for a null terminal or format or when memory is short (nothing is written). */
int vty_out(vty* terminal, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);

/* Makes a terminal of anything that takes characters. `write` is called from vty_out() and vty_execute(), in
 * their task, with the characters as they are; it does not wait. Returns null for a null `write` or when
 * memory is short. The caller owns the terminal and ends it with vty_destroy(). */
vty* vty_create(void (*write)(void* context, const char* data, size_t size), void* context);
void vty_destroy(vty* terminal);

#ifdef __cplusplus
}
#endif

#endif
