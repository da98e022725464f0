#ifndef ONU_MNG_PLATFORM_COMMON_LOG_LOG_H
#define ONU_MNG_PLATFORM_COMMON_LOG_LOG_H

#include <cstdarg>
#include <ctime>

#include "onu_mng_platform/ulog.h"

/// The common log of all ports: threshold, opened levels and sink. A port defines the functions of ulog.h and
/// forwards each to its counterpart here. The contracts are in ulog.h; the comments below only add to them.
///
/// Any thread may call everything, even in static constructors and destructors. A line that a sink logs is
/// dropped.
namespace onu_mng_platform {

/// The module number of the port's own lines.
inline constexpr unsigned int kPortLogModule = 0;

/// Implements ulogPrintf().
void LogWrite(unsigned int module, int level, const char* format, std::va_list arguments)
    ONU_MNG_PRINTF_FORMAT(3, 0);
int LogSetModIgnore(unsigned int module, int level, int open);
void LogSetThreshold(int level);
void LogSetSink(ulog_sink sink, void* context);

/// Logs a line of the port itself, under kPortLogModule.
void LogPort(int level, const char* format, ...) ONU_MNG_PRINTF_FORMAT(2, 3);

/// A line editor on the terminal that standard error writes to. A log line overwrites the row that is being
/// edited and then calls `after`, which must arrange for the row to be drawn again. Called by one task at a
/// time. It must not log.
struct LogNeighbour {
    void (*after)(void* context) = nullptr;
    void* context = nullptr;
};

/// Sets the neighbour; one without `after` removes it. After the return, the previous one is no longer
/// called.
void LogSetNeighbour(const LogNeighbour& neighbour);

/// A function that returns the time of day that the default sink writes before a line.
using LogClock = timespec (*)();

/// Replaces the system's clock as the source of that time. Null restores it. The clock is called by one
/// thread at a time and must not log.
void LogSetClock(LogClock clock);

} // namespace onu_mng_platform

#endif
