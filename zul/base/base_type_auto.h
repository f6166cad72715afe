// zul::AutoPtr<T>: the single owner of a heap array (the result type of the pointer
// conversions of wide text), reporting its release to the leak checker.
#pragma once

#include <zul/base/alloc.h>
#include <zul/base/record_position.h>

#include <cstddef>

namespace zul {
namespace detail {
// The leak label under which an AutoPtr reports the release of its array: fixed by the
// record format, not where the code stands.
inline constexpr RecordPosition kAutoPtrRelease{"zul/base/base_type_auto", 46, "~AutoPtr"};
}  // namespace detail

/// Owns one heap array of T (allocated with new[]) and frees it with delete[]. Move-only;
/// holds null when empty.
template <class T>
class AutoPtr {
  public:
    /// Holds null.
    AutoPtr() noexcept : p_(nullptr) {}
    /// Takes ownership of `p` (may be null).
    explicit AutoPtr(T* p) noexcept : p_(p) {}
    /// Takes over the array of `o`, which holds null afterwards.
    AutoPtr(AutoPtr&& o) noexcept : p_(o.p_) { o.p_ = nullptr; }
    /// Frees the own array and takes over that of `o`, which holds null afterwards.
    AutoPtr& operator=(AutoPtr&& o) noexcept {
        if (this != &o) set(o.release());
        return *this;
    }
    AutoPtr(AutoPtr const&) = delete;
    AutoPtr& operator=(AutoPtr const&) = delete;
    /// Tells the leak checker the array is gone, then frees it.
    ~AutoPtr() { free_(p_); }

    ///@{

    /// Holds `p` from now on; the old array is freed unless it is `p` itself.
    void set(T* p) noexcept {
        if (p == p_) return;
        T* old = p_;
        p_ = p;
        free_(old);
    }
    AutoPtr& operator=(T* p) noexcept {
        set(p);
        return *this;
    }
    ///@}

    /// Gives up ownership without freeing; the holder is null afterwards.
    T* release() noexcept {
        T* p = p_;
        p_ = nullptr;
        return p;
    }

    /// The array, still owned by the holder; null when empty.
    T* get() const noexcept { return p_; }
    /// Element `i`; the holder must not be null and `i` must lie inside the array.
    T& operator[](std::size_t i) const noexcept { return p_[i]; }
    /// True when an array is held.
    explicit operator bool() const noexcept { return p_ != nullptr; }
    /// True when no array is held.
    bool isNull() const noexcept { return p_ == nullptr; }

  private:
    // The leak checker hears of the release first, then the array goes.
    static void free_(T* p) noexcept {
        if (p == nullptr) return;
        destroy_pop(p, detail::kAutoPtrRelease.file, detail::kAutoPtrRelease.line,
                    detail::kAutoPtrRelease.func);
        delete[] p;
    }

    T* p_;
};

}  // namespace zul
