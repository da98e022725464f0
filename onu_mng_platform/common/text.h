#ifndef ONU_MNG_PLATFORM_COMMON_TEXT_H
#define ONU_MNG_PLATFORM_COMMON_TEXT_H

#include <cstddef>
#include <ctime>

/// The helpers of bep.h and cutil.h that are the same on every port. A port forwards bep_memCpyEx(),
/// bep_memSetEx(), bep_StrLen(), bep_StrNCmp() and getDateTime() here; `CUtil` is defined here for all.
///
/// No state, no blocking, any thread.
namespace onu_mng_platform {

void* MemCopy(void* dst, const void* src, size_t size);
void* MemSet(void* dst, int value, size_t size);
size_t TextLength(const char* text);
int TextCompare(const char* a, const char* b, size_t size);

/// Stores the local date and time of `seconds` since 1970, UTC, as getDateTime() does for now.
/// @return 0; -1, with the outputs unchanged, for a null pointer or a time whose year does not fit.
int LocalDateTime(time_t seconds, unsigned short* year, unsigned char* month, unsigned char* day,
                  unsigned char* hour, unsigned char* minute, unsigned char* second);

} // namespace onu_mng_platform

#endif
