/// Compares ONU identities, and serial numbers and MAC addresses from text, with a second implementation.
#ifndef ONU_MNG_TESTS_SUPPORT_IDENTITY_RULES_H
#define ONU_MNG_TESTS_SUPPORT_IDENTITY_RULES_H

#include <gtest/gtest.h>

#include <cctype>
#include <string>
#include <tuple>
#include <vector>

#include "onu_mng_lib/onu_mng_common/result.h"
#include "onu_mng_lib/onu_mng_obj.h"
#include "onu_mng_lib/onu_mng_obj_cinterface.h"
#include "tests/support/seeded.h"

/// The fields of an identity in the order in which they are compared.
inline auto OrderOf(const OnuNo& onu) {
    const bool has_sn = onu.HasSn();
    const auto* sn = reinterpret_cast<const char*>(onu.GetSn());
    return std::make_tuple(onu.pon_no, has_sn, has_sn ? 0 : onu.onu_id,
                           has_sn ? std::string(sn, ONU_MNG_SN_SIZE) : std::string());
}

/// The range is small, so equal identities occur.
inline OnuNo AnyOnu(Choices& random) {
    unsigned char sn[ONU_MNG_SN_SIZE] = {};
    sn[random.Below(8)] = static_cast<unsigned char>(random.Below(3) * 127);
    const auto number = [&random] { return static_cast<unsigned short>(random.Below(3) - 1); };
    return OnuNo(number(), number(), random.Below(3) == 0 ? nullptr : sn);
}

inline void CompareTwoOnus(Choices& random) {
    const OnuNo a = AnyOnu(random), b = AnyOnu(random);
    EXPECT_EQ(a < b, OrderOf(a) < OrderOf(b));
    EXPECT_EQ(a == b, OrderOf(a) == OrderOf(b));
    EXPECT_EQ(a != b, OrderOf(a) != OrderOf(b));
}

/// The bytes that a serial number or a MAC address stands for. They are empty if it is malformed.
inline std::string BytesOfIdentity(const std::string& text) {
    const bool is_serial = text.size() > 4 && text[4] == '-';
    const std::string digits = is_serial ? text.substr(5) : text.substr(0, 12);
    if (digits.size() != (is_serial ? 8 : 12)) return {};
    std::string bytes = is_serial ? text.substr(0, 4) : std::string();
    for (const char digit : digits)
        if (std::isxdigit(static_cast<unsigned char>(digit)) == 0) return {};
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

/// The text is on the heap at its exact size, so that a sanitizer sees a read past its end.
inline void ConvertIdentity(const std::string& text) {
    std::vector<unsigned char> exact(text.c_str(), text.c_str() + text.size() + 1);
    const std::string bytes = BytesOfIdentity(text);
    unsigned char out[ONU_MNG_SN_SIZE] = {};
    EXPECT_EQ(bytes.empty() ? ONU_MNG_BAD_TEXT : ONU_MNG_OK,
              onu_mng_convert_sn_or_mac_format(exact.data(), out))
        << text;
    EXPECT_EQ(bytes, std::string(out, out + bytes.size())) << text;
}

#endif
