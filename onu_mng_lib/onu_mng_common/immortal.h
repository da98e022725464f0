/// Singletons that outlive every task.
#ifndef ONU_MNG_LIB_ONU_MNG_COMMON_IMMORTAL_H
#define ONU_MNG_LIB_ONU_MNG_COMMON_IMMORTAL_H

#include <new>

/// Storage for an object that is constructed and never destroyed. A host's own tasks may still call the
/// library while static objects are destroyed, so the library's singletons must stay usable.
template <typename T>
class Immortal {
public:
    Immortal() { new (place) T; }
    Immortal(const Immortal&) = delete;
    Immortal& operator=(const Immortal&) = delete;

    T* Get() { return std::launder(reinterpret_cast<T*>(place)); }

private:
    alignas(T) unsigned char place[sizeof(T)];
};

#endif
