// The zul exception family: every failure the library raises knows where it was raised.
#pragma once

#include <zul/base/api.h>

#include <exception>
#include <string>

namespace zul {

/// Root of the library's exceptions: raising position (file, line, function), a reported
/// name and a message. The file and function texts are borrowed and must outlive the object.
class ZUL_API Exception : public std::exception {
public:
    Exception(char const* file, unsigned int line, char const* func, char const* name,
              char const* msg);
    ~Exception() override;

    char const* file() const { return file_; }
    unsigned int line() const { return line_; }
    char const* func() const { return func_; }
    /// The reported class name, "zul::Exception" when none was given.
    char const* name() const { return name_.c_str(); }
    char const* msg() const { return msg_.c_str(); }

    /// The report text, built once and cached; never throws.
    char const* what() const noexcept override;
    /// Writes the report to `os` and returns it.
    virtual std::ostream& dump(std::ostream& os) const;

private:
    std::string name_;
    char const* file_;
    unsigned int line_;
    char const* func_;
    std::string msg_;
    mutable std::string report_;
};

// Declares a member of the family that differs from `Exception` only by its reported name.
#define ZUL_DECLARE_EXCEPTION(Class)                                                  \
    class ZUL_API Class : public ::zul::Exception {                                   \
    public:                                                                           \
        Class(char const* file, unsigned int line, char const* func, char const* msg); \
        ~Class() override;                                                            \
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

}  // namespace zul
