// The zul exception family: every failure the library raises knows where it was raised and
// the call stack of the raising thread; beside it the XML parser's and the processor-fault
// exceptions.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/log/log_tracer.h>

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
    ~Exception() override;

    char const* file() const { return info_.file(); }
    unsigned int line() const { return info_.line(); }
    char const* func() const { return info_.func(); }
    /// The reported class name.
    char const* name() const { return name_.c_str(); }
    char const* msg() const { return msg_.c_str(); }
    /// The raising position.
    Current const& info() const { return info_; }
    /// The raising thread's call stack when the exception was built.
    CallStack const& stack() const { return stack_; }

    /// The report of dump(), built on the first call and cached: later calls return the same
    /// storage without building it again. Never throws; a failing dump() leaves what it
    /// wrote before failing.
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
/// and is raised with a message.
#define ZUL_DECLARE_EXCEPTION(Class)                                                   \
    class ZUL_API Class : public ::zul::Exception {                                    \
      public:                                                                          \
        Class(char const* file, unsigned int line, char const* func, char const* msg); \
        ~Class() override;                                                             \
    }

/// Declares a member of the family that differs from Exception only by its reported name
/// and carries no message (the thread and handle failures).
#define ZUL_DECLARE_SITE_EXCEPTION(Class)                             \
    class ZUL_API Class : public ::zul::Exception {                   \
      public:                                                         \
        Class(char const* file, unsigned int line, char const* func); \
        ~Class() override;                                            \
    }

ZUL_DECLARE_EXCEPTION(OutOfRangeException);
ZUL_DECLARE_EXCEPTION(EmptyDataException);
ZUL_DECLARE_EXCEPTION(InvalidDataException);
ZUL_DECLARE_EXCEPTION(UnsupportedFunctionException);
ZUL_DECLARE_EXCEPTION(ToBeDoneException);
ZUL_DECLARE_EXCEPTION(NullPointerException);
ZUL_DECLARE_EXCEPTION(DuplicatedUnitException);

namespace pml {
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
    ThreadSyscallException(char const* file, unsigned int line, char const* func, int error);
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
    /// Empty file, line 0.
    explicit XMLRuntimeException(zul::istr const& msg);
    XMLRuntimeException(zul::istr const& msg, zul::istr const& file, unsigned long line);
    ~XMLRuntimeException() override;

    char const* what() const noexcept override;

    String const& msg() const { return msg_; }
    String const& file() const { return file_; }
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
    SE_Exception(unsigned int seNumber, unsigned long ebp, unsigned long eip);
    ~SE_Exception() override;

    unsigned int getSeNumber() const { return seNumber_; }
    unsigned long getEbp() const { return ebp_; }
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
