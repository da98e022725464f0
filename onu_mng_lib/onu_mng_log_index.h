/// The lock-free index of the trace registry.
#ifndef ONU_MNG_LIB_ONU_MNG_LOG_INDEX_H
#define ONU_MNG_LIB_ONU_MNG_LOG_INDEX_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>

/// The levels of all entries of the trace registry, in a hash table with open addressing.
///
/// One task at a time writes, under the lock of the registry. Any number of tasks read at the same time and
/// never wait. A reader gets no result during a change and then asks the registry under its lock. Only
/// `Reserve` allocates. Replaced tables are kept, because readers may still use them. Together they are
/// smaller than the current one.
class TraceIndex {
public:
    TraceIndex() = default;
    ~TraceIndex();
    TraceIndex(const TraceIndex&) = delete;
    TraceIndex& operator=(const TraceIndex&) = delete;

    /// Returns whether the entry that applies to the ONU has `level`. `sn` is null or 8 bytes. Returns false
    /// if `is_on` is false. `is_on` and the entries are read consistently.
    /// @return nothing if the caller must ask the registry: during a change, for a level outside 0 to 15 if
    ///         the entry has such levels, and if the order of two serial numbers decides which entry applies.
    std::optional<bool> IsTraced(unsigned short pon, unsigned short onu, const unsigned char* sn, int level,
                                 const std::atomic<bool>& is_on) const;

    /// Makes room for one more entry, with a serial number or without. Throws std::bad_alloc: then nothing
    /// has changed.
    void Reserve(bool has_sn);

    struct Entry {
        unsigned short pon; ///< 0xFFFF: a wildcard, as in `onu`
        unsigned short onu;
        const unsigned char* sn; ///< null or 8 bytes
        /// Whether this entry applies to its numbers: it has no serial number, or it is the first of the
        /// entries with these numbers and none of them lacks a serial number.
        bool governs_numbers;
    };
    /// Sets the levels of an entry. There must be room for it (`Reserve`).
    void Set(const Entry& entry, const std::set<int>& levels);

    /// Removes all levels.
    void Clear();

private:
    struct Key;
    struct Table;
    class Change;
    using Value = std::uint32_t; ///< 0: no entry

    std::optional<Value> FindGoverning(const Table& table, unsigned short pon, unsigned short onu,
                                       const unsigned char* sn) const;

    std::atomic<unsigned int> version{0}; ///< odd during a change
    std::atomic<Table*> current{nullptr};
    std::atomic<bool> has_wildcards{false};
};

#endif
