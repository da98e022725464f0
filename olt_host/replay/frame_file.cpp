#include "olt_host/replay/frame_file.h"

#include <algorithm>

#include "onu_mng_lib/onu_mng_common/variant_util.h"
#include "onu_mng_platform/cutil.h"

namespace olt_host {

bool FrameFile::Next() {
    std::string text;
    do {
        if (!std::getline(in, text)) return false;
        ++line;
        VariantUtil::Trim(text);
        text.erase(std::min(text.find_first_of("\t#"), text.size()));
        VariantUtil::Trim(text);
    } while (text.empty());

    bytes.assign(text.size() / 2, '\0');
    auto room = static_cast<unsigned int>(bytes.size());
    is_hexadecimal = CUtil::CovertHexStringToBytes(text.c_str(), bytes.data(), &room) == 0;
    bytes.resize(is_hexadecimal ? room : 0);
    return true;
}

} // namespace olt_host
