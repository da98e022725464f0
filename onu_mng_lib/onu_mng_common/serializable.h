/// The base class of objects that can be written to bytes or to a `Variant`, and read back.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_SERIALIZABLE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_SERIALIZABLE_H

class Variant;

/// A derived class overrides the forms that it supports: raw bytes, a `Variant`, or both. A result of 0 means
/// success. The base versions do nothing and return 0.
class Serializable {
public:
    virtual ~Serializable();

    /// Writes the object to `buf` and stores the number of bytes in `len`. The base version does not change
    /// `len`.
    virtual unsigned int Serialize(void* buf, unsigned int* len);
    /// Writes the object into `value`.
    virtual unsigned int Serialize(Variant& value);

    /// Reads the object from the `len` bytes at `buf`.
    virtual unsigned int UnSerialize(void* buf, unsigned int len);
    /// Reads the object from `value`.
    virtual unsigned int UnSerialize(const Variant& value);
};

#endif
