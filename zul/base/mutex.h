// zul::Mutex, the library's one lock (non-recursive, process-private), and zul::Guard_T, the
// scoped guard that holds any of its lockables (a Mutex or a Monitor) for one block.
#pragma once

#include <ace/OS_NS_Thread.h>
#include <ace/Thread_Mutex.h>
#include <zul/base/api.h>
#include <zul/base/noncopyable.h>

namespace zul {

/// A non-recursive, process-private mutex over an ACE_Thread_Mutex. Locking twice from one
/// thread deadlocks; unlocking a mutex the caller does not hold is undefined. The lock
/// operations are const so that const members of a class may take the class's own lock.
class ZUL_API Mutex : noncopyable {
  public:
    /// Creates the platform mutex, unlocked.
    Mutex();
    /// Destroys the platform mutex; it must not be held.
    ~Mutex();

    /// Waits until the lock is free and takes it.
    void lock() const { ACE_OS::mutex_lock(&mtx_.lock()); }
    /// Takes the lock when it is free; false (without waiting) when another holder has it.
    bool tryLock() const { return ACE_OS::mutex_trylock(&mtx_.lock()) == 0; }
    /// Releases the lock, which the calling thread must hold.
    void unlock() const { ACE_OS::mutex_unlock(&mtx_.lock()); }

    /// The platform mutex, for binding a condition to it.
    ACE_Thread_Mutex& native() const { return mtx_; }

  private:
    mutable ACE_Thread_Mutex mtx_;
};

/// Holds the lockable `M` (anything with lock() and unlock()) from construction to
/// destruction. For a Monitor, the release posts its pending notifications.
template <class M>
class Guard_T : noncopyable {
  public:
    /// Takes the lock of `m`, waiting for it; `m` must outlive the guard.
    explicit Guard_T(M const& m) : m_(m), acquired_(false) { acquire(); }
    /// Releases the lock when the guard still holds it.
    ~Guard_T() {
        if (acquired_) m_.unlock();
    }

    /// Takes the lock again after release(); nothing when already held.
    void acquire() {
        if (!acquired_) {
            m_.lock();
            acquired_ = true;
        }
    }
    /// Releases the lock before the end of the block; nothing when not held.
    void release() {
        if (acquired_) {
            acquired_ = false;
            m_.unlock();
        }
    }
    /// True while the guard holds the lock.
    bool acquired() const { return acquired_; }

  private:
    M const& m_;
    bool acquired_;
};

}  // namespace zul
