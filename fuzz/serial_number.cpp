// Serial numbers and MAC addresses from text, and the order of identities.

#include <gtest/gtest.h>

#include <cctype>
#include <cstring>
#include <tuple>

#include "fuzz/input.h"
#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_obj.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"

namespace {

/// The bytes that a text means; nothing for one that is malformed.
std::string Meaning(const std::string& text) {
    const bool is_serial = text.size() > 4 && text[4] == '-';
    const std::string digits = is_serial ? text.substr(5) : text.substr(0, 12);
    if (digits.size() != (is_serial ? 8 : 12)) return {};
    std::string bytes = is_serial ? text.substr(0, 4) : std::string();
    for (std::size_t i = 0; i < digits.size(); ++i)
        if (std::isxdigit(static_cast<unsigned char>(digits[i])) == 0) return {};
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

OnuNo AnyOnu(FuzzInput& input) {
    unsigned char sn[ONU_MNG_SN_SIZE] = {};
    sn[input.Below(8)] = static_cast<unsigned char>(input.Below(3) * 127);
    const auto number = [&input] { return static_cast<unsigned short>(input.Below(3) - 1); };
    return OnuNo(number(), number(), input.Below(3) == 0 ? nullptr : sn);
}

auto Key(const OnuNo& onu) {
    std::string sn(onu.HasSn() ? std::string(reinterpret_cast<const char*>(onu.GetSn()), ONU_MNG_SN_SIZE)
                               : "");
    return std::make_tuple(onu.pon_no, onu.HasSn(), onu.HasSn() ? 0 : onu.onu_id, sn);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const OnuNo a = AnyOnu(input), b = AnyOnu(input);
    EXPECT_EQ(a < b, Key(a) < Key(b));
    EXPECT_EQ(a == b, Key(a) == Key(b));

    std::string text = input.Until('\0');
    const std::string meaning = Meaning(text);
    unsigned char out[ONU_MNG_SN_SIZE] = {};
    const unsigned int ret =
        onu_mng_convert_sn_or_mac_format(reinterpret_cast<unsigned char*>(text.data()), out);
    EXPECT_EQ(ret, meaning.empty() ? ONU_MNG_BAD_TEXT : ONU_MNG_OK) << text;
    EXPECT_EQ(0, std::memcmp(out, meaning.data(), meaning.size())) << text;
    return 0;
}
