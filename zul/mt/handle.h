// zul::Handle: the smart pointer that owns one count of a zul::Shared object, its checked
// base zul::SmartPtrBase, and zul::stopThread for handles on threads.
#pragma once

#include <zul/base/api.h>

#include <cstddef>
#include <utility>

namespace zul {
namespace detail {

/// Throws zul::NullHandleException from the given site, without a log record (or aborts
/// when zul::nullHandleAbort is set). Out of line to keep dereferences small.
[[noreturn]] ZUL_API void throwNullHandle(char const* file, unsigned int line, char const* func);

}  // namespace detail

/// Holds a raw pointer (possibly null) and checks it on dereference.
template <class T>
class SmartPtrBase {
  public:
    /// The pointee type.
    using element_type = T;

    /// The pointer; a null one throws zul::NullHandleException (or aborts, see
    /// zul::nullHandleAbort).
    T* operator->() const {
        if (ptr_ == nullptr) detail::throwNullHandle(__FILE__, __LINE__, "operator->");
        return ptr_;
    }
    /// The pointee; a null pointer fails as operator-> does.
    T& operator*() const {
        if (ptr_ == nullptr) detail::throwNullHandle(__FILE__, __LINE__, "operator*");
        return *ptr_;
    }

    /// The pointer, null allowed.
    T* get() const { return ptr_; }
    /// True when the pointer is not null.
    explicit operator bool() const { return ptr_ != nullptr; }

  protected:
    /// Holds `p` (null allowed) without counting it; the subclass decides what it owns.
    explicit SmartPtrBase(T* p = nullptr) : ptr_(p) {}

    /// The held pointer, null allowed; subclasses keep it and its count in step.
    T* ptr_;
};

/// Owns one count on a zul::Shared pointee while non-null. Copies add a count, destruction
/// drops one (deleting the pointee at 0). The count is atomic; one Handle object must not be
/// assigned from two threads at once.
template <class T>
class Handle : public SmartPtrBase<T> {
    using SmartPtrBase<T>::ptr_;

  public:
    /// Holds `p` (null allowed), adding a count on it when non-null.
    Handle(T* p = nullptr) : SmartPtrBase<T>(p) {
        if (ptr_) ptr_->__AddRef();
    }
    /// Holds `r`'s pointee too, adding a count on it when non-null.
    Handle(Handle const& r) : SmartPtrBase<T>(r.ptr_) {
        if (ptr_) ptr_->__AddRef();
    }
    /// Takes over the count of `r`, which becomes null.
    Handle(Handle&& r) noexcept : SmartPtrBase<T>(r.ptr_) { r.ptr_ = nullptr; }
    /// Holds `r`'s pointee (a `Y*` that converts to `T*`), adding a count when non-null.
    template <class Y>
    Handle(Handle<Y> const& r) : SmartPtrBase<T>(r.get()) {
        if (ptr_) ptr_->__AddRef();
    }
    /// Drops the count when non-null, deleting the pointee when it was the last.
    ~Handle() {
        if (ptr_) ptr_->__SubRef();
    }

    /// Holds `p` instead. Assigning the held pointer changes nothing; otherwise the new
    /// pointee gains its count before the old one loses its own, so assigning an object that
    /// only the old value keeps alive is safe.
    Handle& operator=(T* p) {
        if (ptr_ != p) {
            if (p) p->__AddRef();
            T* old = ptr_;
            ptr_ = p;
            if (old) old->__SubRef();
        }
        return *this;
    }
    ///@{

    /// Holds `r`'s pointee instead, as operator=(T*) does. From a Handle<Y> the pointer is
    /// converted with static_cast, so a downcast is not checked.
    Handle& operator=(Handle const& r) { return *this = r.ptr_; }
    template <class Y>
    Handle& operator=(Handle<Y> const& r) {
        return *this = static_cast<T*>(r.get());
    }
    ///@}

    /// Takes over `r`'s count (`r` becomes null), then drops the count of the old pointee.
    /// Self-assignment changes nothing.
    Handle& operator=(Handle&& r) noexcept {
        if (this != &r) {
            T* old = ptr_;
            ptr_ = r.ptr_;
            r.ptr_ = nullptr;
            if (old) old->__SubRef();
        }
        return *this;
    }

    ///@{

    /// A handle on `r`'s pointee (or on `p`) when it is a `T`, otherwise null.
    template <class Y>
    static Handle dynamicCast(SmartPtrBase<Y> const& r) {
        return Handle(dynamic_cast<T*>(r.get()));
    }
    template <class Y>
    static Handle dynamicCast(Y* p) {
        return Handle(dynamic_cast<T*>(p));
    }
    ///@}
};

///@{

/// Compare the held pointers: equal when both hold the same object or both are null.
template <class T, class U>
bool operator==(SmartPtrBase<T> const& a, SmartPtrBase<U> const& b) {
    return a.get() == b.get();
}
template <class T, class U>
bool operator!=(SmartPtrBase<T> const& a, SmartPtrBase<U> const& b) {
    return a.get() != b.get();
}
///@}

/// Orders handles by their pointers, so they can key ordered containers.
template <class T, class U>
bool operator<(SmartPtrBase<T> const& a, SmartPtrBase<U> const& b) {
    return a.get() < b.get();
}

/// Stops the thread held by `h` with its untimed stop() and sets `h` to null (which may
/// delete the thread object). A null `h` is left alone. Always returns true.
template <class T>
bool stopThread(Handle<T>& h) {
    if (!h) return true;
    {
        Handle<T> keep(h);  // the thread stays alive for the whole of stop()
        keep->stop();
    }
    h = nullptr;
    return true;
}

}  // namespace zul
