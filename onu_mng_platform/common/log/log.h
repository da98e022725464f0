#ifndef ONU_MNG_PLATFORM_COMMON_LOG_LOG_H
#define ONU_MNG_PLATFORM_COMMON_LOG_LOG_H

#include <cstdarg>
#include <ctime>

#include "onu_mng_platform/ulog.h"

/// The log of every port: threshold, opened levels, sink. A port defines the functions of ulog.h and forwards
/// each to its namesake here, which keeps the contract written there; what stands below is what goes beyond
/// it.
///
/// Everything may be called from any thread at any time from before the first static constructor to after the
/// last static destructor. A line written from within a sink is dropped.
namespace onu_mng_platform {

/// The module number of the port's own lines.
inline constexpr unsigned int kPortLogModule = 0;

/// ulogPrintf().
void LogWrite(unsigned int module, int level, const char* format, std::va_list arguments)
    ONU_MNG_PRINTF_FORMAT(3, 0);
int LogSetModIgnore(unsigned int module, int level, int open);
void LogSetThreshold(int level);
void LogSetSink(ulog_sink sink, void* context);

/// Writes a line of the port itself, under kPortLogModule.
void LogPort(int level, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);

/// An editor of lines on the terminal that standard error is: a log line takes the place of the row that is
/// being edited, and `after` is told to draw it again. Called by one task at a time; it must not log.
struct LogNeighbour {
    void (*after)(void* context) = nullptr;
    void* context = nullptr;
};

/// Makes room for a neighbour, or for none. When it returns, the earlier one is not being called and will not
/// be.
void LogSetNeighbour(const LogNeighbour& neighbour);

/// Returns the time of day that the default sink writes before a line.
using LogClock = timespec (*)();

/// Replaces the system's clock as the source of that time; null restores it. The clock is called by one
/// thread at a time and must not log.
void LogSetClock(LogClock clock);

} // namespace onu_mng_platform

#endif
