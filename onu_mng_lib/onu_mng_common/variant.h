/// A value of one of eleven types, and a byte buffer with a cursor.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_VARIANT_H

#include <cstring>
#include <string>

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/variant_type.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"

/// Holds one value of a `VariantType`, or nothing.
///
/// - A value: set it with `Copy`, `=` or `()`, convert it with `ResetType`, compare it, print it.
/// - A buffer: a BUFFER or STRING of fixed capacity and one cursor. `Append` writes at the cursor and
///   `Fetch` reads there, integers in network byte order; both move it forward. `Clear` and every new value
///   put it back to 0, and a copy starts at 0: what was appended is read from a copy.
/// - A record: `Serialize` writes type, length and value into such a buffer, `UnSerialize` reads them
///   back.
///
/// Scalars live in the object. Text and bytes live in a block of the memory pool that belongs to this object
/// alone; copying copies the block, moving takes it over.
///
/// Results are 0 or 0x800001f5. A failure is logged at level 13 with its cause, one line for each layer that
/// it passes; malformed text and a null argument of `Assign` are not logged. Where a new value cannot have
/// its block the object is empty afterwards unless the operation says otherwise. Nothing throws. Data and
/// texts given to an operation may lie in the object's own block.
///
/// Thread safety: one task at a time, also for reading, which moves the cursor. Nothing blocks, but
/// for what the log's sink and a terminal take.
class Variant {
public:
    /// As an `offset` of `Append` and `Fetch`: the cursor moves by the size of the value.
    static constexpr unsigned int kOffsetOfSize = 65535;

    /// Empty.
    Variant() = default;
    ~Variant() {
        if (IsBlock()) FreeBuffer();
    }

    /// What `Copy` of the same arguments makes of an empty object.
    template <typename T, RequireVariantScalar<T> = 0>
    Variant(T number) {
        SetScalar(number);
    }
    Variant(const char* text) { Copy(text); }
    Variant(const std::string& text) { Copy(text); }
    Variant(const char* data, unsigned int size) { Copy(data, size); }
    Variant(const Variant& src) { Copy(src); }
    /// What `Realloc` makes of an empty object.
    Variant(VariantType new_type, unsigned int size) { Realloc(new_type, size); }

    /// What copying gives, with the block taken over; `src` is left empty. An empty `src` is not logged.
    Variant(Variant&& src) noexcept;
    /// The same for assignment. An empty `src` is refused as `Copy` refuses it.
    Variant& operator=(Variant&& src) noexcept;

    // ---- Setting a value ----

    /// Takes a scalar; its C++ type says which. `long` stands for the integer of its width.
    template <typename T, RequireVariantScalar<T> = 0>
    void Copy(T number) {
        Reset();
        SetScalar(number);
    }
    /// Takes a text up to its first NUL as a STRING. Null changes nothing.
    void Copy(const char* text);
    void Copy(const std::string& text) { Copy(text.c_str()); }
    /// Takes `size` bytes as a BUFFER. Null `data` or a `size` of 0 changes nothing.
    void Copy(const char* data, unsigned int size);
    /// Takes the value of `src`; of a STRING only its text, without the room behind it. An empty `src` is
    /// refused with a log line and changes nothing.
    void Copy(const Variant& src);

    /// `variant = x`, `variant(x)` and `variant(data, size)` are `Copy`. Assigning an object to itself
    /// changes nothing.
    Variant& operator=(const Variant& src);
    template <typename X>
    auto operator=(const X& x) -> decltype(this->Copy(x), *this) {
        Copy(x);
        return *this;
    }
    template <typename X>
    auto operator()(const X& x) -> decltype(this->Copy(x)) {
        Copy(x);
    }
    void operator()(const char* data, unsigned int size) { Copy(data, size); }
    /// `Realloc`, with its result.
    unsigned int operator()(VariantType new_type, unsigned int size) { return Realloc(new_type, size); }

    /// Does what `Copy` does. @return 0.
    unsigned int Assign(const char* data, unsigned int size);

    /// Reads a value from bytes in network order: a scalar from as many bytes as its type has (`size` is not
    /// looked at), a STRING from `size` bytes, to which a NUL is added, a BUFFER from `size` bytes (0
    /// changes nothing). Any type above BUFFER changes nothing.
    /// @return 0, for a BUFFER that found no block too; 0x800001f5 when `data` is null (nothing
    ///         changes) and when there is no block for a STRING.
    unsigned int Assign(VariantType new_type, const char* data, unsigned int size);

    /// Makes a scalar of value 0, a STRING with room for `size` characters, or a BUFFER of `size` zero
    /// bytes.
    /// @return 0; 0x800001f5 for a type above BUFFER, a BUFFER of 0 bytes, and without a block: then
    ///         empty.
    unsigned int Realloc(VariantType new_type, unsigned int size);

    /// Makes the object empty.
    void Reset() {
        if (IsBlock()) FreeBuffer();
        Forget();
    }

    /// Zeroes a block in place and puts the cursor back to 0; type and capacity stay.
    void Clear();

    /// Converts the value in place. Scalars are cut to size (to BOOL: any bit set). A STRING becomes a
    /// BUFFER whose last byte is the NUL; a BUFFER becomes a STRING, which ends at its first NUL unless the
    /// last byte is one.
    /// @return 0; 0x800001f5 between a scalar and a block type, when either side is empty, and
    ///         without a block for a STRING: the value then stays as it was.
    unsigned int ResetType(VariantType new_type);

    // ---- Reading it ----

    VariantType GetType() const { return type; }
    bool IsEmpty() const { return type > VARIANT_TYPE_BUFFER; }
    /// The size of the value in bytes, of a block type the capacity: a STRING's NUL counts.
    unsigned int GetLen() const { return len; }
    /// The cursor.
    unsigned int GetPos() const { return pos; }
    /// The block of a STRING or BUFFER, valid until the value changes; null for any other type.
    const char* GetBuff() const { return IsBlock() ? value.buff : nullptr; }

    /// A scalar as 64 bits: CHAR and the unsigned types zero-extended, the signed ones sign-extended. Any
    /// other type gives 0 and a log line.
    unsigned long long GetValue() const;

    /// A total order: the empty Variant, then scalars by `GetValue` as unsigned numbers (-1 of a
    /// signed type is the largest), then blocks by length and content. A STRING counts up to its NUL.
    bool operator<(const Variant& other) const;
    bool operator==(const Variant& other) const;

    // ---- As text ----

    /// BOOL as True or False, integers of 8 and 16 bits in decimal, of 32 and 64 bits as 0x and lower-case
    /// hexadecimal, a BUFFER as 0x and two digits a byte. The empty text when empty or memory is short.
    std::string ToString() const;
    /// Writes what `ToString` gives for a scalar to the `kScalarTextSize` characters at `place`, those behind
    /// the text undefined and no NUL. @return the length of the text; 0 when this is no scalar.
    std::size_t ScalarToChars(char* place) const;
    static constexpr std::size_t kScalarTextSize = sizeof("0x123456789abcdef0") - 1;

    /// Reads a value from a text.
    ///
    /// Numbers as strtol and strtoul with base 0 and 32 bits read them, whatever follows, then cut to the
    /// type: no digits give 0, too large a number saturates, an unsigned one may have a minus sign. BUFFER,
    /// and STRING where the text begins with 0x, take hexadecimal text; a STRING then ends at the first NUL.
    /// A type above BUFFER, and "0x" for a BUFFER, change nothing.
    /// @return 0, for a value that found no block too; 0x800001f5 when hexadecimal text is malformed, is empty,
    ///         or there is no block to decode it in: nothing changes.
    unsigned int FromString(VariantType new_type, std::string text);

    /// Writes the value to the terminal `out` (a `vty*`), or to standard output when it is null: numbers in
    /// signed decimal and texts padded to 40 characters, a BUFFER as (0x) and two digits and a blank a byte,
    /// an empty object as a line that says so.
    void Print(void* out) const;

    // ---- As a buffer ----

    /// True when `data_len` bytes fit between cursor and end and the cursor may then move by `offset`, of a
    /// scalar too, to which nothing can be appended. A STRING's NUL is no room.
    bool IsEnough(unsigned int data_len, unsigned int offset) const {
        const unsigned int step = Step(data_len, offset);
        return step >= data_len && step <= Room();
    }

    /// Writes a value at the cursor: a scalar big-endian in its width, `size` bytes, or the value of `src`
    /// (of a STRING its text without the NUL). Then the cursor moves by `offset`, which is no less than the
    /// size; what lies between is left as it is.
    /// @return 0; 0x800001f5 when this is no buffer, has too little room, `data` is null or `src`
    ///         empty: then nothing changes.
    template <typename T, RequireVariantScalar<T> = 0>
    unsigned int Append(T number, unsigned int offset = kOffsetOfSize) {
        char* const place = Claim(sizeof(number), offset, Access::kAppend);
        if (place == nullptr) return ONU_MNG_FAILURE;
        VariantUtil::Store(place, number);
        return ONU_MNG_OK;
    }
    unsigned int Append(const char* data, unsigned int size, unsigned int offset = kOffsetOfSize);
    unsigned int Append(const Variant& src, unsigned int offset = kOffsetOfSize);
    /// Converts `src` itself to `new_type` first.
    /// @return as above; 0x800001f5 also when it cannot be converted.
    unsigned int Append(Variant& src, VariantType new_type, unsigned int offset = kOffsetOfSize);
    unsigned int Append(const Variant&, VariantType, unsigned int = kOffsetOfSize) = delete;

    /// Reads a value at the cursor: a scalar, `size` bytes, or a value of the type that `out` has; a block
    /// of `out` is filled from its start with min(its room, `offset`) bytes, a STRING keeping its NUL. Then
    /// the cursor moves by `offset`.
    /// @return 0; 0x800001f5 when this is no buffer, holds too little, or `out` is null or empty:
    ///         then nothing changes, `out` neither.
    template <typename T, RequireVariantScalar<T> = 0>
    unsigned int Fetch(T& number, unsigned int offset = kOffsetOfSize) const {
        const char* const place = Claim(sizeof(number), offset, Access::kFetch);
        if (place == nullptr) return ONU_MNG_FAILURE;
        number = VariantUtil::Load<T>(place);
        return ONU_MNG_OK;
    }
    unsigned int Fetch(char* out, unsigned int size, unsigned int offset = kOffsetOfSize) const;
    unsigned int Fetch(Variant& out, unsigned int offset = kOffsetOfSize) const;

    // ---- As a record: 1 byte type, 4 bytes length, the value as `Append` writes it ----

    /// Appends this value to the buffer `out` as a record.
    /// @return 0; 0x800001f5 for an empty value or too little room: the parts written before stay,
    ///         with the cursor behind them.
    unsigned int Serialize(Variant& out) const;

    /// Takes the value of the record at the cursor of the buffer `in` and moves that cursor by the record's
    /// length. A scalar takes as many bytes as its type has, whatever that length is. A record of a type
    /// above BUFFER, and a BUFFER of length 0, are skipped and change nothing.
    /// @return 0, for a BUFFER that found no block too; 0x800001f5 when type or length cannot be
    ///         fetched or the value is not there in full (this object then stays as it was), and when there
    ///         is no block for a STRING: the cursor then stands behind what was fetched, not behind the
    ///         value.
    unsigned int UnSerialize(const Variant& in);

private:
    enum class Access { kAppend, kFetch };

    static unsigned int Step(unsigned int size, unsigned int offset) {
        return offset == kOffsetOfSize ? size : offset;
    }

    bool IsScalar() const { return type < VARIANT_TYPE_STRING; }
    bool IsBlock() const { return type == VARIANT_TYPE_STRING || type == VARIANT_TYPE_BUFFER; }
    /// The bytes that count: of a STRING its text, else `len`.
    unsigned int ContentLen() const {
        return type == VARIANT_TYPE_STRING ? static_cast<unsigned int>(std::strlen(value.buff)) : len;
    }

    /// Makes a scalar of an object without a block.
    template <typename T>
    void SetScalar(T number) {
        type = VariantTypeOf<T>;
        len = sizeof(number);
        pos = 0;
        value.bits = 0;
        std::memcpy(&value, &number, sizeof(number));
    }
    template <typename T>
    T GetScalar() const {
        T number;
        std::memcpy(&number, &value, sizeof(number));
        return number;
    }

    /// Gives the old block back and takes one of a block type for `size` bytes (one more for a STRING), zero
    /// but for the bytes copied from `src` unless that is null. The object is empty on failure.
    unsigned int AllocBuffer(VariantType new_type, unsigned int size, const char* src);
    /// Gives the block of a block type back; all fields stay.
    void FreeBuffer();
    /// Makes the object empty without giving a block back.
    void Forget() {
        type = VARIANT_TYPE_NONE;
        len = 0;
        pos = 0;
        value.bits = 0;
    }
    /// Takes over the value and the block of `src`, which is left empty; of a STRING only the text counts.
    /// This object has no block.
    void Take(Variant& src);
    bool OwnsByte(const char* place) const;
    /// Makes a STRING of the `size` characters at `text`.
    unsigned int SetText(const char* text, unsigned int size);
    /// Decodes hexadecimal `text` into a STRING or BUFFER.
    unsigned int SetHex(VariantType new_type, const std::string& text);
    unsigned int ConvertScalar(VariantType new_type);
    unsigned int ConvertBlock(VariantType new_type);

    /// The bytes between cursor and end, a STRING's NUL not counted.
    unsigned int Room() const {
        const unsigned int end = type == VARIANT_TYPE_STRING ? len - 1 : len;
        return pos < end ? end - pos : 0;
    }
    /// True when this is a buffer with room for the value and the step; else one log line.
    bool Admits(unsigned int size, unsigned int offset, Access access) const {
        return (IsBlock() && IsEnough(size, offset)) || Refuse(size, offset, access);
    }
    /// The place at the cursor, which moves on; null, after a log line, when the value is not admitted.
    char* Claim(unsigned int size, unsigned int offset, Access access) const {
        if (!Admits(size, offset, access)) return nullptr;
        char* const place = value.buff + pos;
        pos += Step(size, offset);
        return place;
    }
    bool Refuse(unsigned int size, unsigned int offset, Access access) const;

    VariantType type = VARIANT_TYPE_NONE;
    unsigned int len = 0;
    mutable unsigned int pos = 0;
    union alignas(8) {
        unsigned long long bits; ///< all of it
        char* buff;              ///< the block of a block type; a scalar lies at the start of the union
    } value = {0};
};

static_assert(sizeof(Variant) == 24);

#endif
