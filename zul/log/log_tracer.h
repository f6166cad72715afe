// The per-thread call stacks kept by zul::tracer, the scope object zul::TraceEntry that
// maintains them, and the dumper forms of source locations and call stacks.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/call_stack.h>
#include <zul/mt/map.h>
#include <zul/mt/thread_id.h>

#include <iosfwd>
#include <string>

namespace zul {

class dumper;

/// The object "zul::Current" with its file, line, function and prefix.
ZUL_API dumper& operator<<(dumper& d, Current const& c);

/// The object "zul::CallStack": its frames (outermost first) and its separator.
ZUL_API dumper& operator<<(dumper& d, CallStack const& s);

class logger;

/// The call stacks of all threads, keyed by thread id.
using CallStackMap = mt::map<ThreadId, CallStack>;

/// The process-wide stack map, created on first use.
ZUL_API CallStackMap* g__tssCallStack();

/// The per-thread call stacks. Each thread reads and writes only its own stack; the map's
/// mutex is held only to find or create it. A thread's stack stays in the map after the
/// thread ends unless it calls destroy_current_stack(), as the body of a SimpleThread does
/// when it ends.
class ZUL_API tracer {
  public:
    /// The tracer, created on first use (with the stack map).
    static tracer* instance();
    /// Deletes the tracer and with it the stack map and every stack in it. No thread may
    /// still trace.
    static void destroy();

    /// Creates the stack map when missing; the process-wide tracer comes from instance().
    tracer();
    /// Destroys the stack map and every thread's stack in it.
    ~tracer();
    tracer(tracer const&) = delete;
    tracer& operator=(tracer const&) = delete;

    ///@{

    /// The calling thread's stack, created empty when missing. Only the calling thread may
    /// use it.
    CallStack& callStack();
    CallStack const& callStack() const;
    ///@}

    /// Appends a frame to the calling thread's stack.
    void push(char const* file, unsigned int line, char const* func);
    /// Removes the innermost frame of the calling thread; the stack must not be empty.
    void pop();
    ///@{

    /// The calling thread's frames (created empty when missing); only that thread may use
    /// them.
    CallStack::Frames& container() { return callStack().container(); }
    CallStack::Frames const& container() const { return callStack().container(); }
    ///@}

    /// Sets the calling thread's separator; returns the tracer.
    tracer const& separator(char const* s) const;
    /// The calling thread's separator.
    istr separator() const { return callStack().separator(); }
    /// Removes the calling thread's stack from the map.
    void destroy_current_stack();

    /// Writes the calling thread's stack in its printed form.
    void dump(std::ostream& os) const;
    /// The object "zul::tracer" with the calling thread's stack as "callStack()".
    void dump(dumper& d) const;

  private:
    friend class TraceEntry;

    /// The number of frames of the calling thread.
    unsigned long depth() const;
    /// Copies the innermost frame and the number of frames below it; false when empty.
    bool top(Current& frame, unsigned long& below) const;
    /// Pops the innermost frame when there is one.
    void popIfAny();
};

/// Writes the calling thread's call stack to `os`.
ZUL_API void printTraceStack(std::ostream& os);

/// One traced scope: pushes a frame on the calling thread's stack for its lifetime and, when
/// its type asks for it and the logger's traceOn() is true, writes an entry and an exit
/// record indented by the depth of the stack.
class ZUL_API TraceEntry {
  public:
    /// A bit set: 1 = entry record, 2 = exit record, 3 = both, 0 = neither.
    using LogType = unsigned int;

    /// Writes the entry record (depth: the frames before this one), then pushes the frame.
    /// A null `info` is empty. `lg` must outlive the entry; `file` and `func` are borrowed
    /// as Current borrows them.
    TraceEntry(logger& lg, char const* file, unsigned int line, char const* func, LogType type,
               char const* info);
    /// Writes the exit record and pops the innermost frame; nothing when the stack is empty.
    ~TraceEntry();
    TraceEntry(TraceEntry const&) = delete;
    TraceEntry& operator=(TraceEntry const&) = delete;

    /// Writes one trace record when `type` has the bit for it and the logger traces.
    void writeLog(bool enter, char const* func, char fill, unsigned long depth);
    /// Appends 4 * `depth` copies of `c` to `s`.
    static void indentString(std::string& s, unsigned long depth, char c);

    /// The record bits.
    LogType logType() const { return type_; }
    /// Adds the bits of `t`; they count for the records not yet written.
    void addType(LogType t) { type_ |= t; }
    /// The text shown between the parentheses of the records (empty when none).
    std::string const& info() const { return info_; }

  private:
    /// True when the record of this direction would be written.
    bool wants(bool enter) const;

    logger& logger_;
    LogType type_;
    std::string info_;
};

}  // namespace zul
