#pragma once

#include <new>
#include <utility>

namespace foundation {

/// A static object whose destructor never runs, so that other static objects may use it until the process ends, in any
/// order of destruction. For statics only: elsewhere it leaks.
template <class T>
class NeverDestroyed {
public:
    /// Constructs the object from `arguments`. *Throws* what its constructor throws.
    template <class... Args>
    explicit NeverDestroyed(Args&&... args)
    {
        ::new (static_cast<void*>(m_storage)) T(std::forward<Args>(args)...);
    }
    NeverDestroyed(NeverDestroyed const&) = delete;
    NeverDestroyed& operator=(NeverDestroyed const&) = delete;

    T& operator*() noexcept { return *get(); }
    T* operator->() noexcept { return get(); }

private:
    T* get() noexcept { return std::launder(reinterpret_cast<T*>(m_storage)); }

    alignas(T) unsigned char m_storage[sizeof(T)];
};

}   // namespace foundation
