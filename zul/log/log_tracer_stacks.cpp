// The per-thread call stacks (zul::tracer and its stack map) and the traced scope
// zul::TraceEntry with its entry and exit records.
#include <zul/log/log_dumper.h>
#include <zul/log/log_logger.h>
#include <zul/log/log_tracer.h>
#include <zul/mt/thread.h>
#include <zul/util/singleton_T.h>

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

tracer::tracer() {
    g__tssCallStack();
}

tracer::~tracer() {
    Singleton_T<CallStackMap>::destroy();
}

// A thread's frames change only under the map's mutex (the thread itself reads them
// without it). Besides keeping dumps safe, this orders the writes of a finished thread
// before those of a later thread that inherits its id and with it the stack.
namespace {

template <class F>
decltype(auto) withOwnStack(F&& f) {
    return g__tssCallStack()->locked(currentThreadId(), std::forward<F>(f));
}

}  // namespace

CallStack& tracer::callStack() {
    return g__tssCallStack()->unsafe_at(currentThreadId());
}

CallStack const& tracer::callStack() const {
    return g__tssCallStack()->unsafe_at(currentThreadId());
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
