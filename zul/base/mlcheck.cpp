// zul::MemLeakChecker: the process-wide checker, its records and its console notices.
#include <zul/base/alloc.h>
#include <zul/base/log_seam.h>
#include <zul/base/mlcheck.h>

#include <sstream>
#include <string>

namespace zul {
namespace {

using Lock = Guard_T<MemLeakMutex>;

// Set while this thread prints a checker line. Printing converts the text to wide text, and
// that conversion allocates through the helpers: those nested records and releases are kept
// but not echoed, or every echoed line would echo its own buffers without end.
thread_local bool t_printing = false;

// Writes one line of the checker's output on the console. Never called with the checker's
// mutex held: printing may create the console, whose creation records itself through push().
void consoleLine(std::string const& line) {
    if (t_printing) return;
    t_printing = true;
    detail::writeConsoleLine(line);
    t_printing = false;
}

}  // namespace

namespace detail {

void checkerPush(void const* p, char const* file, unsigned int line, char const* func) {
    MemLeakChecker::instance()->push(const_cast<void*>(p), file, line, func);
}

bool checkerPop(void const* p, char const* file, unsigned int line, char const* func) {
    return MemLeakChecker::instance()->pop(const_cast<void*>(p), file, line, func);
}

}  // namespace detail

// The checker is made once and published once; its pointer never changes afterwards and
// the object is never freed. A helper on another thread may have read the pointer just
// before a stop() or destroy() and call push() or pop() through it a moment later: that
// call finds a live object, reads started_ again under the mutex and, the checker being
// stopped, keeps nothing. stop() and destroy() therefore empty the checker in place, and
// the next instance() is a stopped checker without records.
//
// started_ is written only under the mutex; push() and pop() read it once without the lock
// (the cheap test of a stopped checker) and again under it, so no record is added to, and
// no release is reported by, a checker that has been stopped.
MemLeakChecker* MemLeakChecker::g__inst = nullptr;

MemLeakMutex& MemLeakChecker::mtxInstance() {
    static MemLeakMutex mtx;
    return mtx;
}

MemLeakChecker*& MemLeakChecker::create_i() {
    Lock lock(mtxInstance());
    if (g__inst == nullptr) {
        // Plain new: the checker is the one object the helpers never record. The helpers
        // may skip it while it is stopped; that is announced before it is published, so
        // that a start() through the new pointer cannot be overtaken.
        MemLeakChecker* fresh = new MemLeakChecker;
        detail::g__checkerIdle.store(true, std::memory_order_relaxed);
        __atomic_store_n(&g__inst, fresh, __ATOMIC_RELEASE);
    }
    return g__inst;
}

void MemLeakChecker::reset_i() {
    started_.store(false, std::memory_order_relaxed);
    dumpOn_.store(false, std::memory_order_relaxed);
    records_.clear();
    detail::g__checkerIdle.store(true, std::memory_order_relaxed);
}

void MemLeakChecker::destroy() {
    Lock lock(mtxInstance());
    if (MemLeakChecker* c = __atomic_load_n(&g__inst, __ATOMIC_RELAXED)) c->reset_i();
}

void MemLeakChecker::start() {
    Lock lock(mtxInstance());
    detail::g__checkerIdle.store(false, std::memory_order_relaxed);
    started_.store(true, std::memory_order_relaxed);
}

void MemLeakChecker::stop() {
    {
        Lock lock(mtxInstance());
        started_.store(false, std::memory_order_relaxed);
    }
    // The report is one information record; it is built before the checker's mutex is
    // taken again, since writing a record may allocate through the helpers.
    if (detail::libraryInfoOn()) {
        std::ostringstream os;
        dump(os);
        detail::writeInfoRecord(__FILE__, __LINE__, "stop", os.str());
    }
    Lock lock(mtxInstance());
    reset_i();
}

void MemLeakChecker::push(void* p, char const* file, unsigned int line, char const* func) {
    if (!started_.load(std::memory_order_relaxed)) return;
    Current here(file, line, func);
    if (dumpOn_.load(std::memory_order_relaxed)) {
        std::ostringstream os;
        os << "+++ " << p << ' ' << here << '\n';
        consoleLine(os.str());
    }
    Lock lock(mtxInstance());
    if (started_.load(std::memory_order_relaxed)) records_[p] = here;
}

bool MemLeakChecker::pop(void* p, char const* file, unsigned int line, char const* func) {
    if (p == nullptr) return false;
    if (!started_.load(std::memory_order_relaxed)) return true;
    Current here(file, line, func);
    std::string text;
    bool found;
    {
        Lock lock(mtxInstance());
        if (!started_.load(std::memory_order_relaxed)) return true;  // stopped meanwhile
        auto it = records_.find(p);
        found = it != records_.end();
        std::ostringstream os;
        if (dumpOn_.load(std::memory_order_relaxed)) {
            os << "--- " << p << ' ';
            if (found)
                os << it->second << " (" << here << ")\n";
            else
                os << "(" << here << ")\n";
        }
        if (!found) os << "[NOTICE] not found pointer " << here << '\n';
        text = os.str();
        if (found) records_.erase(it);
    }
    // Printed after the lock is released: printing may create the console, whose creation
    // records itself through push() and so takes the same mutex.
    if (!text.empty()) consoleLine(text);
    return found;
}

std::size_t MemLeakChecker::size() const {
    Lock lock(mtxInstance());
    return records_.size();
}

std::size_t MemLeakChecker::count(Current const& site) const {
    Lock lock(mtxInstance());
    std::size_t n = 0;
    for (auto const& r : records_) {
        if (!(r.second < site) && !(site < r.second)) ++n;
    }
    return n;
}

}  // namespace zul
