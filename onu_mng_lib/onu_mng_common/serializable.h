/// The base of objects that can write themselves out and read themselves back.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_SERIALIZABLE_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_SERIALIZABLE_H

class Variant;

/// A derived class overrides the forms it supports: raw bytes, a `Variant`, or both. Results are 0 for
/// success. The base versions do nothing and return 0.
class Serializable {
public:
    virtual ~Serializable();

    /// Writes the object to `buf` and reports the number of bytes through `len`, which the base version
    /// leaves as it was.
    virtual unsigned int Serialize(void* buf, unsigned int* len);
    /// Writes the object into `value`.
    virtual unsigned int Serialize(Variant& value);

    /// Reads the object from the `len` bytes at `buf`.
    virtual unsigned int UnSerialize(void* buf, unsigned int len);
    /// Reads the object from `value`.
    virtual unsigned int UnSerialize(const Variant& value);
};

#endif
