/// The registry of traced ONUs.
#ifndef ONU_MNG_LIB_ONU_MNG_LOG_H
#define ONU_MNG_LIB_ONU_MNG_LOG_H

#include <atomic>
#include <bitset>
#include <cstdint>
#include <map>
#include <set>

#include "onu_mng_lib/onu_mng_common/sem_lock.h"
#include "onu_mng_lib/onu_mng_log_index.h"
#include "onu_mng_lib/onu_mng_obj.h"

/// The log levels that are traced for one key.
struct OnuLogPara {
    std::set<int> debug_levels; ///< 0 to 15
};

/// The per-ONU trace registry: entries with a key and the log levels that are traced for it.
///
/// A key has a PON number, an ONU number and perhaps a serial number. The numbers (p, 0xFFFF) cover PON p,
/// (0xFFFF, 0xFFFF) covers every ONU, (0xFFFF, n) covers none. The first of these entries applies to an ONU:
///
/// 1. if a serial number is given: the entry with that PON and that serial number;
/// 2. the entry without a serial number that has its numbers, then that of its PON, then that of every ONU;
/// 3. in the order of the keys, the first entry with a serial number whose numbers cover the ONU.
///
/// One instance for the process. Any task. `IsTraceOnu` never allocates. It takes the lock only while the
/// registry changes, and in the rare cases that the lock-free index does not cover (`TraceIndex::IsTraced`).
class OnuMngLog {
public:
    /// Returns the instance of the process.
    static OnuMngLog* GetInstance();

    /// Adds `level` to the entry that applies to the ONU, or makes an entry for the ONU, and opens the level
    /// in the log. While tracing is off, no entry applies; if the key of the ONU is there already, its levels
    /// do not change. `sn` is null or 8 bytes. If memory is short, the registry stays as it was (one level-13
    /// line).
    void AddOnuTracer(unsigned short pon, unsigned short onu, const unsigned char* sn, int level);

    /// Removes all entries, and closes in the log every level that they opened.
    void ClearOnuTracer();

    /// Finds the entry that applies to an ONU. It takes no lock: the caller makes sure that no other task
    /// changes the registry. `para` is valid until the registry changes.
    /// @return true with `para` set; false with `para` null if no entry applies; false with `para` unchanged
    ///         while tracing is off.
    bool MatchOnu(unsigned short pon, unsigned short onu, const unsigned char* sn, OnuLogPara*& para);

    /// Returns whether the ONU is traced at `level`. Seldom takes the lock, and then blocks while another
    /// task holds it.
    bool IsTraceOnu(unsigned short pon, unsigned short onu, const unsigned char* sn, int level);

    /// Prints the registry as a report to the terminal `vty`, or to standard output if `vty` is null. While
    /// tracing is off, one row says so. The rows are collected under the lock and printed without it.
    void Print(void* vty) const;

    std::atomic<bool> trace_switch{false}; ///< whether tracing is on

private:
    static constexpr int kLogLevels = 16; ///< the levels that ulogSetModIgnore() accepts

    /// A key for a look-up. It refers to the serial number of the caller.
    struct KeyView {
        unsigned short pon;
        unsigned short onu;
        const unsigned char* sn;
    };
    /// The order of `OnuNo`, for stored keys and for views.
    struct KeyLess {
        using is_transparent = void;
        bool operator()(const OnuNo& a, const OnuNo& b) const { return a < b; }
        bool operator()(const OnuNo& a, const KeyView& b) const;
        bool operator()(const KeyView& a, const OnuNo& b) const;
    };
    using TracerMap = std::map<OnuNo, OnuLogPara, KeyLess>;
    using SnIndex = std::map<std::uint32_t, TracerMap::iterator>;

    template <typename T>
    friend class Immortal;

    OnuMngLog() = default;
    ~OnuMngLog() = default;

    TracerMap::iterator FindGoverning(unsigned short pon, unsigned short onu, const unsigned char* sn);
    TracerMap::iterator FindByNumbers(unsigned short pon, unsigned short onu);
    bool Insert(unsigned short pon, unsigned short onu, const unsigned char* sn, int level);
    bool InsertEntry(unsigned short pon, unsigned short onu, const unsigned char* sn, int level);
    void Publish(TracerMap::iterator entry);

    TracerMap tracer_map;
    /// For each pair of numbers, the first entry with a serial number in key order. Without this map, a
    /// look-up that finds nothing by key would have to search all entries.
    SnIndex first_with_sn;
    /// Levels that are open in the log but in no entry. They come from an `AddOnuTracer` for an existing key
    /// while tracing was off: one operator ended tracing while another added a level.
    std::bitset<kLogLevels> stray_levels;
    TraceIndex index;           ///< the levels of `tracer_map`, for `IsTraceOnu`
    mutable ReadWriteLock lock; ///< guards the maps, the levels and the changes of `index`
};

#endif
