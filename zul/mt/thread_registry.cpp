// The registry of the threads that use the library: zul::ThreadInfo records keyed by thread
// id in the zul::ThreadFactory singleton.
#include <pthread.h>
#include <unistd.h>
#include <zul/base/log_seam.h>
#include <zul/log/log_dumper.h>
#include <zul/mt/thread.h>
#include <zul/util/singleton_T.h>

namespace zul {
namespace {

// The process id, read once and renewed in the child of every fork: getpid() is a system
// call, and the registry asks for the id on every record.
std::atomic<std::int32_t> g_pid{0};

void renewPid() {
    g_pid.store(static_cast<std::int32_t>(::getpid()), std::memory_order_relaxed);
}

std::int32_t processId() {
    std::int32_t pid = g_pid.load(std::memory_order_relaxed);
    if (pid == 0) {
        static bool const watched = (pthread_atfork(nullptr, nullptr, renewPid), true);
        (void)watched;
        renewPid();
        pid = g_pid.load(std::memory_order_relaxed);
    }
    return pid;
}

}  // namespace

// ---- ThreadInfo ---------------------------------------------------------------------------

ThreadInfo::ThreadInfo() : thread_(nullptr) {}

void ThreadInfo::updateDateTime() {
    Time const now = Time::now();
    long long const us = now.toMicroSeconds();
    long long const last = currDateTime_.toMicroSeconds();
    if (us == last) return;
    currDateTime_ = now;
    // The text shows milliseconds: within the same millisecond it stays as it is.
    if (us > 0 && last > 0 && us / 1000 == last / 1000 && !sCurrDateTime_.empty()) return;
    // This runs under the registry's lock, which every record header needs: a calendar that
    // cannot render the time is not reported from here, and the last text stays.
    detail::RecordSuppression quiet;
    try {
        String text;
        now.toDateTime(text);
        sCurrDateTime_.swap(text);
    } catch (...) {
    }
}

void ThreadInfo::dump(dumper& d) const {
    dumper::_Entry e(d, "zul::ThreadInfo");
    d << indent << namestring("sThreadId_") << sThreadId_ << endline;
    d << indent << namestring("currDateTime_") << currDateTime_ << endline;
    d << indent << namestring("sCurrDateTime_") << sCurrDateTime_ << endline;
    d << indent << namestring("thread_");
    if (thread_ != nullptr)
        thread_->dump(d);
    else
        d.raw("null");
    d << endline;
}

// ---- ThreadFactory ------------------------------------------------------------------------

ThreadFactory::ThreadFactory() : pid_(processId()) {}

ThreadFactory* ThreadFactory::instance() {
    return Singleton_T<ThreadFactory>::instance(__FILE__, __LINE__, "instance");
}

void ThreadFactory::destroy() {
    Singleton_T<ThreadFactory>::destroy();
}

void ThreadFactory::buildIdentity(ThreadInfo& info, ThreadId id) const {
    bool const simple = info.thread_ != nullptr;
    String& s = info.sThreadId_;
    s.clear();
    s += simple ? '{' : '<';
    s += static_cast<ProcessId>(pid_.load(std::memory_order_relaxed));
    s += '.';
    s += id;
    s += simple ? '}' : '>';
}

void ThreadFactory::add(SimpleThread* t) {
    if (t == nullptr) return;
    ThreadId const id = t->id();
    threads_.locked(id, [&](ThreadInfo& info) {
        info.thread_ = t;
        // The entry may be left over from an earlier thread that had the same id (a foreign
        // "<...>" record, or one written while a finished SimpleThread was being deleted),
        // or from a process before a fork: build this thread's own identity now.
        pid_.store(processId(), std::memory_order_relaxed);
        buildIdentity(info, id);
    });
}

void ThreadFactory::erase(SimpleThread* t) {
    if (t == nullptr) return;
    threads_.erase(t->id());
}

ThreadInfo& ThreadFactory::getThreadInfo(ThreadId id) {
    std::int32_t const pid = processId();
    // The entry is written under the map's lock, although only its own thread writes it:
    // a dump may read it at the same time, and a thread that inherits the id of a finished
    // one then sees everything that one wrote.
    return threads_.locked(id, [&](ThreadInfo& info) -> ThreadInfo& {
        // After a fork the first record asked for is rebuilt; the others keep their text.
        if (info.sThreadId_.empty() || pid != pid_.load(std::memory_order_relaxed)) {
            pid_.store(pid, std::memory_order_relaxed);
            buildIdentity(info, id);
        }
        info.updateDateTime();
        return info;
    });
}

void ThreadFactory::dump(dumper& d) const {
    dumper::_Entry e(d, "zul::ThreadFactory");
    d << indent << namestring("threads_");
    threads_.dump(d);
    d << endline;
}

dumper& operator<<(dumper& d, THREAD_FACTORY const&) {
    ThreadFactory::instance()->dump(d);
    return d;
}

}  // namespace zul
