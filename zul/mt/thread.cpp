// The platform thread layer: zul::ThreadControl, zul::Thread with its entry function
// startHook, and zul::ThreadOwner.
#include <pthread.h>
#include <sched.h>
#include <zul/base/exception.h>
#include <zul/base/log_seam.h>
#include <zul/mt/thread.h>

#include <ctime>
#include <exception>
#include <string>

namespace zul {
namespace {

// The entry function of every platform thread the library starts; `arg` is the Thread,
// which carries one reference taken by start() for this thread.
void* startHook(void* arg) {
    Thread* t = static_cast<Thread*>(arg);
    Handle<Thread> h(t);  // kept for the whole body
    t->__SubRef();        // the reference start() took on our behalf
    try {
        h->run_i();
    } catch (std::exception const& e) {
        char const* what = e.what();
        detail::writeErrorRecord(__FILE__, __LINE__, "startHook",
                                 std::string("startHook(): uncaught ") + (what ? what : "<null>"),
                                 "<ERROR>");
    } catch (...) {
        detail::writeErrorRecord(__FILE__, __LINE__, "startHook",
                                 "startHook(): uncaught unknown exception", "<ERROR>");
    }
    // Dropping the last reference deletes the object here, on its own thread.
    h = nullptr;
    return nullptr;
}

}  // namespace

// ---- ThreadControl ------------------------------------------------------------------------

ThreadControl::ThreadControl() : id_(currentThreadId()) {}

ThreadControl::ThreadControl(ThreadId id) : id_(id) {}

ThreadControl::ThreadControl(ThreadControl const& o) : id_(o.id()) {}

ThreadControl& ThreadControl::operator=(ThreadControl const& o) {
    if (this != &o) {
        ThreadId const id = o.id();  // the source's lock, then ours: never both at once
        Guard_T<Mutex> lock(mutex_);
        id_ = id;
    }
    return *this;
}

ThreadId ThreadControl::id() const {
    Guard_T<Mutex> lock(mutex_);
    return id_;
}

bool ThreadControl::operator==(ThreadControl const& o) const {
    ThreadId const other = o.id();
    return pthread_equal(toPthread(id()), toPthread(other)) != 0;
}

bool ThreadControl::operator<(ThreadControl const& o) const {
    ThreadId const other = o.id();
    return static_cast<std::uint64_t>(id()) < static_cast<std::uint64_t>(other);
}

void ThreadControl::join() {
    int const rc = pthread_join(toPthread(id()), nullptr);
    if (rc != 0) throw ThreadSyscallException(__FILE__, __LINE__, "join", rc);
}

void ThreadControl::detach() {
    int const rc = pthread_detach(toPthread(id()));
    if (rc != 0) throw ThreadSyscallException(__FILE__, __LINE__, "detach", rc);
}

bool ThreadControl::isAlive() const {
    Guard_T<Mutex> lock(mutex_);
    int policy = 0;
    sched_param param{};
    pthread_t const t = toPthread(id_);
    if (pthread_getschedparam(t, &policy, &param) != 0) return false;
    return pthread_setschedparam(t, policy, &param) == 0;
}

void ThreadControl::sleep(Time const& t) {
    long long const us = t.toMicroSeconds();
    if (us <= 0) return;
    timespec ts;
    ts.tv_sec = static_cast<time_t>(us / 1000000LL);
    ts.tv_nsec = static_cast<long>(us % 1000000LL) * 1000L;
    ::nanosleep(&ts, nullptr);
}

void ThreadControl::yield() {
    ::sched_yield();
}

ThreadControl ThreadControl::current() {
    return ThreadControl();
}

// ---- Thread -------------------------------------------------------------------------------

Thread::Thread() : started_(false), id_(ThreadId{}) {}

Thread::~Thread() = default;

ThreadControl Thread::start(unsigned long stackSize) {
    // Declared before the lock, so that on every exit the lock is released before this
    // reference is dropped (which may delete the object).
    Handle<Thread> keep(this);
    Guard_T<Mutex> lock(mutex_);
    if (started_.load(std::memory_order_relaxed))
        throw ThreadStartedException(__FILE__, __LINE__, "start");

    __AddRef();  // belongs to the new thread; startHook drops it
    pthread_t tid{};
    int rc = 0;
    if (stackSize != 0) {
        pthread_attr_t attr;
        rc = pthread_attr_init(&attr);
        if (rc == 0) {
            rc = pthread_attr_setstacksize(&attr, stackSize);
            if (rc == 0) rc = pthread_create(&tid, &attr, startHook, this);
            pthread_attr_destroy(&attr);
        }
    } else {
        rc = pthread_create(&tid, nullptr, startHook, this);
    }
    if (rc != 0) {
        __SubRef();  // never the last one: `keep` still holds its own
        throw ThreadSyscallException(__FILE__, __LINE__, "start", rc);
    }
    id_ = static_cast<ThreadId>(static_cast<std::uint64_t>(tid));
    started_.store(true, std::memory_order_release);
    return ThreadControl(id_);
}

ThreadId Thread::id() const {
    Guard_T<Mutex> lock(mutex_);
    if (!started_.load(std::memory_order_relaxed))
        throw ThreadNotStartedException(__FILE__, __LINE__, "id");
    return id_;
}

ThreadControl Thread::getThreadControl() const {
    Guard_T<Mutex> lock(mutex_);
    if (!started_.load(std::memory_order_relaxed))
        throw ThreadNotStartedException(__FILE__, __LINE__, "getThreadControl");
    return ThreadControl(id_);
}

bool Thread::operator==(Thread const& other) const {
    ThreadId const o = other.id();  // the other's lock, then ours: never both at once
    Guard_T<Mutex> lock(mutex_);
    if (!started_.load(std::memory_order_relaxed))
        throw ThreadNotStartedException(__FILE__, __LINE__, "operator==");
    return pthread_equal(toPthread(id_), toPthread(o)) != 0;
}

bool Thread::operator!=(Thread const& other) const {
    return !(*this == other);
}

bool Thread::operator<(Thread const& other) const {
    ThreadId const o = other.id();
    Guard_T<Mutex> lock(mutex_);
    if (!started_.load(std::memory_order_relaxed))
        throw ThreadNotStartedException(__FILE__, __LINE__, "operator<");
    return static_cast<std::uint64_t>(id_) < static_cast<std::uint64_t>(o);
}

// ---- ThreadOwner --------------------------------------------------------------------------

ThreadOwner::ThreadOwner(char const* name) : ownername_(name ? name : "") {}

ThreadOwner::~ThreadOwner() {
    if (!ownername_.empty() && detail::libraryInfoOn())
        detail::writeInfoRecord(__FILE__, __LINE__, "~ThreadOwner",
                                "thread owner " + ownername_ + " finalized");
}

}  // namespace zul
