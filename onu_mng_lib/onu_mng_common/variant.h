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
/// - As a value: `Copy`, `=` and `()` set it, `ResetType` converts it; it can be compared and printed.
/// - As a buffer: a BUFFER or STRING has a fixed capacity and one cursor. `Append` writes at the cursor and
///   `Fetch` reads there, integers in network byte order. Both move the cursor forward. `Clear` and every new
///   value set it to 0. A copy starts at 0, so a reader makes a copy to fetch the appended values.
/// - As a record: `Serialize` writes type, length and value into such a buffer, and `UnSerialize` reads them
///   back.
///
/// A scalar is stored in the object. Text and bytes are stored in a block of the memory pool that belongs to
/// this object alone. A copy gets its own block; a move takes the block over.
///
/// Results are 0 or 0x800001f5. A failure is logged at level 13 with its cause, one line for each layer that
/// it passes. Malformed text and a null argument of `Assign` are not logged. If there is no block for a new
/// value, the object is empty afterwards, unless the operation says otherwise. Nothing throws. Data and text
/// that are passed to an operation may lie in the object's own block.
///
/// Thread safety: one task at a time, even for reading, because reading moves the cursor. Nothing blocks,
/// except for as long as the log's sink or a terminal does.
class Variant {
public:
    /// The `offset` of `Append` and `Fetch` that moves the cursor by the size of the value.
    static constexpr unsigned int kOffsetOfSize = 65535;

    /// Makes an empty object.
    Variant() = default;
    ~Variant() {
        if (IsBlock()) FreeBuffer();
    }

    /// Do what `Copy` does with the same arguments on an empty object.
    template <typename T, RequireVariantScalar<T> = 0>
    Variant(T number) {
        SetScalar(number);
    }
    /// Do what `Copy` does with the same arguments on an empty object.
    Variant(const char* text) { Copy(text); }
    Variant(const std::string& text) { Copy(text); }
    Variant(const char* data, unsigned int size) { Copy(data, size); }
    Variant(const Variant& src) { Copy(src); }
    /// Does what `Realloc` does on an empty object.
    Variant(VariantType new_type, unsigned int size) { Realloc(new_type, size); }

    /// Takes over the value and the block of `src`, which is empty afterwards. An empty `src` is not logged.
    Variant(Variant&& src) noexcept;
    /// Does the same for an assignment. An empty `src` is refused, as `Copy` does.
    Variant& operator=(Variant&& src) noexcept;

    // ---- Setting a value ----

    /// Sets a scalar. Its C++ type determines the type; `long` counts as the integer of its width.
    template <typename T, RequireVariantScalar<T> = 0>
    void Copy(T number) {
        Reset();
        SetScalar(number);
    }
    /// Sets a STRING: the text up to its first NUL. Null changes nothing.
    void Copy(const char* text);
    void Copy(const std::string& text) { Copy(text.c_str()); }
    /// Sets a BUFFER of `size` bytes. Null `data` or a `size` of 0 changes nothing.
    void Copy(const char* data, unsigned int size);
    /// Copies the value of `src`; from a STRING only the text, without the room after it. An empty `src` is
    /// refused with a log line and changes nothing.
    void Copy(const Variant& src);

    /// `variant = x`, `variant(x)` and `variant(data, size)` do the same as `Copy`. The assignment of an
    /// object to itself changes nothing.
    Variant& operator=(const Variant& src);
    template <typename X>
    auto operator=(const X& x) -> decltype(this->Copy(x), *this) {
        Copy(x);
        return *this;
    }
    /// Does the same as `Copy`.
    template <typename X>
    auto operator()(const X& x) -> decltype(this->Copy(x)) {
        Copy(x);
    }
    /// Does the same as `Copy`.
    void operator()(const char* data, unsigned int size) { Copy(data, size); }
    /// Does the same as `Realloc` and returns its result.
    unsigned int operator()(VariantType new_type, unsigned int size) { return Realloc(new_type, size); }

    /// Does the same as `Copy`. @return 0.
    unsigned int Assign(const char* data, unsigned int size);

    /// Reads a value from bytes in network byte order. A scalar has as many bytes as its type (`size` is not
    /// used). A STRING has `size` bytes, and a NUL is added. A BUFFER has `size` bytes; 0 changes nothing.
    /// Any type above BUFFER changes nothing.
    /// @return 0, even if there is no block for a BUFFER; 0x800001f5 if `data` is null (nothing changes), and
    ///         if there is no block for a STRING.
    unsigned int Assign(VariantType new_type, const char* data, unsigned int size);

    /// Sets a scalar of value 0, a STRING with room for `size` characters, or a BUFFER of `size` zero bytes.
    /// @return 0; 0x800001f5 for a type above BUFFER, for a BUFFER of 0 bytes, and if there is no block: the
    ///         object is then empty.
    unsigned int Realloc(VariantType new_type, unsigned int size);

    /// Makes the object empty.
    void Reset() {
        if (IsBlock()) FreeBuffer();
        Forget();
    }

    /// Fills a block with zeros and sets the cursor to 0. Type and capacity stay.
    void Clear();

    /// Converts the value in place. A scalar is cut to the new size; as a BOOL it is true if any bit is set.
    /// A STRING becomes a BUFFER whose last byte is the NUL. A BUFFER becomes a STRING that ends at the first
    /// NUL, or keeps its size if its last byte is a NUL.
    /// @return 0; 0x800001f5 between a scalar and a block type, if one of the types is empty, and if there is
    ///         no block for a STRING: the value then stays as it was.
    unsigned int ResetType(VariantType new_type);

    // ---- Reading it ----

    /// Returns the type; `VARIANT_TYPE_NONE` if the object is empty.
    VariantType GetType() const { return type; }
    /// Returns whether the object has no value.
    bool IsEmpty() const { return type > VARIANT_TYPE_BUFFER; }
    /// Returns the size of the value in bytes; for a block type the capacity, including the NUL of a STRING.
    unsigned int GetLen() const { return len; }
    /// Returns the position of the cursor.
    unsigned int GetPos() const { return pos; }
    /// Returns the block of a STRING or BUFFER, which is valid until the value changes; null for any other
    /// type.
    const char* GetBuff() const { return IsBlock() ? value.buff : nullptr; }

    /// Returns a scalar as 64 bits: CHAR and the unsigned types are zero-extended, the signed ones
    /// sign-extended. Any other type gives 0 and a log line.
    unsigned long long GetValue() const;

    /// Compare in a total order: first the empty Variant, then scalars by `GetValue` as unsigned numbers (so
    /// -1 of a signed type is the largest), then blocks by length and content. A STRING counts up to its NUL.
    bool operator<(const Variant& other) const;
    bool operator==(const Variant& other) const;

    // ---- As text ----

    /// Returns the value as text: a BOOL as True or False; integers of 8 and 16 bits in decimal, of 32 and 64
    /// bits as 0x and lower-case hexadecimal; a BUFFER as 0x and two digits per byte. The text is empty if
    /// the object is empty or memory is short.
    std::string ToString() const;
    /// Writes the `ToString` text of a scalar to `place`, which has room for `kScalarTextSize` characters.
    /// Writes no NUL, and may overwrite the rest of the room.
    /// @return the length of the text; 0 if this is not a scalar.
    std::size_t ScalarToChars(char* place) const;
    static constexpr std::size_t kScalarTextSize = sizeof("0x123456789abcdef0") - 1;

    /// Reads a value from a text.
    ///
    /// Numbers are read like strtol and strtoul with base 0 and 32 bits, and then cut to the type: text
    /// without digits gives 0, a number that is too large saturates, an unsigned number may have a minus
    /// sign, and text after the number is ignored. A BUFFER is read from hexadecimal text, and so is a STRING
    /// if the text begins with 0x; it then ends at the first NUL. A type above BUFFER, and "0x" for a BUFFER,
    /// change nothing.
    /// @return 0, even if there is no block for the value; 0x800001f5 if hexadecimal text is malformed or
    ///         empty, or if there is no block to decode it: nothing changes.
    unsigned int FromString(VariantType new_type, std::string text);

    /// Writes the value to the terminal `out` (a `vty*`), or to standard output if `out` is null. Numbers are
    /// in signed decimal; numbers and texts are padded to 40 characters. A BUFFER is written as (0x) and two
    /// digits and a blank per byte. An empty object is written as a line that says so.
    void Print(void* out) const;

    // ---- As a buffer ----

    /// Returns whether `data_len` bytes fit between the cursor and the end, and the cursor may then move by
    /// `offset`. The NUL of a STRING does not count as room. Does not check that this is a buffer: for a
    /// scalar it returns true if the scalar is large enough, but nothing can be appended to it.
    bool IsEnough(unsigned int data_len, unsigned int offset) const {
        const unsigned int step = Step(data_len, offset);
        return step >= data_len && step <= Room();
    }

    /// Write a value at the cursor: a scalar big-endian in its width, `size` bytes, or the value of `src`
    /// (from a STRING the text without the NUL). Then the cursor moves by `offset`, which must not be less
    /// than the size. The bytes in between stay as they are.
    /// @return 0; 0x800001f5 if this is not a buffer or has too little room, if `data` is null, or if `src`
    ///         is empty: then nothing changes.
    template <typename T, RequireVariantScalar<T> = 0>
    unsigned int Append(T number, unsigned int offset = kOffsetOfSize) {
        char* const place = Claim(sizeof(number), offset, Access::kAppend);
        if (place == nullptr) return ONU_MNG_FAILURE;
        VariantUtil::Store(place, number);
        return ONU_MNG_OK;
    }
    /// Append bytes, or the value of `src`, in the same way.
    unsigned int Append(const char* data, unsigned int size, unsigned int offset = kOffsetOfSize);
    unsigned int Append(const Variant& src, unsigned int offset = kOffsetOfSize);
    /// First converts `src` itself to `new_type`, and then appends it.
    /// @return as above; 0x800001f5 also if `src` cannot be converted.
    unsigned int Append(Variant& src, VariantType new_type, unsigned int offset = kOffsetOfSize);
    unsigned int Append(const Variant&, VariantType, unsigned int = kOffsetOfSize) = delete;

    /// Read a value at the cursor: a scalar, `size` bytes, or a value of the type of `out`. If `out` has a
    /// block, it is filled from its start with min(its room, `offset`) bytes, and a STRING keeps its NUL.
    /// Then the cursor moves by `offset`.
    /// @return 0; 0x800001f5 if this is not a buffer or has too few bytes, or if `out` is null or empty: then
    ///         nothing changes, not even `out`.
    template <typename T, RequireVariantScalar<T> = 0>
    unsigned int Fetch(T& number, unsigned int offset = kOffsetOfSize) const {
        const char* const place = Claim(sizeof(number), offset, Access::kFetch);
        if (place == nullptr) return ONU_MNG_FAILURE;
        number = VariantUtil::Load<T>(place);
        return ONU_MNG_OK;
    }
    /// Read bytes, or a value of the type of `out`, in the same way.
    unsigned int Fetch(char* out, unsigned int size, unsigned int offset = kOffsetOfSize) const;
    unsigned int Fetch(Variant& out, unsigned int offset = kOffsetOfSize) const;

    // ---- As a record: 1 byte type, 4 bytes length, the value as `Append` writes it ----

    /// Appends this value to the buffer `out` as a record.
    /// @return 0; 0x800001f5 for an empty value or too little room: the parts that were written stay, and the
    ///         cursor is after them.
    unsigned int Serialize(Variant& out) const;

    /// Reads the value of the record at the cursor of the buffer `in`, and moves that cursor by the length of
    /// the record. A scalar is read from as many bytes as its type has, even if the length says otherwise. A
    /// record of a type above BUFFER, and a BUFFER of length 0, are skipped and change nothing.
    /// @return 0, even if there is no block for a BUFFER; 0x800001f5 if the record is not complete (this
    ///         object then stays as it was), and if there is no block for a STRING: the cursor is then after
    ///         the parts that were read, but before the value.
    unsigned int UnSerialize(const Variant& in);

private:
    enum class Access { kAppend, kFetch };

    static unsigned int Step(unsigned int size, unsigned int offset) {
        return offset == kOffsetOfSize ? size : offset;
    }

    bool IsScalar() const { return type < VARIANT_TYPE_STRING; }
    bool IsBlock() const { return type == VARIANT_TYPE_STRING || type == VARIANT_TYPE_BUFFER; }
    /// Returns the length of the contents: of a STRING its text, else `len`.
    unsigned int ContentLen() const {
        return type == VARIANT_TYPE_STRING ? static_cast<unsigned int>(std::strlen(value.buff)) : len;
    }

    /// Sets a scalar. The object has no block.
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

    /// Gives the old block back and takes one for `size` bytes, and one more for the NUL of a STRING. It is
    /// filled from `src`, or with zeros if `src` is null. On failure the object is empty.
    unsigned int AllocBuffer(VariantType new_type, unsigned int size, const char* src);
    /// Gives the block of a block type back. All fields stay.
    void FreeBuffer();
    /// Makes the object empty without giving a block back.
    void Forget() {
        type = VARIANT_TYPE_NONE;
        len = 0;
        pos = 0;
        value.bits = 0;
    }
    /// Takes over the value and the block of `src`, which is empty afterwards. From a STRING only the text
    /// counts. This object has no block.
    void Take(Variant& src);
    bool OwnsByte(const char* place) const;
    /// Sets a STRING of the `size` characters at `text`.
    unsigned int SetText(const char* text, unsigned int size);
    /// Sets a STRING or BUFFER from hexadecimal `text`.
    unsigned int SetHex(VariantType new_type, const std::string& text);
    unsigned int ConvertScalar(VariantType new_type);
    unsigned int ConvertBlock(VariantType new_type);

    /// Returns the bytes between the cursor and the end, without the NUL of a STRING.
    unsigned int Room() const {
        const unsigned int end = type == VARIANT_TYPE_STRING ? len - 1 : len;
        return pos < end ? end - pos : 0;
    }
    /// Returns whether this is a buffer with room for the value and the step. If it is not a buffer or has
    /// too little room, writes one log line.
    bool Admits(unsigned int size, unsigned int offset, Access access) const {
        return (IsBlock() && IsEnough(size, offset)) || Refuse(size, offset, access);
    }
    /// Returns the place at the cursor and moves the cursor; null, after a log line, if the value does not
    /// fit.
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
        unsigned long long bits; ///< the whole union
        char* buff;              ///< the block of a block type. A scalar is at the start of the union
    } value = {0};
};

static_assert(sizeof(Variant) == 24);

#endif
