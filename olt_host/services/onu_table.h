/// The host's table of ONUs.
#ifndef OLT_HOST_SERVICES_ONU_TABLE_H
#define OLT_HOST_SERVICES_ONU_TABLE_H

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

#include "olt_host/onu/alarm_list.h"
#include "olt_host/onu/mib_row.h"
#include "olt_host/onu/onu_key.h"
#include "onu_mng_lib/onu_mng_common/sem_lock.h"

namespace olt_host {

/// A point in time, or a duration, in ticks of the host.
using Tick = std::uint64_t;

/// The progress of an ONU's bring-up.
enum class OnuPhase : std::uint8_t {
    kWaiting,
    kUploading,
    kUploaded,
    kProvisioning,
    kProvisioned,
    kInSync, ///< provisioned, and an audit has confirmed the ONU's data sync counter
    kFailed,
};
constexpr unsigned int kOnuPhases = 7;

/// Why a procedure failed.
enum class OnuFailure : std::uint8_t {
    kNone,
    kNoAnswer, ///< the supervision ended the procedure
    kRefused,  ///< the ONU answered a request with an error
    kMibRows,  ///< the upload or the alarm list lacks rows
    kDataSync, ///< the ONU's MIB differs from the expected one
    kMemory,
};

/// The status of one ONU.
struct OnuStatus {
    OnuKey onu{0, 0};
    OnuPhase phase = OnuPhase::kWaiting;
    OnuFailure failure = OnuFailure::kNone; ///< of the last procedure that failed
    bool given_up = false;                  ///< failed, and no attempt is left
    std::uint8_t data_sync = 0;             ///< the expected value of the ONU's MIB data sync counter
    std::uint8_t alarm_sequence = 0;        ///< of the last alarm notification
    bool alarms_lost = false;               ///< `alarmed` may be out of date; ask the ONU for all alarms
    unsigned int attempts = 0;              ///< bring-ups begun since the last audit that succeeded
    unsigned int rows = 0;                  ///< of the uploaded MIB
    unsigned int requests = 0;
    unsigned int resent = 0;
    unsigned int alarms = 0;  ///< alarm notifications
    unsigned int changes = 0; ///< attribute value changes
    unsigned int busy_ms = 0; ///< duration of all procedures since the last bring-up began
    AlarmList alarmed;
    Tick due = 0; ///< time of the next attempt (failed) or of the next audit (in sync)
};

/// Totals over ONUs.
struct OnuTotals {
    unsigned int onus = 0;
    unsigned int phases[kOnuPhases] = {}; ///< ONUs by `OnuPhase`
    unsigned long long requests = 0;
    unsigned long long resent = 0;

    /// Adds one ONU.
    void Add(const OnuStatus& status);
};

/// The ONUs of `pons` PONs with `onus` each. The index orders them by PON, then by ONU id.
///
/// Thread safety: every operation may be called from any task. A read returns a consistent copy of one ONU.
class OnuTable {
public:
    OnuTable(unsigned int pons, unsigned int onus);

    unsigned int Size() const { return static_cast<unsigned int>(records.size()); }
    std::optional<unsigned int> IndexOf(OnuKey onu) const;
    OnuKey KeyOf(unsigned int index) const;

    OnuStatus Read(unsigned int index) const;
    /// Returns the MIB rows of the last complete upload.
    std::vector<MibRow> ReadMib(unsigned int index) const;
    OnuTotals Totals() const;

    /// Calls `change` with the `OnuStatus&` of an ONU and the table locked.
    template <typename Change>
    void Update(unsigned int index, Change change) {
        {
            const LockGuard guard(lock);
            OnuStatus& status = records[index].status;
            unsettled -= IsSettled(status) ? 0 : 1;
            change(status);
            unsettled += IsSettled(status) ? 0 : 1;
            if (unsettled > 0) return;
        }
        settled.Signal();
    }
    /// Stores a new MIB and returns the old one in `rows`.
    void SwapMib(unsigned int index, std::vector<MibRow>& rows);

    /// Returns the first index from `from` on whose status satisfies `wanted`; `Size()` if there is none.
    /// Calls `wanted` with the table locked.
    template <typename Wanted>
    unsigned int Find(unsigned int from, Wanted wanted) const {
        const LockGuard guard(lock);
        while (from < records.size() && !wanted(records[from].status))
            ++from;
        return from;
    }

    /// Waits until all ONUs are settled: in sync with known alarms, or given up. Blocks for at most `limit`,
    /// and less if they were settled only for a moment. One task at a time.
    /// @return whether all are settled now.
    bool WaitSettled(std::chrono::milliseconds limit);

private:
    struct Record {
        OnuStatus status;
        std::vector<MibRow> mib;
    };

    static bool IsSettled(const OnuStatus& status) {
        return (status.phase == OnuPhase::kInSync && !status.alarms_lost) ||
               (status.phase == OnuPhase::kFailed && status.given_up);
    }

    bool AreAllSettled() const {
        const LockGuard guard(lock);
        return unsettled == 0;
    }

    const unsigned int onus_per_pon;
    std::vector<Record> records;
    unsigned int unsettled;
    mutable ReadWriteLock lock; ///< guards `records` and `unsettled`
    Semaphore settled;          ///< signalled by each update after which all ONUs are settled
};

} // namespace olt_host

#endif
