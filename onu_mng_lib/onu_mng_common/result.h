/* The result codes and the log levels of the library. They are macros, because C clients use them too.
 */
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_RESULT_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_RESULT_H

/* Results: 32-bit unsigned, 0 for success. */
#define ONU_MNG_OK 0u
/* The operation failed; the log says why. */
#define ONU_MNG_FAILURE 0x800001f5u
/* A serial-number or MAC text is malformed. */
#define ONU_MNG_BAD_TEXT 0x800001f6u
/* A serial-number or MAC conversion was given a null pointer. */
#define ONU_MNG_NULL_ARGUMENT 0x800001f9u
/* A state context is idle, runs for another ONU, or is in a state that is not registered. */
#define ONU_MNG_STATE_UNMATCHED 0x80000259u
/* A state context or a state has refused a message. */
#define ONU_MNG_STATE_REFUSED 0x8000025au
/* A state does not handle notifications. */
#define ONU_MNG_STATE_NO_NOTIFY 0x8000025cu
/* A state context is already in use. */
#define ONU_MNG_STATE_BUSY 0x8000025du

/* Log levels, 0 (finest) to 15 (gravest). */
#define ONU_MNG_LOG_TRACE 4    /* per-ONU events of the state machine, termination notices */
#define ONU_MNG_LOG_WARNING 10 /* a module's handler failed, an oversized allocation */
#define ONU_MNG_LOG_SEND 11    /* a message could not be sent */
#define ONU_MNG_LOG_START 12   /* a module was initialised or started */
#define ONU_MNG_LOG_ERROR 13   /* ordinary errors */
#define ONU_MNG_LOG_FATAL 14   /* a step of the start-up failed */

#endif
