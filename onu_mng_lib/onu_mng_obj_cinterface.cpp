#include "onu_mng_lib/onu_mng_obj_cinterface.h"

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_common/variant_util.h"
#include "onu_mng_platform/bep.h"
#include "onu_mng_platform/cutil.h"

namespace {

constexpr int kVendorIdSize = 4;
constexpr int kVendorNumberSize = 4;
constexpr int kSerialTextSize = 13;

/// Converts two digits. Does not read the second if the first is not a digit, so it never reads past the end
/// of a text.
bool ConvertByte(const char* digits, unsigned char& byte) {
    char high = 0;
    char low = 0;
    if (CUtil::ConvertHexChar(digits[0], &high) != 0 || CUtil::ConvertHexChar(digits[1], &low) != 0)
        return false;
    byte = static_cast<unsigned char>(high * 16 + low);
    return true;
}

bool HasSerialForm(const char* text) {
    for (int position = 0; position < kVendorIdSize; ++position)
        if (text[position] == '\0') return false;
    return text[kVendorIdSize] == '-';
}

unsigned int ConvertSerial(const char* text, unsigned char* out) {
    if (bep_StrLen(text) != kSerialTextSize) return ONU_MNG_BAD_TEXT;
    bep_memCpyEx(out, text, kVendorIdSize);
    unsigned char number[kVendorNumberSize];
    for (int k = 0; k < kVendorNumberSize; ++k)
        if (!ConvertByte(text + kVendorIdSize + 1 + 2 * k, number[k])) return ONU_MNG_BAD_TEXT;
    bep_memCpyEx(out + kVendorIdSize, number, kVendorNumberSize);
    return ONU_MNG_OK;
}

unsigned int ConvertMac(const char* text, unsigned char* out) {
    for (int k = 0; k < ONU_MNG_MAC_SIZE; ++k)
        if (!ConvertByte(text + 2 * k, out[k])) return ONU_MNG_BAD_TEXT;
    return ONU_MNG_OK;
}

} // namespace

unsigned int onu_mng_convert_sn_or_mac_format(unsigned char* text, unsigned char* out) {
    if (text == nullptr || out == nullptr) return ONU_MNG_NULL_ARGUMENT;
    const char* characters = reinterpret_cast<const char*>(text);
    return HasSerialForm(characters) ? ConvertSerial(characters, out) : ConvertMac(characters, out);
}

unsigned long long onu_mng_get_vendor_specific_by_mac(unsigned char* sn) {
    return sn == nullptr ? 0 : VariantUtil::GetUint(reinterpret_cast<const char*>(sn + kVendorIdSize));
}
