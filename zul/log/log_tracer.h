// Source locations (zul::Current), the call stacks built from them (zul::CallStack), the
// per-thread stacks kept by zul::tracer and the scope object zul::TraceEntry that maintains them.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/mt/map.h>
#include <zul/mt/thread_id.h>

#include <cstring>
#include <deque>
#include <iosfwd>
#include <stack>
#include <string>

namespace zul {

/// A standard stack adaptor that also gives access to its underlying container, so that a
/// stack can be walked and printed without being taken apart.
template <class T, class Container = std::deque<T> >
class stack : public std::stack<T, Container> {
  public:
    /// The underlying container type.
    using container_type = Container;

    /// An empty stack.
    stack() = default;
    /// A stack holding a copy of `c`, whose back is the top.
    explicit stack(Container const& c) : std::stack<T, Container>(c) {}

    ///@{

    /// The elements, bottom (first pushed) at the front, top at the back.
    Container& container() { return this->c; }
    Container const& container() const { return this->c; }
    ///@}
};

/// A source location: file, line and function of a calling site, plus a printing prefix.
/// File and function texts are borrowed (literals of the site) and may be null.
class ZUL_API Current {
  public:
    /// No file, no function, line 0.
    Current() : file_(nullptr), line_(0), func_(nullptr) {}
    /// The location `file`:`line` in `func`, empty prefix. The texts are borrowed, not
    /// copied, and must outlive the object; either may be null.
    Current(char const* file, unsigned int line, char const* func)
        : file_(file), line_(line), func_(func) {}

    /// The file text, or null.
    char const* file() const { return file_; }
    /// The line number (0 when not given).
    unsigned int line() const { return line_; }
    /// The function text, or null.
    char const* func() const { return func_; }
    /// The text written before the location when printed (empty by default).
    istr prefix() const { return istr(prefix_); }
    /// Sets the prefix (null is empty); allowed on a const object; returns this object.
    Current const& prefix(char const* p) const {
        prefix_.assign(p ? p : "");
        return *this;
    }

    /// Orders by file text, then line, then function text; both sides need non-null texts.
    bool operator<(Current const& o) const {
        int c = std::strcmp(file_, o.file_);
        if (c != 0) return c < 0;
        if (line_ != o.line_) return line_ < o.line_;
        return std::strcmp(func_, o.func_) < 0;
    }

  private:
    char const* file_;
    unsigned int line_;
    char const* func_;
    mutable std::string prefix_;
};

/// The printed form: the prefix, then "func(file:line)" (each part only when present).
/// A location that does not fit in 119 columns after the prefix is folded: the rest goes
/// on a second line, right-aligned in a field of 118 columns.
ZUL_API std::ostream& operator<<(std::ostream& os, Current const& c);
/// The object "zul::Current" with its file, line, function and prefix.
ZUL_API dumper& operator<<(dumper& d, Current const& c);

/// Appends the printed form of `v`.
template <>
ZUL_API String& String::operator+=(const Current& v);

/// A call stack: the frames of the scopes being executed, outermost at the front of the
/// container and innermost at the back, and the separator written between frames.
class ZUL_API CallStack {
  public:
    /// The frames: the outermost at the front of the container, the innermost on top.
    using Frames = zul::stack<Current, std::deque<Current> >;

    /// No frames; separator "\n".
    CallStack() : separator_("\n") {}

    ///@{

    /// The frames.
    Frames& container() { return frames_; }
    Frames const& container() const { return frames_; }
    ///@}

    /// Sets the separator (null is empty); allowed on a const object; returns this stack.
    CallStack const& separator(char const* s) const {
        separator_.assign(s ? s : "");
        return *this;
    }
    /// The separator; the view lasts until the separator is next set.
    istr separator() const { return istr(separator_); }

  private:
    Frames frames_;
    mutable std::string separator_;
};

/// The printed form: the frames from the innermost to the outermost. The innermost frame is
/// written with its own prefix; every further frame gets the separator as its prefix (the
/// change stays in the frame). An empty stack writes nothing.
ZUL_API std::ostream& operator<<(std::ostream& os, CallStack const& s);
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

namespace detail {

/// The calling thread's call stack, copied. The one place where exceptions and records take
/// their stack from.
ZUL_API CallStack currentCallStack();

/// The position and call-stack lines shared by exception reports and failure records:
/// "\n        AT: " and `position`, then "\nCALL STACK: " and `stack`, one frame per line
/// after twelve blanks. Sets the prefix of `position` and the separator of `stack`.
ZUL_API std::ostream& writePositionAndStack(std::ostream& os, Current const& position,
                                            CallStack const& stack);

}  // namespace detail

}  // namespace zul
