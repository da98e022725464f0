#include "onu_mng_lib/onu_mng_common/serializable.h"

#include "onu_mng_lib/onu_mng_common/result.h"

Serializable::~Serializable() = default;

unsigned int Serializable::Serialize(void*, unsigned int*) {
    return ONU_MNG_OK;
}

unsigned int Serializable::Serialize(Variant&) {
    return ONU_MNG_OK;
}

unsigned int Serializable::UnSerialize(void*, unsigned int) {
    return ONU_MNG_OK;
}

unsigned int Serializable::UnSerialize(const Variant&) {
    return ONU_MNG_OK;
}
