// The per-thread call stacks (zul::tracer and its stack map) and the traced scope
// zul::TraceEntry with its entry and exit records.
#include <zul/log/log_dumper.h>
#include <zul/log/log_logger.h>
#include <zul/log/log_tracer.h>
#include <zul/mt/thread.h>
#include <zul/util/singleton_T.h>

#include <atomic>
#include <cstdint>
#include <ostream>
#include <utility>

namespace zul {

CallStackMap* g__tssCallStack() {
    return Singleton_T<CallStackMap>::instance(__FILE__, __LINE__, "g__tssCallStack");
}

tracer* tracer::instance() {
    return Singleton_T<tracer>::instance(__FILE__, __LINE__, "instance");
}

void tracer::destroy() {
    Singleton_T<tracer>::destroy();
}

namespace {

// ---- The calling thread's stack -----------------------------------------------------------
//
// A thread looks its stack up in the map once, under the map's mutex, and keeps a pointer
// to it in a thread-local slot: from then on a traced scope takes no process-wide lock. The
// pointer stays valid because map nodes never move and only two things remove the entry:
// destroy_current_stack(), called by the thread itself (it clears its slot), and
// tracer::destroy(), which no thread may race with and which advances the generation that
// every slot is checked against.
//
// Thread ids are reused, and a thread whose id belonged to a finished one inherits that
// one's entry. The finished thread changed its frames without a lock, so on its way out it
// passes once through the map's mutex (the hand-over); the new thread finds the entry under
// the same mutex, which orders every change of the old thread before its own. Whatever the
// ending thread still traces after its hand-over (from later thread-local destructors) goes
// through the mutex each time.
//
// Reading another thread's stack (a dump of the whole map) is therefore not safe while that
// thread traces; the tracer only ever offers the calling thread's own stack.

std::atomic<std::uint64_t> g_generation{1};

struct OwnStack {
    CallStack* stack;          // this thread's entry, or null when not looked up yet
    std::uint64_t generation;  // of the map the pointer belongs to
    bool handedOver;           // the thread is ending: only locked access from now on
};
__attribute__((tls_model("initial-exec"))) thread_local OwnStack t_own{nullptr, 0, false};

struct HandOver {
    ~HandOver();
};
thread_local HandOver t_handOver;

HandOver::~HandOver() {
    OwnStack& own = t_own;
    bool const live =
        own.stack != nullptr && own.generation == g_generation.load(std::memory_order_acquire);
    own.stack = nullptr;
    own.handedOver = true;
    if (!live) return;
    // Taking and dropping the map's mutex publishes this thread's frames to the next thread
    // that looks its id up.
    if (CallStackMap* m = Singleton_T<CallStackMap>::existing()) m->contains(currentThreadId());
}

// The calling thread's stack without a lock, or null once the thread has handed it over.
CallStack* ownStack() {
    OwnStack& own = t_own;
    std::uint64_t const generation = g_generation.load(std::memory_order_acquire);
    if (own.stack != nullptr && own.generation == generation) return own.stack;
    if (own.handedOver) return nullptr;
    (void)&t_handOver;  // registers the hand-over at the end of this thread
    own.stack = g__tssCallStack()->locked(currentThreadId(), [](CallStack& s) { return &s; });
    own.generation = generation;
    return own.stack;
}

template <class F>
decltype(auto) withOwnStack(F&& f) {
    if (CallStack* s = ownStack()) return f(*s);
    return g__tssCallStack()->locked(currentThreadId(), std::forward<F>(f));
}

}  // namespace

tracer::tracer() {
    g__tssCallStack();
}

tracer::~tracer() {
    // Every thread's slot now points into a dead map: they all look their stack up again.
    g_generation.fetch_add(1, std::memory_order_acq_rel);
    Singleton_T<CallStackMap>::destroy();
}

CallStack& tracer::callStack() {
    return withOwnStack([](CallStack& s) -> CallStack& { return s; });
}

CallStack const& tracer::callStack() const {
    return withOwnStack([](CallStack& s) -> CallStack& { return s; });
}

void tracer::push(char const* file, unsigned int line, char const* func) {
    withOwnStack([&](CallStack& s) { s.container().push(Current(file, line, func)); });
}

void tracer::pop() {
    withOwnStack([](CallStack& s) { s.container().pop(); });
}

unsigned long tracer::depth() const {
    return withOwnStack([](CallStack& s) { return s.container().size(); });
}

bool tracer::top(Current& frame, unsigned long& below) const {
    return withOwnStack([&](CallStack& s) {
        CallStack::Frames const& frames = s.container();
        if (frames.empty()) return false;
        frame = frames.top();
        below = frames.size() - 1;
        return true;
    });
}

void tracer::popIfAny() {
    withOwnStack([](CallStack& s) {
        if (!s.container().empty()) s.container().pop();
    });
}

tracer const& tracer::separator(char const* s) const {
    callStack().separator(s);
    return *this;
}

void tracer::destroy_current_stack() {
    t_own.stack = nullptr;
    g__tssCallStack()->erase(currentThreadId());
}

void tracer::dump(std::ostream& os) const {
    os << callStack();
}

void tracer::dump(dumper& d) const {
    dumper::_Entry entry(d, "zul::tracer");
    d << indent << namestring("callStack()") << callStack() << endline;
}

void printTraceStack(std::ostream& os) {
    tracer::instance()->dump(os);
}

TraceEntry::TraceEntry(logger& lg, char const* file, unsigned int line, char const* func,
                       LogType type, char const* info)
    : logger_(lg), type_(type), info_(info ? info : "") {
    tracer* t = tracer::instance();
    // The record comes first: should writing it fail, no frame is left behind.
    if (wants(true)) writeLog(true, func, '.', t->depth());
    t->push(file, line, func);
}

TraceEntry::~TraceEntry() {
    tracer* t = tracer::instance();
    if (!wants(false)) {
        t->popIfAny();
        return;
    }
    // The frame is copied first: writing the record may itself trace and grow the stack.
    Current frame;
    unsigned long below = 0;
    if (!t->top(frame, below)) return;
    try {
        writeLog(false, frame.func(), '_', below);
    } catch (...) {
        // A trace record is never worth an exception out of a destructor.
    }
    t->popIfAny();
}

bool TraceEntry::wants(bool enter) const {
    return (type_ & (enter ? 1u : 2u)) != 0 && logger_.traceOn();
}

void TraceEntry::indentString(std::string& s, unsigned long depth, char c) {
    s.append(depth * 4, c);
}

void TraceEntry::writeLog(bool enter, char const* func, char fill, unsigned long depth) {
    if (!wants(enter)) return;

    ThreadInfo const& me = SimpleThread::current();
    std::string head;
    head.append(me.sCurrDateTime_).append(me.sThreadId_);
    head.append("[").append(logger_.id()).append("]");

    std::string text("TRACE");
    text += enter ? ' ' : '~';
    text += ' ';
    std::string indent;
    indentString(indent, depth, fill);
    if (!indent.empty()) text.append(indent).append(" ");
    text.append(func ? func : "").append("(");
    if (!info_.empty()) text.append(" ").append(info_).append(" ");
    text.append(")");

    writeEntryLog(logger_, head.c_str(), text.c_str(), "", fill);
}

namespace detail {

CallStack currentCallStack() {
    tracer::instance();
    return withOwnStack([](CallStack& s) { return s; });
}

}  // namespace detail

}  // namespace zul
