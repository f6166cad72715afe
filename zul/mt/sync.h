// zul::ConditionVariable, a condition bound to a zul::Mutex, and zul::Monitor, a mutex with
// its condition whose notifications are batched and posted when the lock is released.
#pragma once

#include <ace/Condition_Thread_Mutex.h>
#include <ace/Monotonic_Time_Policy.h>
#include <ace/Time_Value_T.h>
#include <zul/base/api.h>
#include <zul/base/base_type_time.h>
#include <zul/base/noncopyable.h>
#include <zul/base/mutex.h>

#include <cerrno>
#include <cstdint>

namespace zul {
namespace detail {

/// A point on the monotonic clock, the clock of every time-out: it counts from an unspecified
/// start and is not moved when the system's date and time are set.
using MonotonicTime = ACE_Time_Value_T<ACE_Monotonic_Time_Policy>;

/// The monotonic clock now, in microseconds; only differences between two readings mean
/// anything.
ZUL_API Time monotonicNow();

/// The monotonic time `t` from now, normalised. Saturates instead of overflowing for huge
/// time-outs; a time-out of 0 or less gives the present.
ZUL_API MonotonicTime deadlineAfter(Time const& t);

/// Attributes of a process-private condition whose timed waits run on the monotonic clock.
ZUL_API ACE_Condition_Attributes const& monotonicConditionAttributes();

}  // namespace detail

/// A process-private condition bound at construction to the mutex `M` (a zul::Mutex or
/// anything exposing the same native() ACE_Thread_Mutex). Every wait needs the caller to hold
/// that mutex; the wait releases it and takes it again before returning.
template <class M>
class ConditionVariable : noncopyable {
  public:
    /// A failure to create the platform condition is reported on ACE's own log; the object
    /// is still built (and its waits then fail at once).
    explicit ConditionVariable(M const& m)
        : cond_(m.native(), detail::monotonicConditionAttributes()) {}

    /// Waits for a signal; true when woken by one, false when the platform wait failed.
    bool wait() const { return cond_.wait() == 0; }

    /// Waits at most `t`, measured on the monotonic clock, so that setting the system's clock
    /// neither shortens nor stretches the wait. True when woken by a signal; false when the
    /// deadline passed or the platform wait failed.
    bool timedWait(Time const& t) const {
        detail::MonotonicTime const deadline = detail::deadlineAfter(t);
        return cond_.wait(&deadline) == 0;
    }

    /// Wakes one waiter; false (errno set) on a platform error.
    bool signal() const { return cond_.signal() == 0; }
    /// Wakes every waiter; false (errno set) on a platform error.
    bool broadcast() const { return cond_.broadcast() == 0; }

  private:
    mutable ACE_Condition<ACE_Thread_Mutex> cond_;
};

/// A mutex with its condition. notify() and notifyAll() only count while the lock is held;
/// the count is posted as one broadcast (or n signals) when the lock is released or the
/// holder starts to wait, so a waiter is never woken into a lock that is still held, and a
/// waiter that arrives after that release is not woken by it. Lock with Guard_T<Monitor>.
template <class M>
class Monitor : noncopyable {
  public:
    /// An unlocked mutex with its condition; nothing pending.
    Monitor() : mutex_(), cond_(mutex_), nnotify_(0) {}

    /// Waits for the lock, takes it and starts with no pending notification.
    void lock() const {
        mutex_.lock();
        nnotify_ = 0;
    }
    /// Takes the lock when it is free; false at once when another holder has it.
    bool tryLock() const {
        if (!mutex_.tryLock()) return false;
        nnotify_ = 0;
        return true;
    }
    /// Posts the pending notifications, then releases the lock.
    void unlock() const {
        notifyImpl(nnotify_);
        mutex_.unlock();
    }

    /// Posts the pending notifications and waits for one (the lock must be held; it is
    /// released during the wait and held again on return). A failing platform wait counts
    /// as a wake-up.
    void wait() const {
        notifyImpl(nnotify_);
        try {
            cond_.wait();
        } catch (...) {
            nnotify_ = 0;
            throw;
        }
        nnotify_ = 0;
    }

    /// As wait(), for at most `t`: true when notified, false on time-out.
    bool timedWait(Time const& t) const {
        notifyImpl(nnotify_);
        bool woken;
        try {
            woken = cond_.timedWait(t);
        } catch (...) {
            nnotify_ = 0;
            throw;
        }
        nnotify_ = 0;
        return woken;
    }

    /// Wakes one more waiter at the next release (the lock must be held).
    void notify() const {
        if (nnotify_ != -1) ++nnotify_;
    }
    /// Wakes every waiter at the next release (the lock must be held).
    void notifyAll() const { nnotify_ = -1; }

    /// Posts `n` notifications now: -1 broadcasts once, n > 0 signals n times, 0 does
    /// nothing. Platform errors are left in errno and otherwise ignored.
    void notifyImpl(int n) const {
        if (n == 0) return;
        if (n == -1) {
            cond_.broadcast();
            return;
        }
        while (n-- > 0) cond_.signal();
    }

  private:
    M mutex_;
    ConditionVariable<M> cond_;
    mutable std::int32_t nnotify_;
};

}  // namespace zul
