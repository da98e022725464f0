#include "onu_mng_lib/onu_mng_log_index.h"

#include <cstring>
#include <memory>

#include "onu_mng_lib/onu_mng_obj.h"

namespace {

constexpr unsigned short kAny = OnuNo::kNotSet;
constexpr unsigned int kFirstSizeLog2 = 6;
constexpr std::size_t kSlotsPerUse = 3;

// A value has one bit for each of the levels 0 to 15, and these bits.
constexpr int kKnownLevels = 16;
constexpr std::uint32_t kOtherLevels = 1u << 16; ///< the entry has levels outside 0 to 15
constexpr std::uint32_t kWithoutSn = 1u << 17;   ///< the entry has no serial number

std::uint32_t ValueOf(const std::set<int>& levels) {
    std::uint32_t value = 0;
    for (const int level : levels)
        value |= level >= 0 && level < kKnownLevels ? 1u << level : kOtherLevels;
    return value;
}

} // namespace

/// The key of a value: PON and ONU id, or PON and serial number. The upper 32 bits of `head` are the PON and
/// the ONU id, or the PON and 16 bits of the serial number's hash.
struct TraceIndex::Key {
    static constexpr std::uint64_t kHasSn = 1u << 31;
    static constexpr std::uint64_t kMask = ~std::uint64_t{0} << 31; ///< other bits of a word: its value

    static Key OfNumbers(unsigned short pon, unsigned short onu) {
        return {std::uint64_t{pon} << 48 | std::uint64_t{onu} << 32, 0};
    }
    static Key OfSn(unsigned short pon, const unsigned char* sn) {
        std::uint64_t serial;
        std::memcpy(&serial, sn, sizeof serial);
        const std::uint64_t mixed = serial * kFactor;
        return {std::uint64_t{pon} << 48 | (mixed >> 48) << 32 | kHasSn, serial};
    }

    std::uint64_t Hash() const { return head * kFactor; }
    bool HasSn() const { return (head & kHasSn) != 0; }

    static constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15; ///< 2^64 / golden ratio: Fibonacci hashing

    std::uint64_t head;
    std::uint64_t serial; ///< 0 in keys without a serial number
};

/// A hash table with linear probing. Its size is a power of two. At most a third of the slots are in use, so
/// most searches end at the first slot.
struct TraceIndex::Table {
    using Word = std::atomic<std::uint64_t>;

    explicit Table(unsigned int size_log2)
        : shift(64 - size_log2), size(std::size_t{1} << size_log2), heads(new Word[size]()),
          serials(new Word[size]()) {}

    /// The slot and the value of a key. If the key is missing, the value is 0 and the slot is free.
    struct Found {
        std::size_t place;
        Value value;
    };
    Found Find(const Key& key) const {
        std::size_t place = static_cast<std::size_t>(key.Hash() >> shift);
        for (std::size_t left = size; left > 0; --left, place = (place + 1) & (size - 1)) {
            const std::uint64_t word = heads[place].load(std::memory_order_acquire);
            if (word == 0) break;
            if ((word & Key::kMask) != key.head) continue;
            if (!key.HasSn() || serials[place].load(std::memory_order_acquire) == key.serial)
                return {place, static_cast<Value>(word & ~Key::kMask)};
        }
        return {place, 0};
    }

    void Put(const Key& key, Value value) {
        const Found found = Find(key);
        if (found.value == 0) ++used;
        serials[found.place].store(key.serial, std::memory_order_release);
        heads[found.place].store(key.head | value, std::memory_order_release);
    }

    void Clear() {
        for (std::size_t place = 0; place < size; ++place)
            heads[place].store(0, std::memory_order_release);
        used = 0;
    }

    const unsigned int shift;
    const std::size_t size;
    std::size_t used = 0;
    const std::unique_ptr<Word[]> heads; ///< `Key::head` with the value in the lower bits; 0 in free slots
    const std::unique_ptr<Word[]> serials;
    std::unique_ptr<Table> outgrown; ///< the previous table, kept because readers may still use it
};

/// Marks a change of the index: `version` is odd while it lasts, so readers discard inconsistent values. A
/// reader that sees a word of the change also sees the odd version, because words are stored with release and
/// loaded with acquire.
class TraceIndex::Change {
public:
    explicit Change(TraceIndex& changed) : index(changed) { Step(); }
    ~Change() { Step(); }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

private:
    void Step() {
        const unsigned int before = index.version.load(std::memory_order_relaxed);
        index.version.store(before + 1, std::memory_order_release);
    }

    TraceIndex& index;
};

TraceIndex::~TraceIndex() {
    delete current.load();
}

// ---- Reading ----

std::optional<TraceIndex::Value> TraceIndex::FindGoverning(const Table& table, unsigned short pon,
                                                           unsigned short onu,
                                                           const unsigned char* sn) const {
    if (sn != nullptr)
        if (const Value value = table.Find(Key::OfSn(pon, sn)).value) return value;
    const Value own = table.Find(Key::OfNumbers(pon, onu)).value;
    if ((own & kWithoutSn) != 0 || !has_wildcards.load(std::memory_order_acquire)) return own;
    const Value of_pon = table.Find(Key::OfNumbers(pon, kAny)).value;
    if ((of_pon & kWithoutSn) != 0) return of_pon;
    const Value of_all = table.Find(Key::OfNumbers(kAny, kAny)).value;
    if ((of_all & kWithoutSn) != 0) return of_all;
    if (own != 0 && of_pon != 0 && onu != kAny) return std::nullopt;
    return own != 0 ? own : of_pon != 0 ? of_pon : of_all;
}

std::optional<bool> TraceIndex::IsTraced(unsigned short pon, unsigned short onu, const unsigned char* sn,
                                         int level, const std::atomic<bool>& is_on) const {
    const unsigned int before = version.load(std::memory_order_acquire);
    if (before % 2 != 0) return std::nullopt;
    if (!is_on.load(std::memory_order_acquire)) return false;
    const Table* table = current.load(std::memory_order_acquire);
    if (table == nullptr) return false;
    const std::optional<Value> value = FindGoverning(*table, pon, onu, sn);
    if (!value || version.load(std::memory_order_relaxed) != before) return std::nullopt;
    if (level >= 0 && level < kKnownLevels) return (*value >> level & 1) != 0;
    if ((*value & kOtherLevels) != 0) return std::nullopt;
    return false;
}

// ---- Changing ----

void TraceIndex::Reserve(bool has_sn) {
    Table* const old = current.load(std::memory_order_relaxed);
    const std::size_t more = has_sn ? 2 : 1;
    if (old != nullptr && (old->used + more) * kSlotsPerUse <= old->size) return;
    auto grown = std::make_unique<Table>(old == nullptr ? kFirstSizeLog2 : 64 - old->shift + 1);
    if (old != nullptr) {
        for (std::size_t place = 0; place < old->size; ++place) {
            const std::uint64_t word = old->heads[place].load(std::memory_order_relaxed);
            const std::uint64_t serial = old->serials[place].load(std::memory_order_relaxed);
            if (word != 0) grown->Put({word & Key::kMask, serial}, static_cast<Value>(word & ~Key::kMask));
        }
        grown->outgrown.reset(old);
    }
    current.store(grown.release(), std::memory_order_release);
}

void TraceIndex::Set(const Entry& entry, const std::set<int>& levels) {
    const Change change(*this);
    const Value value = ValueOf(levels);
    Table& table = *current.load(std::memory_order_relaxed);
    if (entry.sn != nullptr) table.Put(Key::OfSn(entry.pon, entry.sn), value);
    if (!entry.governs_numbers) return;
    if (entry.onu == kAny) has_wildcards.store(true, std::memory_order_release);
    table.Put(Key::OfNumbers(entry.pon, entry.onu), entry.sn == nullptr ? value | kWithoutSn : value);
}

void TraceIndex::Clear() {
    const Change change(*this);
    has_wildcards.store(false, std::memory_order_release);
    if (Table* table = current.load(std::memory_order_relaxed)) table->Clear();
}
