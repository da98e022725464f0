/// Which ONUs' log lines are written.
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

/// What is traced for one key.
struct OnuLogPara {
    std::set<int> debug_levels;
};

/// The per-ONU trace registry: keys with the log levels traced for them.
///
/// The numbers (p, 0xFFFF) cover PON p, (0xFFFF, 0xFFFF) every ONU; (0xFFFF, n) covers none. A
/// key may carry a serial number. The entry that governs an ONU is the first found of: the ONU itself (with a
/// serial number: that serial number on that PON), its numbers, its PON, all; failing these, in key order,
/// the first entry with a serial number whose numbers are the ONU's, its PON's wildcard, or all.
///
/// One instance for the process; any task. `IsTraceOnu` never allocates, and takes the lock only while the
/// registry changes and in the rare cases that `TraceIndex` names.
class OnuMngLog {
public:
    static OnuMngLog* GetInstance();

    /// Adds `level` to the entry that governs the ONU, or makes an entry for it, and opens the level in the
    /// log. While tracing is off no entry governs, and an ONU whose key is there already gets nothing. `sn`
    /// is null or 8 bytes. Where memory is short the registry stays as it was (one level-13 line).
    void AddOnuTracer(unsigned short pon, unsigned short onu, const unsigned char* sn, int level);

    /// Closes in the log every level that was opened, and removes all entries.
    void ClearOnuTracer();

    /// Finds the entry that governs an ONU, for a caller that knows that nobody changes the registry
    /// meanwhile: this takes no lock, and `para` is valid until the registry changes.
    /// @return true with `para` set; false with `para` null when there is none, or left alone while tracing
    ///         is off.
    bool MatchOnu(unsigned short pon, unsigned short onu, const unsigned char* sn, OnuLogPara*& para);

    /// Whether the ONU is traced at `level`. Does not block, but for the short change of another task.
    bool IsTraceOnu(unsigned short pon, unsigned short onu, const unsigned char* sn, int level);

    /// Prints the registry as a report to the terminal `vty`, or to standard output when it is null. The rows
    /// are gathered under the lock and printed without it.
    void Print(void* vty) const;

    std::atomic<bool> trace_switch{false};

private:
    static constexpr int kLogLevels = 16; ///< what ulogSetModIgnore() takes

    /// A key that is only looked up: it refers to the caller's serial number.
    struct KeyView {
        unsigned short pon;
        unsigned short onu;
        const unsigned char* sn;
    };
    /// Orders stored keys, and stored keys against views, as `OnuNo` orders itself.
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
    /// The numbers of entries with a serial number, with the first such entry in key order: what a look-up
    /// that finds nothing by key would otherwise walk all entries for.
    SnIndex first_with_sn;
    /// Levels that were opened for an entry that was there already while tracing was off, and so are in none:
    /// one operator ends tracing while another adds to it.
    std::bitset<kLogLevels> stray_levels;
    TraceIndex index;           ///< the levels of `tracer_map`, for `IsTraceOnu`
    mutable ReadWriteLock lock; ///< guards the maps, the levels and the changes of `index`
};

#endif
