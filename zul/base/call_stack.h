// Source locations and call stacks: zul::Current, the position a record or an exception
// names, and zul::CallStack, the frames of the scopes a thread is in. The tracer
// (zul/log/log_tracer.h) keeps one stack per thread; exceptions carry a copy.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>

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

namespace detail {

/// The calling thread's call stack, copied. The one place where exceptions and records take
/// their stack from; defined by the tracer (zul/log), which keeps the stacks.
ZUL_API CallStack currentCallStack();

/// The position and call-stack lines shared by exception reports and failure records:
/// "\n        AT: " and `position`, then "\nCALL STACK: " and `stack`, one frame per line
/// after twelve blanks. Sets the prefix of `position` and the separator of `stack`.
ZUL_API std::ostream& writePositionAndStack(std::ostream& os, Current const& position,
                                            CallStack const& stack);

}  // namespace detail

}  // namespace zul
