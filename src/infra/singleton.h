#pragma once

#include <cstddef>
#include <new>

#include "infra/exit_list.h"

namespace infra {

// Lifetime policies of a Singleton: what is done with the destructor call once the object is built.

// The object is destroyed at the process's end, the one that was built last first, while libraries still stand.
struct NeedDestructor {
    static void OnBuilt(void (*destroy)()) noexcept { AtProcessEnd(destroy); }
};

// The object is never destroyed.
struct NoDestructor {
    static void OnBuilt(void (* /*destroy*/)()) noexcept {}
};

// Gives T one instance for the process. T derives from Singleton<T, Policy> and stays an ordinary class otherwise:
// further objects of it can be built anywhere.
template <typename T, typename Policy>
class Singleton {
 public:
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;
    virtual ~Singleton() = default;

    // The one T, default-constructed in static storage at the first call. Of several threads that come first, one
    // builds and the others wait. What T's constructor throws is passed on, and the next call tries again.
    // T's constructor must not call this. Thread: any.
    static T& GetInstance() {
        static T& instance = Build();
        return instance;
    }

 protected:
    Singleton() = default;

 private:
    static T& Build() {
        alignas(T) static std::byte storage[sizeof(T)];
        s_instance = ::new (static_cast<void*>(storage)) T();
        Policy::OnBuilt(&Destroy);
        return *s_instance;
    }

    static void Destroy() { s_instance->~T(); }

    inline static T* s_instance = nullptr;  // for Destroy, which can't be given an argument
};

}  // namespace infra
