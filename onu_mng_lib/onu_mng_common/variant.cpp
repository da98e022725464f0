#include "onu_mng_lib/onu_mng_common/variant.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "onu_mng_lib/onu_mng_common/mem_mgr.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/ulog.h"

namespace {

/// The source file that the pool's views show for the blocks of Variants.
constexpr char kThisFile[] = "onu_mng_lib/onu_mng_common/variant.cpp";

/// The length of a text, limited to 32 bits. No block can be allocated for the limit, so longer texts fail.
unsigned int TextLen(const char* text) {
    return static_cast<unsigned int>(
        std::min<std::size_t>(std::strlen(text), std::numeric_limits<unsigned int>::max()));
}

} // namespace

// ---- The block ----

unsigned int Variant::AllocBuffer(VariantType new_type, unsigned int size, const char* src) {
    Variant old; // keeps the old block alive if `src` points into it
    if (OwnsByte(src)) old.Take(*this);
    Reset();
    const unsigned int block_size = size + (new_type == VARIANT_TYPE_STRING ? 1 : 0);
    const unsigned int written = src != nullptr ? size : 0;
    void* const block = block_size < size ? nullptr
                                          : MemoryAllocator::GetInstance()->MemAllocUnfilled(
                                                block_size, written, kThisFile, "AllocBuffer", __LINE__);
    if (block == nullptr) {
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "AllocBuffer failed. type %d, len %d \r\n", new_type, block_size);
        return ONU_MNG_FAILURE;
    }
    if (written != 0) std::memcpy(block, src, written);
    type = new_type;
    len = block_size;
    value.buff = static_cast<char*>(block);
    return ONU_MNG_OK;
}

void Variant::FreeBuffer() {
    MemoryAllocator::GetInstance()->MemFree(value.buff, len, kThisFile, "FreeBuffer", __LINE__);
}

bool Variant::OwnsByte(const char* place) const {
    return IsBlock() &&
           reinterpret_cast<std::uintptr_t>(place) - reinterpret_cast<std::uintptr_t>(value.buff) < len;
}

void Variant::Take(Variant& src) {
    type = src.type;
    len = src.len;
    pos = 0;
    value = src.value;
    src.Forget();
    if (type == VARIANT_TYPE_STRING) len = ContentLen() + 1;
}

// ---- Setting a value ----

Variant::Variant(Variant&& src) noexcept {
    Take(src);
}

Variant& Variant::operator=(Variant&& src) noexcept {
    if (src.IsEmpty()) return *this = src;
    if (this == &src) return *this;
    Reset();
    Take(src);
    return *this;
}

Variant& Variant::operator=(const Variant& src) {
    if (this != &src) Copy(src);
    return *this;
}

void Variant::Copy(const char* text) {
    if (text != nullptr) SetText(text, TextLen(text));
}

unsigned int Variant::SetText(const char* text, unsigned int size) {
    if (AllocBuffer(VARIANT_TYPE_STRING, size, text) == ONU_MNG_OK) return ONU_MNG_OK;
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "AllocBuffer for string failed. len %d \r\n", size);
    return ONU_MNG_FAILURE;
}

void Variant::Copy(const char* data, unsigned int size) {
    if (data == nullptr || size == 0) return;
    if (AllocBuffer(VARIANT_TYPE_BUFFER, size, data) == ONU_MNG_OK) return;
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "AllocBuffer for buffer failed. len %d \r\n", size);
}

void Variant::Copy(const Variant& src) {
    if (src.type == VARIANT_TYPE_STRING) return Copy(src.value.buff);
    if (src.type == VARIANT_TYPE_BUFFER) return Copy(src.value.buff, src.len);
    if (src.IsEmpty()) {
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "invalid source variant when copy , type %d, buff %p, len %d\r\n", src.type,
                   static_cast<const void*>(src.GetBuff()), src.len);
        return;
    }
    if (IsBlock()) FreeBuffer();
    type = src.type;
    len = src.len;
    pos = 0;
    value = src.value;
}

unsigned int Variant::Assign(const char* data, unsigned int size) {
    Copy(data, size);
    return ONU_MNG_OK;
}

unsigned int Variant::Assign(VariantType new_type, const char* data, unsigned int size) {
    if (data == nullptr) return ONU_MNG_FAILURE;
    if (new_type == VARIANT_TYPE_STRING) return SetText(data, size);
    if (new_type == VARIANT_TYPE_BUFFER) return Assign(data, size);
    VariantScalars::Visit(new_type,
                          [this, data](auto zero) { Copy(VariantUtil::Load<decltype(zero)>(data)); });
    return ONU_MNG_OK;
}

unsigned int Variant::Realloc(VariantType new_type, unsigned int size) {
    Reset();
    if (VariantScalars::Visit(new_type, [this](auto zero) { SetScalar(zero); })) return ONU_MNG_OK;
    if (new_type > VARIANT_TYPE_BUFFER) {
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "invalid source variant type: %d, Realloc\r\n", new_type);
        return ONU_MNG_FAILURE;
    }
    if (AllocBuffer(new_type, size, nullptr) == ONU_MNG_OK) return ONU_MNG_OK;
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "AllocBuffer in Realloc failed. type %d, len %d \r\n", new_type, size);
    return ONU_MNG_FAILURE;
}

void Variant::Clear() {
    if (IsBlock()) std::memset(value.buff, 0, len);
    pos = 0;
}

// ---- Converting ----

unsigned int Variant::ResetType(VariantType new_type) {
    if (new_type == type) return ONU_MNG_OK;
    const bool to_scalar = new_type < VARIANT_TYPE_STRING;
    const bool to_block = !to_scalar && new_type <= VARIANT_TYPE_BUFFER;
    if (IsScalar() && to_scalar) return ConvertScalar(new_type);
    if (IsBlock() && to_block) return ConvertBlock(new_type);
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "current type %d is conflict with type %d \r\n", type, new_type);
    return ONU_MNG_FAILURE;
}

unsigned int Variant::ConvertScalar(VariantType new_type) {
    const unsigned long long bits = GetValue();
    VariantScalars::Visit(new_type,
                          [this, bits](auto zero) { SetScalar(static_cast<decltype(zero)>(bits)); });
    return ONU_MNG_OK;
}

unsigned int Variant::ConvertBlock(VariantType new_type) {
    if (new_type == VARIANT_TYPE_BUFFER || value.buff[len - 1] == '\0') {
        type = new_type;
        return ONU_MNG_OK;
    }
    const char* const end = std::find(value.buff, value.buff + len, '\0');
    Variant text;
    if (text.SetText(value.buff, static_cast<unsigned int>(end - value.buff)) != ONU_MNG_OK)
        return ONU_MNG_FAILURE;
    Reset();
    Take(text);
    return ONU_MNG_OK;
}

unsigned long long Variant::GetValue() const {
    unsigned long long bits = 0;
    const bool is_scalar = VariantScalars::Visit(type, [this, &bits](auto zero) {
        using T = decltype(zero);
        using Widened = std::conditional_t<std::is_same_v<T, char>, unsigned char, T>;
        bits = static_cast<unsigned long long>(GetScalar<Widened>());
    });
    if (!is_scalar)
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "invalid source variant type: %d, GetValue\r\n", type);
    return bits;
}

// ---- Comparing ----

bool Variant::operator<(const Variant& other) const {
    if (other.IsEmpty()) return false;
    if (IsEmpty()) return true;
    if (IsScalar() && other.IsScalar()) return GetValue() < other.GetValue();
    if (IsScalar() || other.IsScalar()) return IsScalar();
    const unsigned int size = ContentLen();
    const unsigned int other_size = other.ContentLen();
    if (size != other_size) return size < other_size;
    return std::memcmp(value.buff, other.value.buff, size) < 0;
}

bool Variant::operator==(const Variant& other) const {
    if (IsEmpty() || other.IsEmpty()) return IsEmpty() && other.IsEmpty();
    if (IsScalar() && other.IsScalar()) return GetValue() == other.GetValue();
    if (IsScalar() || other.IsScalar()) return false;
    const unsigned int size = ContentLen();
    return size == other.ContentLen() && std::memcmp(value.buff, other.value.buff, size) == 0;
}
