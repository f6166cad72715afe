// zul::Singleton_T<T>: a lazily created process-wide object with explicit destruction.
#pragma once

#include <zul/base/alloc.h>
#include <zul/base/api.h>
#include <ace/Guard_T.h>
#include <ace/Thread_Mutex.h>

namespace zul {

/// One lazily created `T` per type. The object is made on the first instance() under a
/// creation mutex, published with release/acquire ordering, and lives until destroy(); it
/// is never destroyed at process exit. Exported so that the library and its users share one
/// pointer per type.
template <class T>
class ZUL_API Singleton_T {
  public:
    /// The instance pointer, creating the object on first use. The site labels the
    /// allocation for the leak checker. A throwing constructor leaves the pointer null and
    /// the exception goes on, so the next call tries again.
    static T*& instance(char const* file, unsigned int line, char const* func) {
        if (__atomic_load_n(&g__inst, __ATOMIC_ACQUIRE) == nullptr) {
            ACE_Guard<ACE_Thread_Mutex> lock(mutex());
            if (__atomic_load_n(&g__inst, __ATOMIC_RELAXED) == nullptr) {
                T* p = allocate_push_maybe(allocate_no_mlc<T>(file, line, func), file, line, func);
                __atomic_store_n(&g__inst, p, __ATOMIC_RELEASE);
            }
        }
        return g__inst;
    }

    /// The object when it exists, else null; never creates it.
    static T* existing() noexcept { return __atomic_load_n(&g__inst, __ATOMIC_ACQUIRE); }

    /// Deletes the object (if any) and clears the pointer; a later instance() builds a new
    /// one. Must not race with users still holding the pointer.
    static void destroy() {
        ACE_Guard<ACE_Thread_Mutex> lock(mutex());
        T* p = __atomic_load_n(&g__inst, __ATOMIC_RELAXED);
        if (p == nullptr) return;
        destroy_pop_maybe(p, __FILE__, __LINE__, "destroy");
        __atomic_store_n(&g__inst, static_cast<T*>(nullptr), __ATOMIC_RELEASE);
        destroy_no_mlc(p, __FILE__, __LINE__, "destroy");
    }

  private:
    /// The creation mutex, made on first use and destroyed at process exit.
    static ACE_Thread_Mutex& mutex() {
        static ACE_Thread_Mutex mtx;
        return mtx;
    }

    static inline T* g__inst = nullptr;
};

}  // namespace zul
