// The thread classes: the platform layer (zul::ThreadControl, zul::Thread, zul::ThreadOwner),
// the registry of live threads (zul::ThreadInfo, zul::ThreadFactory) and zul::SimpleThread.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_time.h>
#include <zul/mt/handle.h>
#include <zul/mt/map.h>
#include <zul/base/mutex.h>
#include <zul/mt/shared.h>
#include <zul/mt/sync.h>
#include <zul/mt/thread_id.h>

#include <atomic>
#include <cstdint>

namespace zul {

class dumper;
class SimpleThread;

// ---- Platform layer -----------------------------------------------------------------------

/// Names one platform thread. The id is guarded by a mutex of its own, so two threads may
/// copy or compare the same object.
class ZUL_API ThreadControl {
  public:
    /// The calling thread.
    ThreadControl();
    /// The thread `id` (not checked).
    explicit ThreadControl(ThreadId id);
    /// Copies `o`'s id, read under `o`'s mutex.
    ThreadControl(ThreadControl const& o);
    /// Copies `o`'s id (`o`'s mutex, then this one's, never both); self-assignment does
    /// nothing.
    ThreadControl& operator=(ThreadControl const& o);

    /// The thread's id.
    ThreadId id() const;

    /// pthread_equal on the two ids.
    bool operator==(ThreadControl const& o) const;
    /// The negation of operator==.
    bool operator!=(ThreadControl const& o) const { return !(*this == o); }
    /// Numeric order of the ids.
    bool operator<(ThreadControl const& o) const;

    /// Waits for the thread to end (its result is dropped); ThreadSyscallException on failure.
    void join();
    /// Detaches the thread; ThreadSyscallException on failure.
    void detach();
    /// True while the platform still knows the thread: reading its scheduling parameters and
    /// applying them again both succeed. The parameters themselves are never changed.
    bool isAlive() const;

    /// Sleeps for `t`; an interrupted sleep is not resumed; 0 or less returns at once.
    static void sleep(Time const& t);
    /// Gives up the processor to another ready thread (sched_yield).
    static void yield();
    /// The calling thread, as the default constructor gives it.
    static ThreadControl current();

  private:
    Mutex mutex_;
    ThreadId id_;
};

/// The reference-counted abstract thread: it can be started once, and its platform thread
/// holds a reference on it from start() until the body returns, so an application may drop
/// its own handle while the thread runs.
class ZUL_API Thread : public Shared {
  public:
    /// Unstarted, count 0.
    Thread();
    /// Neither joins nor detaches the platform thread.
    ~Thread() override;

    /// Starts the platform thread running run_i(); `stackSize` 0 takes the platform default.
    /// ThreadStartedException when already started; ThreadSyscallException (the thread
    /// stays unstarted) when the platform refuses.
    ThreadControl start(unsigned long stackSize = 0);

    /// The started thread's id; ThreadNotStartedException before start().
    ThreadId id() const;
    /// The started thread; ThreadNotStartedException before start().
    ThreadControl getThreadControl() const;
    /// True once start() succeeded (read without the lock).
    bool started() const { return started_.load(std::memory_order_acquire); }

    ///@{

    /// Compare the platform ids; ThreadNotStartedException when either side never started.
    bool operator==(Thread const& other) const;
    bool operator!=(Thread const& other) const;
    bool operator<(Thread const& other) const;
    ///@}

    /// The thread body, run on the new thread.
    virtual void run_i() = 0;

  private:
    std::atomic<bool> started_;
    Mutex mutex_;  // guards started_ (writes) and id_
    ThreadId id_;
};

/// Told by a SimpleThread when it ends on its own (not through stop()).
class ZUL_API ThreadOwner {
  public:
    /// A null name is empty.
    explicit ThreadOwner(char const* name);
    /// Writes "thread owner <name> finalized" when the name is not empty.
    virtual ~ThreadOwner();

    /// The name given at construction.
    String const& ownername() const { return ownername_; }

    /// Called on the exiting thread itself.
    virtual void on_thread_exit(SimpleThread* thread) = 0;

  private:
    String ownername_;
};

// ---- Registry -----------------------------------------------------------------------------

/// The registry record of one thread: its identity string and the cached text of the time
/// it last refreshed. Used only by the thread whose id keys it.
class ZUL_API ThreadInfo {
  public:
    /// No thread, empty texts, time 0.
    ThreadInfo();

    /// Takes the current time; when it moved, stores it and formats its date-time text.
    void updateDateTime();
    /// The object "zul::ThreadInfo"; the thread's own dump, or null.
    void dump(dumper& d) const;

    SimpleThread* thread_;  ///< the registered SimpleThread, or null for any other thread
    String sThreadId_;      ///< "{pid.tid}" for a SimpleThread, "<pid.tid>" otherwise
    Time currDateTime_;     ///< the time of the last refresh (0 before the first)
    String sCurrDateTime_;  ///< currDateTime_ as date-time text (empty before the first)
};

/// The process-wide registry of the threads that use the library, keyed by thread id.
class ZUL_API ThreadFactory {
  public:
    /// An empty registry; the process-wide one comes from instance().
    ThreadFactory();
    ThreadFactory(ThreadFactory const&) = delete;
    ThreadFactory& operator=(ThreadFactory const&) = delete;

    /// The registry, created on first use.
    static ThreadFactory* instance();
    /// Deletes the registry; no thread may still use it.
    static void destroy();

    /// Registers `t` under its id, replacing whatever an earlier thread with the same id
    /// left there and building its "{...}" identity. Null is ignored.
    void add(SimpleThread* t);
    /// Removes the entry of `t`'s id. Null is ignored.
    void erase(SimpleThread* t);
    /// The record of `id` (created when missing), with its identity string built when it is
    /// empty or the process id changed, and its date-time refreshed. Only the thread `id`
    /// may use the returned record.
    ThreadInfo& getThreadInfo(ThreadId id);

    /// True when `id` has an entry.
    bool contains(ThreadId id) const { return threads_.contains(id); }
    /// The number of entries.
    std::size_t size() const { return threads_.size(); }

    /// The object "zul::ThreadFactory" with the map as "threads_".
    void dump(dumper& d) const;

  private:
    /// Rebuilds `info.sThreadId_` for `id` from the stored process id.
    void buildIdentity(ThreadInfo& info, ThreadId id) const;

    mt::map<ThreadId, ThreadInfo> threads_;
    std::atomic<std::int32_t> pid_;  // the process id seen last
};

/// A tag that streams the registry into a dumper: `d << zul::THREAD_FACTORY()`.
struct THREAD_FACTORY {};
/// Writes the dump of ThreadFactory::instance() (creating it when missing); returns `d`.
ZUL_API dumper& operator<<(dumper& d, THREAD_FACTORY const&);

// ---- Lifecycle thread ---------------------------------------------------------------------

/// A thread with a fixed lifecycle: birth, then wait and work while living, then death.
/// Subclasses override the hooks (usually onWork(), or only onLoop()). The thread registers
/// itself while its body runs, can be woken through its monitor, and is stopped with stop()
/// (joined, owner not told) or ends on its own (owner told).
class ZUL_API SimpleThread : public Thread {
  public:
    /// `owner` may be null and is not owned.
    SimpleThread(ThreadOwner* owner, char const* name);
    /// Writes "<fullname> thread finalized."; does not stop or join the platform thread.
    ~SimpleThread() override;

    /// The thread body; not meant to be overridden.
    void run_i() override;
    /// The object "zul::SimpleThread" with its name, state and reference count.
    virtual void dump(dumper& d) const;

    // Identity.
    /// The name given at construction (empty for null).
    String const& name() const { return name_; }
    /// The name, followed by the registry identity once the body runs.
    String fullname() const;
    /// Sets the owner told of a natural end; null for none. Not owned.
    void owner(ThreadOwner* o);
    /// The owner, or null.
    ThreadOwner* owner() const;
    /// Forgets the owner (the platform thread is left alone).
    void detach();
    /// True until the loop is told to end (read without a lock).
    bool living() const { return living_.load(std::memory_order_relaxed); }
    /// Clears the living flag (the argument is ignored) without waking anybody.
    void living(bool);
    /// True once stop() or stop(t) has begun; the owner is then not told of the end.
    bool activeStopping() const { return activeStopping_.load(std::memory_order_relaxed); }

    // Registry record of this thread (to be used from the thread itself).
    /// The registry record of this thread's id (created when missing), its date-time
    /// refreshed; ThreadNotStartedException before start(). Only this thread may use it.
    ThreadInfo& info() const;
    /// The identity string of info().
    String const& threadIdString() const;
    /// The time of info(), just refreshed.
    Time const& currDateTime() const;
    /// The date-time text of info(), just refreshed.
    String const& currDateTimeString() const;
    /// The registry record of the calling thread, its date-time refreshed.
    static ThreadInfo& current();
    /// The same as ThreadFactory::destroy().
    static void destroyThreadFactory();

    // Starting.
    /// Starts the thread and returns once its birth phase is over (whatever its outcome).
    void startAndWait(unsigned long stackSize = 0);
    /// As above, waiting at most `t`; false when the birth did not end in time.
    bool startAndWait(Time t, unsigned long stackSize = 0);

    // Waiting and waking.
    /// Waits on the monitor until notified (returns at once when not living).
    void wait() const;
    /// As wait(), at most `t`; true when woken or not living, false on time-out.
    bool wait(Time const& t) const;
    /// Wakes every waiter.
    void notify();

    // Ending and stopping.
    /// Clears the living flag, wakes every waiter and calls onStop().
    void livingEnd();
    /// Ends the loop without joining; the owner is still told when the body ends.
    void stopOnly();
    /// Ends the loop and joins the thread; the owner is not told. Nothing when not living.
    void stop();
    /// As stop(), joining at most max(`t`, 20 ms). On time-out the thread is disowned and
    /// left running, a warning is written and false returned.
    bool stop(Time t);
    /// Joins the thread (nothing when called from the thread itself);
    /// ThreadNotStartedException before start().
    void join();
    /// Waits at most max(`t`, 20 ms) for the thread to end, polling every 20 ms; see stop(t).
    bool join(Time t);

  protected:
    // Hooks.
    /// The phase loop: birth, then wait and work while living, then death.
    virtual void run();
    /// false ends the thread before its loop.
    virtual bool onBirth();
    /// false skips one onWork().
    virtual bool onWait();
    /// Calls onLoop(); when that is false, ends the loop.
    virtual void onWork();
    /// Asked by the default onWork() once a round; false ends the loop. True by default.
    virtual bool onLoop();
    /// Called once after the loop has ended; not after a failed birth, nor when an exception
    /// of onBirth(), onWait() or run() ended the body. Does nothing by default.
    virtual void onDeath();
    /// Called on the stopping thread once the loop has been told to end.
    virtual void onStop();

    // The guarded phases around the hooks, called by run() and the stop functions.
    /// Calls onBirth() when still living and keeps its outcome in the living flag, then
    /// releases startAndWait(). False (with a record) when the loop is not to run; the
    /// exceptions of onBirth() pass through.
    bool onBirth_i();
    /// Calls onWait(); false, with a record, when that returned false.
    bool onWait_i();
    /// Calls onWork(); an exception from it is recorded and followed by a pause of one
    /// second, and does not leave.
    void onWork_i();
    /// Calls onDeath(); its exceptions pass through.
    void onDeath_i();
    /// Marks the stop as active (the owner will not be told) and calls livingEnd(); the
    /// first step of stop() and stop(t).
    void onStop_i();
    /// Tells the owner (unless the stop was active or there is none) that the body ends.
    void on_thread_exit();

  private:
    /// Clears the living flag and wakes every waiter.
    void endAndNotify();

    Mutex ownerMutex_;  // guards owner_ and fullname_
    ThreadOwner* owner_;
    Monitor<Mutex> monitor_;
    String name_;
    String fullname_;
    std::atomic<bool> living_;
    std::atomic<bool> activeStopping_;
    bool birthOver_;  // the birth phase has ended (guarded by the monitor)
};

}  // namespace zul
