#include "onu_mng_lib/onu_mng_obj.h"

#include "onu_mng_lib/onu_mng_obj_cinterface.h"

OnuNo::OnuNo(unsigned short pon, unsigned short onu, const unsigned char* sn) {
    (*this)(pon, onu, sn);
}

OnuNo::OnuNo(const OnuNo& other) {
    *this = other;
}

OnuNo& OnuNo::operator=(const OnuNo& other) {
    if (this != &other) (*this)(other.pon_no, other.onu_id, other.GetSn());
    return *this;
}

void OnuNo::operator()(unsigned short pon, unsigned short onu, const unsigned char* sn) {
    pon_no = pon;
    onu_id = onu;
    if (sn == nullptr)
        onu_sn.Reset();
    else
        onu_sn.Assign(VARIANT_TYPE_BUFFER, reinterpret_cast<const char*>(sn), ONU_MNG_SN_SIZE);
}

bool OnuNo::operator<(const OnuNo& other) const {
    if (pon_no != other.pon_no) return pon_no < other.pon_no;
    if (HasSn() != other.HasSn()) return other.HasSn();
    return HasSn() ? onu_sn < other.onu_sn : onu_id < other.onu_id;
}

bool OnuNo::operator==(const OnuNo& other) const {
    if (pon_no != other.pon_no || HasSn() != other.HasSn()) return false;
    return HasSn() ? onu_sn == other.onu_sn : onu_id == other.onu_id;
}
