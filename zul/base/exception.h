// The zul exception family: every failure the library raises knows where it was raised and
// the call stack of the raising thread; beside it the XML parser's and the processor-fault
// exceptions.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/call_stack.h>

#include <exception>
#include <iosfwd>
#include <string>

namespace zul {

/// When true, constructing a NullHandleException aborts the process at the raising site
/// instead of letting it unwind. False until the application sets it.
extern ZUL_API bool nullHandleAbort;

/// Root of the library's exceptions: raising position, the raising thread's call stack at
/// construction, a reported name and a message. The file and function texts are borrowed
/// and must outlive the object; everything else is owned. Copies are member-wise.
class ZUL_API Exception : public std::exception {
  public:
    /// A null or empty `name` reports "zul::Exception"; a null `msg` is empty text.
    Exception(char const* file, unsigned int line, char const* func, char const* name,
              char const* msg);
    /// Defined in the library, so that a catch by this class works across the library's
    /// boundary.
    ~Exception() override;

    ///@{

    /// The raising position's parts: the borrowed file and function texts and the line.
    char const* file() const { return info_.file(); }
    unsigned int line() const { return info_.line(); }
    char const* func() const { return info_.func(); }
    ///@}

    /// The reported class name.
    char const* name() const { return name_.c_str(); }
    /// The message; empty text when none was given (the thread and handle failures).
    char const* msg() const { return msg_.c_str(); }
    /// The raising position.
    Current const& info() const { return info_; }
    /// The raising thread's call stack when the exception was built.
    CallStack const& stack() const { return stack_; }

    /// The report of dump(), built on the first call and cached: later calls return the same
    /// storage without building it again. Never throws; a failing dump() leaves what it
    /// wrote before failing. The first call fills the cache without a lock: it must not race
    /// with another call on the same object.
    char const* what() const noexcept override;
    /// Writes the report (a block from "{" to "}", no final newline) to `os`; returns `os`.
    virtual std::ostream& dump(std::ostream& os) const;

  private:
    std::string name_;
    Current info_;
    CallStack stack_;
    std::string msg_;
    mutable std::string report_;
};

/// Declares a member of the family that differs from Exception only by its reported name
/// and is raised with a message: its one constructor takes the raising site (file, line,
/// func) and the message; its destructor is defined in the library.
#define ZUL_DECLARE_EXCEPTION(Class)                                                   \
    class ZUL_API Class : public ::zul::Exception {                                    \
      public:                                                                          \
        /** Raised at `file`:`line` in `func` with the message `msg`. */               \
        Class(char const* file, unsigned int line, char const* func, char const* msg); \
        /** Defined in the library, so the type is one across the library boundary. */ \
        ~Class() override;                                                             \
    }

/// Declares a member of the family that differs from Exception only by its reported name
/// and carries no message (the thread and handle failures): its one constructor takes the
/// raising site (file, line, func); its destructor is defined in the library.
#define ZUL_DECLARE_SITE_EXCEPTION(Class)                                              \
    class ZUL_API Class : public ::zul::Exception {                                    \
      public:                                                                          \
        /** Raised at `file`:`line` in `func`; the message is empty. */                \
        Class(char const* file, unsigned int line, char const* func);                  \
        /** Defined in the library, so the type is one across the library boundary. */ \
        ~Class() override;                                                             \
    }

/// A position or index outside the range it must lie in (zul::CharAt, for one).
ZUL_DECLARE_EXCEPTION(OutOfRangeException);
/// Data that must not be empty was (kept for applications; the library never raises it).
ZUL_DECLARE_EXCEPTION(EmptyDataException);
/// Data that does not have the form it must have (a date and time text, for one).
ZUL_DECLARE_EXCEPTION(InvalidDataException);
/// An operation the object does not support as it was set up (dumper::str() on a caller's
/// stream, for one).
ZUL_DECLARE_EXCEPTION(UnsupportedFunctionException);
/// An operation not implemented yet (kept for applications; the library never raises it).
ZUL_DECLARE_EXCEPTION(ToBeDoneException);
/// A null pointer where an object is needed (kept for applications; the library never
/// raises it).
ZUL_DECLARE_EXCEPTION(NullPointerException);
/// A unit that is already present (kept for applications; the library never raises it).
ZUL_DECLARE_EXCEPTION(DuplicatedUnitException);

namespace pml {
/// Malformed PML text met while reading; the target keeps what was read before it.
ZUL_DECLARE_EXCEPTION(DecodeException);
}  // namespace pml

/// A handle dereferenced while null. Calls abort() once built when nullHandleAbort is set.
ZUL_DECLARE_SITE_EXCEPTION(NullHandleException);
/// A lock held where it must not be (kept for applications; the library never raises it).
ZUL_DECLARE_SITE_EXCEPTION(ThreadLockedException);
/// A thread started a second time.
ZUL_DECLARE_SITE_EXCEPTION(ThreadStartedException);
/// An operation that needs a started thread, on one never started.
ZUL_DECLARE_SITE_EXCEPTION(ThreadNotStartedException);

/// A failed thread system call; keeps the system error number.
class ZUL_API ThreadSyscallException : public Exception {
  public:
    /// Raised at `file`:`line` in `func` for the system error number `error` (0 when none);
    /// the message is empty.
    ThreadSyscallException(char const* file, unsigned int line, char const* func, int error);
    /// Defined in the library, like every destructor of the family.
    ~ThreadSyscallException() override;

    /// The system error number (0 when none).
    int error() const { return error_; }
    /// The base report, followed (when the error number is not 0) by
    /// ":\nthread syscall exception: " and the system's text for the error.
    std::ostream& dump(std::ostream& os) const override;

  private:
    int error_;
};

namespace xml {

/// The XML parser's internal failure: a message and the parser's source position. It keeps
/// no call stack; what() is always "XMLRuntimeException".
class ZUL_API XMLRuntimeException : public std::exception {
  public:
    /// Copies the message; empty file, line 0.
    explicit XMLRuntimeException(zul::istr const& msg);
    /// Copies the message and the parser's source file; keeps the line.
    XMLRuntimeException(zul::istr const& msg, zul::istr const& file, unsigned long line);
    /// Defined in the library, so that its type information lives there.
    ~XMLRuntimeException() override;

    /// Always "XMLRuntimeException"; the message is in msg().
    char const* what() const noexcept override;

    /// The message.
    String const& msg() const { return msg_; }
    /// The parser's source file (empty when none was given).
    String const& file() const { return file_; }
    /// The parser's source line (0 when none was given).
    unsigned long line() const { return line_; }

  private:
    String msg_;
    String file_;
    unsigned long line_;
};

/// Writes "msg @ file:line", nothing before or after.
ZUL_API std::ostream& operator<<(std::ostream& os, XMLRuntimeException const& e);

}  // namespace xml

/// A processor-fault record: fault number and the frame- and instruction-pointer values.
class ZUL_API SE_Exception : public std::exception {
  public:
    /// Keeps the fault number and the two register values and builds the report.
    SE_Exception(unsigned int seNumber, unsigned long ebp, unsigned long eip);
    /// Defined in the library, so that its type information lives there.
    ~SE_Exception() override;

    /// The fault number.
    unsigned int getSeNumber() const { return seNumber_; }
    /// The frame-pointer value.
    unsigned long getEbp() const { return ebp_; }
    /// The instruction-pointer value.
    unsigned long getEip() const { return eip_; }

    /// "SE_Exception  0x<fault>, ebp = 0x<ebp>, eip = 0x<eip>" (lower-case hexadecimal, at
    /// least 8 digits each), or empty text when the fault number is 0.
    char const* what() const noexcept override;

    /// Installs nothing: this platform has no processor-fault translation.
    static void set_se_translator();

  private:
    unsigned int seNumber_;
    unsigned long ebp_;
    unsigned long eip_;
    std::string report_;
};

}  // namespace zul
