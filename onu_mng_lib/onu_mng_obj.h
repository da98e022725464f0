/// The identity of one ONU.
#ifndef ONU_MNG_LIB_ONU_MNG_OBJ_H
#define ONU_MNG_LIB_ONU_MNG_OBJ_H

#include "onu_mng_lib/onu_mng_common/variant.h"

/// A PON port number, an ONU id on that port and, optionally, the ONU's 8-byte serial number.
///
/// A plain value without a lock. A serial number takes a block of the library's pool. If the pool has none,
/// the identity has no serial number; `HasSn` tells.
///
/// Identities are ordered and compared by the PON port first. On one port, identities without a serial number
/// come first, in the order of their ONU ids. Those with a serial number follow, in the order of the serial
/// numbers; their ONU ids do not count.
class OnuNo {
public:
    /// The number of a PON port or ONU that is not set.
    static constexpr unsigned short kNotSet = 0xFFFF;

    OnuNo() = default;
    /// Makes an identity without a serial number.
    OnuNo(unsigned short pon, unsigned short onu) : pon_no(pon), onu_id(onu) {}
    /// Makes an identity. `sn` is null, or 8 bytes that are copied.
    OnuNo(unsigned short pon, unsigned short onu, const unsigned char* sn);
    OnuNo(const OnuNo& other);
    OnuNo& operator=(const OnuNo& other);

    /// Set the identity as the constructors do.
    void operator()(unsigned short pon, unsigned short onu) { (*this)(pon, onu, nullptr); }
    void operator()(unsigned short pon, unsigned short onu, const unsigned char* sn);

    /// Makes the identity empty.
    void Reset() { (*this)(kNotSet, kNotSet); }

    /// Returns false only if the identity is empty.
    bool IsValid() const { return pon_no != kNotSet || onu_id != kNotSet || HasSn(); }
    /// Returns whether the identity has a serial number.
    bool HasSn() const { return !onu_sn.IsEmpty(); }
    /// Returns the 8 bytes of the serial number, which are valid until it changes; null if there is none.
    const unsigned char* GetSn() const { return reinterpret_cast<const unsigned char*>(onu_sn.GetBuff()); }

    /// Compare by the order above. They do not allocate.
    bool operator<(const OnuNo& other) const;
    bool operator==(const OnuNo& other) const;
    bool operator!=(const OnuNo& other) const { return !(*this == other); }

    unsigned short pon_no = kNotSet; ///< the PON port, from 1
    unsigned short onu_id = kNotSet; ///< the ONU on this port
    Variant onu_sn;                  ///< empty, or a BUFFER of 8 bytes
};

#endif
