// zul::Shared: the intrusive, atomic reference count of objects held through zul::Handle.
#pragma once

#include <zul/base/alloc.h>
#include <zul/base/api.h>

#include <atomic>
#include <cstdint>

namespace zul {

/// Polymorphic base of reference-counted objects. Born with count 0; the first Handle takes
/// it to 1 and the __SubRef that brings it back to 0 deletes the object (through the leak
/// checker), unless deletion was switched off. An object that never had a handle is deleted
/// by its owner in the ordinary way. A copy starts with its own count of 0.
class ZUL_API Shared {
  public:
    /// Count 0, deletion on.
    Shared() : refcount_(0), noDelete_(false) {}
    /// Count 0 and deletion on, whatever the source's count and switch.
    Shared(Shared const&) : refcount_(0), noDelete_(false) {}
    /// Keeps this object's own count and deletion switch.
    Shared& operator=(Shared const&) { return *this; }
    /// Virtual, so that __SubRef deletes the most-derived object.
    virtual ~Shared();

    /// Adds one count (atomically).
    void __AddRef() { refcount_.fetch_add(1); }

    /// Drops one count. At 0, unless deletion is off, marks the object so that a reference
    /// its destructor takes and drops on itself cannot delete it twice, tells the leak
    /// checker that it goes, and deletes it.
    void __SubRef() {
        if (refcount_.fetch_sub(1) == 1 && !noDelete_) {
            noDelete_ = true;
            // The checker knows the object by the address of its most-derived class.
            destroy_pop_maybe(dynamic_cast<void*>(this), __FILE__, __LINE__, "__SubRef");
            delete this;
        }
    }

    /// The current count (a snapshot).
    std::int64_t __getRef() const { return refcount_.load(); }
    /// With true, a count returning to 0 no longer deletes the object.
    void __setNoDelete(bool b) { noDelete_ = b; }

  private:
    std::atomic<std::int64_t> refcount_;
    bool noDelete_;
};

}  // namespace zul
