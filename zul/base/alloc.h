// Allocation helpers: library objects are created and destroyed through these so that the
// leak checker can attribute each one to its allocating site.
#pragma once

#include <zul/base/api.h>

#include <atomic>
#include <cstddef>
#include <new>
#include <utility>

///@{

/// Located allocation: the site arguments label the block for the caller's bookkeeping and
/// are otherwise ignored; the memory comes from the ordinary global operator new.
ZUL_API void* operator new(std::size_t size, char const* file, unsigned int line, char const* func);
ZUL_API void* operator new[](std::size_t size, char const* file, unsigned int line,
                             char const* func);
///@}

///@{

/// Matching releases (also used by a throwing constructor in a located new-expression).
ZUL_API void operator delete(void* p, char const* file, unsigned int line,
                             char const* func) noexcept;
ZUL_API void operator delete[](void* p, char const* file, unsigned int line,
                               char const* func) noexcept;
///@}

namespace zul {
namespace detail {

/// push()/pop() on the process-wide leak checker (zul::MemLeakChecker), creating it on
/// first use. Out of line so that this header stays free of the checker's own includes.
ZUL_API void checkerPush(void const* p, char const* file, unsigned int line, char const* func);
ZUL_API bool checkerPop(void const* p, char const* file, unsigned int line, char const* func);

/// True while the leak checker exists and is stopped, so that a push or pop would do
/// nothing: the helpers then skip the out-of-line call. Written only by the checker, under
/// its mutex: set before it is first published and by stop() and destroy(), cleared by
/// start(). Read without a lock, like the checker's own started flag.
ZUL_API extern std::atomic<bool> g__checkerIdle;

inline bool checkerIdle() noexcept {
    return g__checkerIdle.load(std::memory_order_relaxed);
}

}  // namespace detail

/// Creates `T(args...)` in memory from the located operator new. A throwing constructor
/// leaves no memory behind; the exception goes on. Records nothing.
template <class T, class... Args>
T* allocate_no_mlc(char const* file, unsigned int line, char const* func, Args&&... args) {
    static_assert(alignof(T) <= __STDCPP_DEFAULT_NEW_ALIGNMENT__, "over-aligned type");
    void* mem = ::operator new(sizeof(T), file, line, func);
    try {
        return ::new (mem) T(std::forward<Args>(args)...);
    } catch (...) {
        ::operator delete(mem, file, line, func);
        throw;
    }
}

/// Records a non-null `p` with the leak checker (kept only while it is started); returns `p`.
template <class T>
T* allocate_push_maybe(T* p, char const* file, unsigned int line, char const* func) {
    if (p != nullptr && !detail::checkerIdle()) {
        detail::checkerPush(p, file, line, func);
    }
    return p;
}

/// Removes the record of a non-null `p` from the leak checker. Does not delete.
template <class T>
void destroy_pop_maybe(T* p, char const* file, unsigned int line, char const* func) {
    if (p != nullptr && !detail::checkerIdle()) {
        detail::checkerPop(p, file, line, func);
    }
}

/// The same as destroy_pop_maybe; used for character arrays.
template <class T>
void destroy_pop(T* p, char const* file, unsigned int line, char const* func) {
    destroy_pop_maybe(p, file, line, func);
}

/// Deletes a non-null `p` (destructor, then release) and nulls it. Unregisters nothing.
template <class T>
void destroy_no_mlc(T*& p, char const*, unsigned int, char const*) {
    if (p != nullptr) {
        delete p;
        p = nullptr;
    }
}

/// Unregisters `p`, then array-deletes it and nulls it (for arrays made by a located new[]).
template <class T>
void destroy_a(T*& p, char const* file, unsigned int line, char const* func) {
    destroy_pop_maybe(p, file, line, func);
    if (p != nullptr) {
        delete[] p;
        p = nullptr;
    }
}

}  // namespace zul
