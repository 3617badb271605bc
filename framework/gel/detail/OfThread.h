#pragma once

#if defined(__MINGW32__)
#include <memory>
#include <new>

#include <pthread.h>
#endif

namespace gel::detail {

/// Makes a `T` that is destroyed when the calling thread ends; call it once a thread. *Throws* `std::bad_alloc`, and
/// what the constructor throws.
template <class T>
void makeForThread()
{
#if defined(__MINGW32__)
    // Thread-local variables lose their memory before their destructors run. What has one stands elsewhere, therefore.
    static pthread_key_t const s_key = [] {
        pthread_key_t key{};
        if (pthread_key_create(&key, [](void* object) { delete static_cast<T*>(object); }) != 0)
            throw std::bad_alloc{};
        return key;
    }();
    auto object = std::make_unique<T>();
    if (pthread_setspecific(s_key, object.get()) != 0)
        throw std::bad_alloc{};
    static_cast<void>(object.release());
#else
    thread_local T s_object;
    static_cast<void>(s_object);
#endif
}

}   // namespace gel::detail
