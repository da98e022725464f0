/* The command-line half of the platform seam: commands with a syntax and a handler, and terminals.
 */
#ifndef ONU_MNG_PLATFORM_CLI_H
#define ONU_MNG_PLATFORM_CLI_H

#include <stddef.h>

#include "onu_mng_platform/printf_format.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Terminals ---- */

/* A terminal: takes the characters that commands print. Created by vty_create(); used by one task at a time.
 */
typedef struct vty vty;

/* Writes text, formatted like printf, to a terminal and appends nothing. Of any length. Returns the number of
 * characters written; -1 for a null terminal or format or when memory is short (nothing is written). */
int vty_out(vty* terminal, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);

/* Makes a terminal of anything that takes characters. `write` is called from vty_out() and vty_execute(), in
 * their task, with the characters as they are; commands hold no lock there, so it may wait a moment for a slow
 * reader, but not without limit. It must not throw. Returns null for a null `write` or when memory is short. The caller owns the
 * terminal and ends it with vty_destroy(), which no command running on it may do; null is ignored. */
vty* vty_create(void (*write)(void* context, const char* data, size_t size), void* context);
void vty_destroy(vty* terminal);

/* ---- Commands ---- */

typedef struct cmd_element cmd_element;

/* The work of a command. `argv` holds the words typed for the square and the angle brackets of the syntax, in
 * the order typed, abbreviated words in full, and a null pointer behind them; the words may be changed and
 * are valid during the call. Runs in the task of vty_execute() and holds up no other terminal: no lock of the
 * parser is held, and several tasks may be in the same handler at once.
 * Returns 0 for success; any other number is passed on to the caller of vty_execute(). A handler in C++ that
 * throws costs one line at level 13 and one error line on the terminal, "% Command failed: ...."; the end of
 * the calling task passes through. */
typedef int (*cmd_handler)(cmd_element* self, vty* terminal, int argc, char** argv);

/* One command. The record is the library's, static, with the platform's fields zero; once installed, it and
 * its texts are valid as long as the process.
 *
 * The syntax is made of
 *   word        a word that is typed as it stands
 *   [a|b]       one of these words (or of these and <...> values)
 *   <1-16>      a decimal number from 1 to 16
 *   <name>      any one word
 *   { ... }*1   a group that may be left out; groups behind each other stand in any order, each at most once
 * with blanks between them and no group inside a group. At every place the words that may come next differ
 * from each other, and at most one of them is a value.
 *
 * The help has one line for each word of the syntax in order, for [a|b] one for each alternative, ended by
 * "\r\n"; lines may be missing at the end. Where a line starts with the word itself and " - ", only what
 * follows is shown beside the word. */
struct cmd_element {
    const char* syntax;
    cmd_handler handler;
    const char* help;      /* may be null */
    unsigned int node;     /* the platform's: the node it was installed under last */
    unsigned int max_argc; /* the platform's: the most words its handler can be given */
    const char* name;      /* for diagnostics; may be null */
};

/* Makes a command known under a node; commands are typed on the terminals of that node. Does not block; any
 * task, also while commands run. Once installed a command stays.
 * Returns 0, also for a record that is installed under this node already; -1, after one log line at level 13
 * and with nothing changed, for a null record, syntax or handler, a syntax that breaks the rules above or has
 * more than 64 words or 32 groups, a syntax that another record has under this node, or when memory is
 * short. */
int install_element(unsigned int node, cmd_element* command);

/* Runs one line on a terminal in the calling task. Words may be shortened as long as only one word fits; a
 * word typed in full wins. A handler runs only for a line that its syntax allows. The line may end in
 * "| include RE", "| exclude RE", "| begin RE" (extended regular expressions) or "| count". Every node also
 * has "help", "list" and "exit". Blocks as long as the handler does.
 * Returns the handler's result; 0 for an empty line and for a comment, which starts with "!" or "#"; -1 after
 * one error message on the terminal for any other line, a line longer than 1023 characters included, for a
 * handler that throws, and for a null argument. */
int vty_execute(vty* terminal, unsigned int node, const char* line);

#ifdef __cplusplus
}
#endif

#endif
