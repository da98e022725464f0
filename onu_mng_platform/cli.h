/* The command-line part of the platform seam: commands with a syntax and a handler, and terminals.
 */
#ifndef ONU_MNG_PLATFORM_CLI_H
#define ONU_MNG_PLATFORM_CLI_H

#include <stddef.h>

#include "onu_mng_platform/printf_format.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Terminals ---- */

/* A terminal: receives the characters that commands print. One task at a time uses it. */
typedef struct vty vty;

/* Writes text of any length to a terminal. The text is formatted like printf, and nothing is added to it.
 * Returns the number of characters written; -1 if the terminal or the format is null or memory is short: then
 * nothing is written. */
int vty_out(vty* terminal, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);

/* Makes a terminal from a function that takes characters. vty_out() and vty_execute() call `write` in their
 * own task, with the characters as they are. Commands hold no lock then, so `write` may wait for a slow
 * reader for a moment, but not without limit. `write` must not throw.
 * Returns the terminal; null if `write` is null or memory is short. The caller owns the terminal and ends it
 * with vty_destroy(), which ignores null. A command must not destroy the terminal on which it runs. */
vty* vty_create(void (*write)(void* context, const char* data, size_t size), void* context);
void vty_destroy(vty* terminal);

/* ---- Commands ---- */

/* One command; see below. */
typedef struct cmd_element cmd_element;

/* Does the work of a command. `argv` has the words that were typed for the square and the angle brackets of
 * the syntax, in the order typed, shortened words in full, and a null pointer after them. The handler may
 * change the words; they are valid during the call. It runs in the task that called vty_execute(). The parser
 * holds no lock during the call, so a slow handler does not delay other terminals, and several tasks may run
 * the same handler at once.
 * Returns 0 for success; vty_execute() returns any other number to its caller. If a C++ handler throws, a
 * line at level 13 is logged and one error line is written to the terminal, "% Command failed: ....". For
 * std::bad_alloc the error line is "% Out of memory.", and nothing is logged. The exception that ends the
 * calling task passes through. */
typedef int (*cmd_handler)(cmd_element* self, vty* terminal, int argc, char** argv);

/* One command. The library's records are static; their platform fields are zero. After its installation, the
 * record and its texts must stay valid until the process ends.
 *
 * The syntax consists of these parts, with blanks between them:
 *   word        a word that is typed as it stands
 *   [a|b]       one of these words (or of these words and <...> values)
 *   <1-16>      a decimal number from 1 to 16
 *   <name>      any one word
 *   { ... }*1   a group that may be left out. Consecutive groups may be in any order, each at most once.
 *               A group contains no group
 * At every position the words that can come next must differ from each other, and at most one of them may be
 * a value.
 *
 * The help has one line for each word of the syntax, in order; [a|b] has one line for each alternative. Lines
 * end in "\r\n" and may be missing at the end. If a line begins with the word itself and " - ", only the rest
 * is shown next to the word. */
struct cmd_element {
    const char* syntax;    /* the words of the command */
    cmd_handler handler;   /* does its work */
    const char* help;      /* may be null */
    unsigned int node;     /* set by the platform: the node under which it was installed last */
    unsigned int max_argc; /* set by the platform: the largest number of words for its handler */
    const char* name;      /* for diagnostics; may be null */
};

/* Installs a command under a node: it can be typed on the terminals of that node. It stays installed. Does
 * not block. Any task, even while commands run.
 * Returns 0, even if the record is installed under this node already; -1, after one log line at level 13 and
 * with nothing changed, if the record, its syntax or its handler is null, if the syntax breaks the rules
 * above or has more than 64 words or 32 groups, if another record under this node has the same syntax, or if
 * memory is short. */
int install_element(unsigned int node, cmd_element* command);

/* Runs one line on a terminal, in the calling task. Blocks as long as the handler does. Words may be
 * shortened as long as only one word fits; a complete word takes precedence. The handler runs only if the
 * line fits its syntax. The line may end in "| include RE", "| exclude RE", "| begin RE" (extended regular
 * expressions), "| count" or "| json". Every node also has the commands "help", "list" and "exit".
 * Returns the result of the handler; 0 for an empty line and for a comment, which starts with "!" or "#"; -1
 * after one error message on the terminal for any other line, for a line longer than 1023 characters, and if
 * the handler throws; -1 also for a null argument. */
int vty_execute(vty* terminal, unsigned int node, const char* line);

#ifdef __cplusplus
}
#endif

#endif
