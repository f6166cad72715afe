// zul::SimpleThread: the lifecycle thread (birth, wait and work while living, death), its
// stop protocol and its monitor.
#include <zul/base/log_seam.h>
#include <zul/log/log_dumper.h>
#include <zul/log/log_tracer.h>
#include <zul/mt/thread.h>

#include <exception>
#include <string>

namespace zul {
namespace {

// Entry and exit records for the traced frames, only while the library logger traces.
TraceEntry::LogType tracedFrame() {
    return detail::libraryTraceOn() ? 3u : 0u;
}

// An information record, written only while the library logger's information switch is on.
void infoRecord(unsigned int line, char const* func, std::string const& text) {
    if (detail::libraryInfoOn()) detail::writeInfoRecord(__FILE__, line, func, text);
}

std::string unhandled(std::exception const& e) {
    char const* what = e.what();
    return std::string("unhandled ") + (what ? what : "<null>");
}

// The trace text of the timed forms: the full name and the time-out.
std::string timedInfo(String const& fullname, Time const& t) {
    return fullname + "(" + t.toDuration() + ")";
}

// The monotonic reading, in microseconds, at which a time-out of `t` from now ends. Time-outs
// run on the monotonic clock, so that setting the system's clock does not move them.
long long monotonicDeadlineUs(Time const& t) {
    detail::MonotonicTime const at = detail::deadlineAfter(t);  // saturated, never overflows
    return static_cast<long long>(at.sec()) * 1000000LL + at.usec();
}

// How often join(t) looks at the thread, and its shortest time-out.
constexpr long long kJoinPollMs = 20;
// The pause after an exception escaped onWork(), so a failing hook cannot spin.
constexpr long long kWorkFailurePauseMs = 1000;

}  // namespace

SimpleThread::SimpleThread(ThreadOwner* owner, char const* name)
    : owner_(owner),
      name_(name ? name : ""),
      fullname_(name_),
      living_(true),
      activeStopping_(false),
      birthOver_(false) {}

SimpleThread::~SimpleThread() {
    infoRecord(__LINE__, "~SimpleThread", fullname() + " thread finalized.");
}

// ---- Identity -----------------------------------------------------------------------------

String SimpleThread::fullname() const {
    Guard_T<Mutex> lock(ownerMutex_);
    return fullname_;
}

void SimpleThread::owner(ThreadOwner* o) {
    Guard_T<Mutex> lock(ownerMutex_);
    owner_ = o;
}

ThreadOwner* SimpleThread::owner() const {
    Guard_T<Mutex> lock(ownerMutex_);
    return owner_;
}

void SimpleThread::detach() {
    owner(nullptr);
}

void SimpleThread::living(bool) {
    living_.store(false, std::memory_order_relaxed);
}

ThreadInfo& SimpleThread::info() const {
    return ThreadFactory::instance()->getThreadInfo(id());
}

String const& SimpleThread::threadIdString() const {
    return info().sThreadId_;
}

Time const& SimpleThread::currDateTime() const {
    return info().currDateTime_;
}

String const& SimpleThread::currDateTimeString() const {
    return info().sCurrDateTime_;
}

ThreadInfo& SimpleThread::current() {
    return ThreadFactory::instance()->getThreadInfo(currentThreadId());
}

void SimpleThread::destroyThreadFactory() {
    ThreadFactory::destroy();
}

void SimpleThread::dump(dumper& d) const {
    dumper::_Entry e(d, "zul::SimpleThread");
    d << indent << namestring("name()") << name() << endline;
    d << indent << namestring("fullname()") << fullname() << endline;
    d << indent << namestring("started()") << started() << endline;
    d << indent << namestring("living()") << living() << endline;
    d << indent << namestring("activeStopping()") << activeStopping() << endline;
    d << indent << namestring("refcount") << static_cast<long long>(__getRef()) << endline;
}

// ---- Body and phases ----------------------------------------------------------------------

void SimpleThread::run_i() {
    Handle<SimpleThread> self(this);
    ThreadFactory::instance()->add(this);
    String const identity = info().sThreadId_;
    {
        Guard_T<Mutex> lock(ownerMutex_);
        fullname_ += identity;
    }
    detail::flushLibraryLog();
    {
        TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "run_i", 0, nullptr);
        infoRecord(__LINE__, "run_i", "thread begin.");
        try {
            ThreadControl::yield();
            ThreadControl::sleep(Time::milliSeconds(1));
            run();
        } catch (std::exception const& e) {
            detail::writeExcptRecord(__FILE__, __LINE__, "run_i", unhandled(e));
        } catch (...) {
            detail::writeExcptRecord(__FILE__, __LINE__, "run_i", "unhandled unknown exception");
        }
        // Whatever happened, nobody may be left waiting for the birth or in wait().
        living_.store(false, std::memory_order_relaxed);
        {
            Guard_T<Monitor<Mutex> > lock(monitor_);
            birthOver_ = true;
            monitor_.notifyAll();
        }
        on_thread_exit();
        infoRecord(__LINE__, "run_i", "thread end.");
    }
    ThreadFactory::instance()->erase(this);
    // The call stack goes with the body, so that a thread that later gets the same id
    // starts from a fresh one.
    tracer::instance()->destroy_current_stack();
}

void SimpleThread::run() {
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "run", tracedFrame(),
                     name_.c_str());
    if (!onBirth_i()) return;
    while (living()) {
        if (!onWait_i() || !living()) continue;
        info();  // refreshes this thread's date-time text
        onWork_i();
    }
    onDeath_i();
}

bool SimpleThread::onBirth_i() {
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "onBirth_i", 0, nullptr);
    // Only a failed birth clears the flag: a stop that came in while onBirth() ran must not
    // be undone by its success.
    if (living() && !onBirth()) living_.store(false, std::memory_order_relaxed);
    // The outcome is taken before the waiters are released: a stop that follows the
    // release ends a thread that was born, which still runs its onDeath().
    bool const born = living();
    {
        Guard_T<Monitor<Mutex> > lock(monitor_);
        birthOver_ = true;
        monitor_.notifyAll();
    }
    if (!born) {
        infoRecord(__LINE__, "onBirth_i", "thread begin failure, won't enter run loop.");
        return false;
    }
    return true;
}

bool SimpleThread::onWait_i() {
    if (!onWait()) {
        infoRecord(__LINE__, "onWait_i", "wait failure, won't exec onWork().");
        return false;
    }
    return true;
}

void SimpleThread::onWork_i() {
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "onWork_i", 0, nullptr);
    bool failed = true;
    try {
        onWork();
        failed = false;
    } catch (std::exception const& e) {
        detail::writeExcptRecord(__FILE__, __LINE__, "onWork_i", unhandled(e));
    } catch (...) {
        detail::writeExcptRecord(__FILE__, __LINE__, "onWork_i", "unhandled unknown exception");
    }
    if (failed) ThreadControl::sleep(Time::milliSeconds(kWorkFailurePauseMs));
}

void SimpleThread::onDeath_i() {
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "onDeath_i", 0, nullptr);
    onDeath();
}

void SimpleThread::on_thread_exit() {
    if (activeStopping()) return;
    ThreadOwner* const o = owner();
    if (o == nullptr) return;
    infoRecord(__LINE__, "on_thread_exit", "notify owner(" + o->ownername() + ") thread exit");
    o->on_thread_exit(this);
}

// ---- Default hooks ------------------------------------------------------------------------

bool SimpleThread::onBirth() {
    return true;
}

bool SimpleThread::onWait() {
    return true;
}

void SimpleThread::onWork() {
    if (!onLoop()) endAndNotify();
}

bool SimpleThread::onLoop() {
    return true;
}

void SimpleThread::onDeath() {}

void SimpleThread::onStop() {}

// ---- Starting, waiting, waking --------------------------------------------------------------

void SimpleThread::startAndWait(unsigned long stackSize) {
    // The monitor is held from before the start, so the birth notification cannot be missed.
    Guard_T<Monitor<Mutex> > lock(monitor_);
    start(stackSize);
    while (!birthOver_) monitor_.wait();
}

bool SimpleThread::startAndWait(Time t, unsigned long stackSize) {
    Guard_T<Monitor<Mutex> > lock(monitor_);
    start(stackSize);
    long long const deadline = monotonicDeadlineUs(t);
    while (!birthOver_) {
        long long const left = deadline - detail::monotonicNow().toMicroSeconds();
        if (left <= 0 || !monitor_.timedWait(Time(left))) return birthOver_;
    }
    return true;
}

void SimpleThread::wait() const {
    Guard_T<Monitor<Mutex> > lock(monitor_);
    if (living()) monitor_.wait();
}

bool SimpleThread::wait(Time const& t) const {
    Guard_T<Monitor<Mutex> > lock(monitor_);
    if (living()) return monitor_.timedWait(t);
    return true;
}

void SimpleThread::notify() {
    Guard_T<Monitor<Mutex> > lock(monitor_);
    monitor_.notifyAll();
}

// ---- Ending and stopping --------------------------------------------------------------------

void SimpleThread::endAndNotify() {
    living_.store(false, std::memory_order_relaxed);
    Guard_T<Monitor<Mutex> > lock(monitor_);
    monitor_.notifyAll();
}

void SimpleThread::livingEnd() {
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "livingEnd", 0, nullptr);
    Handle<SimpleThread> keep(this);
    endAndNotify();
    onStop();
}

void SimpleThread::onStop_i() {
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "onStop_i", 0, nullptr);
    infoRecord(__LINE__, "onStop_i", fullname() + " thread stopping...");
    activeStopping_.store(true, std::memory_order_relaxed);
    livingEnd();
}

void SimpleThread::stopOnly() {
    infoRecord(__LINE__, "stopOnly", fullname() + " thread stopping only...");
    livingEnd();
}

void SimpleThread::stop() {
    if (!living()) return;
    String const name = fullname();
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "stop", tracedFrame(),
                     name.c_str());
    Handle<SimpleThread> keep(this);
    onStop_i();
    if (started()) {
        join();
        infoRecord(__LINE__, "stop", name + " thread stopped.");
    } else {
        infoRecord(__LINE__, "stop", name + " thread not started.");
    }
}

bool SimpleThread::stop(Time t) {
    if (!living()) return true;
    String const name = fullname();
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "stop", tracedFrame(),
                     timedInfo(name, t).c_str());
    Handle<SimpleThread> keep(this);
    onStop_i();
    if (started()) return join(t);
    infoRecord(__LINE__, "stop", name + " thread not started.");
    return true;
}

void SimpleThread::join() {
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "join", tracedFrame(),
                     fullname().c_str());
    ThreadControl tc = getThreadControl();
    if (tc != ThreadControl()) {
        ThreadControl::yield();
        tc.join();
    }
}

bool SimpleThread::join(Time t) {
    String const name = fullname();
    TraceEntry frame(detail::libraryLoggerRef(), __FILE__, __LINE__, "join", tracedFrame(),
                     timedInfo(name, t).c_str());
    Time const poll = Time::milliSeconds(kJoinPollMs);
    if (t.toMicroSeconds() < poll.toMicroSeconds()) t = poll;
    long long const deadline = monotonicDeadlineUs(t);
    while (detail::monotonicNow().toMicroSeconds() < deadline) {
        if (!getThreadControl().isAlive()) {
            join();
            infoRecord(__LINE__, "join", name + " thread stopped.");
            return true;
        }
        ThreadControl::sleep(poll);
        ThreadControl::yield();
    }
    owner(nullptr);  // the owner will not hear of this thread any more
    detail::writeErrorRecord(__FILE__, __LINE__, "join",
                             name + " thread not stopped in " + t.toDuration(), "<WARNING>");
    return false;
}

}  // namespace zul
