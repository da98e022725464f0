/// What the host knows about its ONUs.
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

/// A moment in ticks of the host.
using Tick = std::uint64_t;

/// How far an ONU's bring-up is.
enum class OnuPhase : std::uint8_t {
    kWaiting,
    kUploading,
    kUploaded,
    kProvisioning,
    kProvisioned,
    kInSync, ///< provisioned, and the ONU's data sync counter says so
    kFailed,
};
constexpr unsigned int kOnuPhases = 7;

/// Why the last procedure against an ONU failed.
enum class OnuFailure : std::uint8_t {
    kNone,
    kNoAnswer, ///< the supervision ended it
    kRefused,  ///< the ONU answered a request with a failure
    kMibRows,  ///< the upload lacks rows
    kDataSync, ///< the ONU's counter is not what the changes made to it give
    kMemory,
};

/// One ONU.
struct OnuStatus {
    OnuKey onu{0, 0};
    OnuPhase phase = OnuPhase::kWaiting;
    OnuFailure failure = OnuFailure::kNone; ///< of the last procedure that failed
    bool given_up = false;                  ///< failed for the last time
    std::uint8_t data_sync = 0;             ///< what the ONU's counter should be
    std::uint8_t alarm_sequence = 0;        ///< of its last alarm notification
    bool alarms_lost = false;               ///< its alarms are not known and are to be asked for
    unsigned int attempts = 0;              ///< bring-ups begun since it was last in sync
    unsigned int rows = 0;                  ///< of its MIB as it was uploaded
    unsigned int requests = 0;
    unsigned int resent = 0;
    unsigned int alarms = 0;  ///< alarm notifications
    unsigned int changes = 0; ///< attribute value changes
    unsigned int busy_ms = 0; ///< time that the procedures of the last bring-up took
    AlarmList alarmed;
    Tick due = 0; ///< when failed, the next attempt; when in sync, the next audit
};

/// All ONUs counted.
struct OnuTotals {
    unsigned int onus = 0;
    unsigned int phases[kOnuPhases] = {}; ///< ONUs by `OnuPhase`
    unsigned long long requests = 0;
    unsigned long long resent = 0;

    /// Counts one more.
    void Add(const OnuStatus& status);
};

/// The ONUs of `pons` PONs with `onus` each, by index: PON by PON, on each by id.
///
/// Every operation may be called from any task and holds the lock for a short copy; readers get all of an ONU
/// from one moment.
class OnuTable {
public:
    OnuTable(unsigned int pons, unsigned int onus);

    unsigned int Size() const { return static_cast<unsigned int>(records.size()); }
    std::optional<unsigned int> IndexOf(OnuKey onu) const;
    OnuKey KeyOf(unsigned int index) const;

    OnuStatus Read(unsigned int index) const;
    /// The rows of its MIB as last uploaded in full.
    std::vector<MibRow> ReadMib(unsigned int index) const;
    OnuTotals Totals() const;

    /// Calls `change` with the `OnuStatus&` of an ONU, under the lock.
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
    /// Takes over the MIB, and gives the former one back in `rows`.
    void SwapMib(unsigned int index, std::vector<MibRow>& rows);

    /// The first index from `from` on whose status satisfies `wanted`; `Size()` when there is none.
    template <typename Wanted>
    unsigned int Find(unsigned int from, Wanted wanted) const {
        const LockGuard guard(lock);
        while (from < records.size() && !wanted(records[from].status))
            ++from;
        return from;
    }

    /// Waits until no ONU is unsettled, for `limit` and, where ONUs keep changing, less. One task at a time.
    /// @return whether none is.
    bool WaitSettled(std::chrono::milliseconds limit);

private:
    struct Record {
        OnuStatus status;
        std::vector<MibRow> mib;
    };

    /// In sync and its alarms known, or given up.
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
    Semaphore settled;          ///< signalled while no ONU is unsettled
};

} // namespace olt_host

#endif
