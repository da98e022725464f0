/* Lets the compiler check the arguments of functions that take a printf format: `text` is the position of the
 * format, `first` that of its first argument, both counted from 1.
 */
#ifndef ONU_MNG_PLATFORM_PRINTF_FORMAT_H
#define ONU_MNG_PLATFORM_PRINTF_FORMAT_H

#if defined(__GNUC__)
#define ONU_MNG_PRINTF_FORMAT(text, first) __attribute__((format(printf, text, first)))
#else
#define ONU_MNG_PRINTF_FORMAT(text, first)
#endif

#endif
