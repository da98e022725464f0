/// Variant as a byte buffer and as a record.

#include "onu_mng_lib/onu_mng_common/variant.h"

#include <algorithm>

#include "onu_mng_lib/onu_mng_common/log_failure.h"
#include "onu_mng_platform/ulog.h"

bool Variant::Refuse(unsigned int size, unsigned int offset, Access access) const {
    if (!IsBlock()) {
        LogFailure(access == Access::kAppend ? "Current variant is not buffer, not support Append\r\n"
                                             : "Current variant is not buffer, not support getVal\r\n");
        return false;
    }
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "Not enough space left, var len %d, buf pos %d, data len %d, offset %d\r\n", len, pos, size,
               Step(size, offset));
    return false;
}

// ---- Appending and fetching; source and target overlap if a buffer is appended to itself ----

unsigned int Variant::Append(const char* data, unsigned int size, unsigned int offset) {
    if (!Admits(size, offset, Access::kAppend)) return ONU_MNG_FAILURE;
    if (data == nullptr) return LogFailure("append buffer is NULL \r\n");
    std::memmove(value.buff + pos, data, size);
    pos += Step(size, offset);
    return ONU_MNG_OK;
}

unsigned int Variant::Append(const Variant& src, unsigned int offset) {
    if (src.IsBlock()) return Append(src.value.buff, src.ContentLen(), offset);
    unsigned int result = ONU_MNG_FAILURE;
    const bool is_scalar = VariantScalars::Visit(src.type, [this, &src, &result, offset](auto zero) {
        result = Append(src.GetScalar<decltype(zero)>(), offset);
    });
    if (!is_scalar)
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "invalid source variant when append , type %d, buff %p, len %d\r\n", src.type,
                   static_cast<const void*>(src.GetBuff()), src.len);
    return result;
}

unsigned int Variant::Append(Variant& src, VariantType new_type, unsigned int offset) {
    if (src.ResetType(new_type) == ONU_MNG_OK) return Append(src, offset);
    ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
               "var type %d is conflict with append type %d \r\n", src.type, new_type);
    return ONU_MNG_FAILURE;
}

unsigned int Variant::Fetch(char* out, unsigned int size, unsigned int offset) const {
    if (!Admits(size, offset, Access::kFetch)) return ONU_MNG_FAILURE;
    if (out == nullptr) return LogFailure("fetch buffer is NULL \r\n");
    std::memmove(out, value.buff + pos, size);
    pos += Step(size, offset);
    return ONU_MNG_OK;
}

unsigned int Variant::Fetch(Variant& out, unsigned int offset) const {
    if (out.IsBlock()) {
        const unsigned int capacity = out.type == VARIANT_TYPE_STRING ? out.len - 1 : out.len;
        return Fetch(out.value.buff, std::min(capacity, offset), offset);
    }
    unsigned int result = ONU_MNG_FAILURE;
    const bool is_scalar = VariantScalars::Visit(out.type, [this, &out, &result, offset](auto number) {
        result = Fetch(number, offset);
        if (result == ONU_MNG_OK) out.SetScalar(number);
    });
    if (!is_scalar)
        ulogPrintf(onu_mng_system_get_log_module(), ONU_MNG_LOG_ERROR,
                   "invalid source variant when fetch , type %d, buff %p, len %d\r\n", out.type,
                   static_cast<const void*>(out.GetBuff()), out.len);
    return result;
}

// ---- Records ----

unsigned int Variant::Serialize(Variant& out) const {
    const unsigned int type_result = out.Append(static_cast<unsigned char>(type));
    if (type_result != ONU_MNG_OK) return type_result;
    const unsigned int len_result = out.Append(ContentLen());
    if (len_result != ONU_MNG_OK) return len_result;
    return out.Append(*this);
}

unsigned int Variant::UnSerialize(const Variant& in) {
    unsigned char record_type = 0;
    unsigned int record_len = 0;
    if (in.Fetch(record_type) != ONU_MNG_OK || in.Fetch(record_len) != ONU_MNG_OK) return ONU_MNG_FAILURE;
    const VariantType new_type = static_cast<VariantType>(record_type);
    const unsigned int needed = std::max(record_len, VariantScalars::WidthOf(new_type));
    if (in.len - in.pos < needed) {
        in.Refuse(needed, kOffsetOfSize, Access::kFetch);
        return ONU_MNG_FAILURE;
    }
    const unsigned int behind = in.pos + record_len;
    const char* const block = in.value.buff;
    const unsigned int result = Assign(new_type, in.value.buff + in.pos, record_len);
    if (result != ONU_MNG_OK) return result;
    if (in.GetBuff() == block) in.pos = behind; // `in` has a new block if it is this Variant
    return ONU_MNG_OK;
}
