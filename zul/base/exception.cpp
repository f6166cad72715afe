// The zul exception family: construction, the cached report and the out-of-line
// destructors that anchor each class's type information in the library.
#include <zul/base/exception.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ostream>
#include <sstream>

namespace zul {

bool nullHandleAbort = false;

namespace {

// Labels of the report; each takes twelve columns so continuation lines align.
constexpr char kReportOpen[] = "{\n EXCEPTION: ";
constexpr char kReportClose[] = "\n}";

constexpr char kDefaultName[] = "zul::Exception";
constexpr char kSyscallLabel[] = ":\nthread syscall exception: ";

}  // namespace

// ---------------------------------------------------------------------------------------
// Exception

Exception::Exception(char const* file, unsigned int line, char const* func, char const* name,
                     char const* msg)
    : name_(name && *name ? name : kDefaultName),
      info_(file, line, func),
      stack_(detail::currentCallStack()),
      msg_(msg ? msg : "") {}

Exception::~Exception() = default;

char const* Exception::what() const noexcept {
    if (report_.empty()) {
        try {
            std::ostringstream os;
            try {
                dump(os);
            } catch (...) {
                // Keep whatever the report held before the failure.
            }
            report_ = os.str();
        } catch (...) {
        }
    }
    return report_.c_str();
}

std::ostream& Exception::dump(std::ostream& os) const {
    os << kReportOpen << name_ << ' ' << msg_;
    detail::writePositionAndStack(os, info_, stack_);
    return os << kReportClose;
}

// ---------------------------------------------------------------------------------------
// The members that differ only by name

#define ZUL_DEFINE_EXCEPTION(Class, Name)                                                \
    Class::Class(char const* file, unsigned int line, char const* func, char const* msg) \
        : ::zul::Exception(file, line, func, Name, msg) {}                               \
    Class::~Class() = default;

#define ZUL_DEFINE_SITE_EXCEPTION(Class, Name)                          \
    Class::Class(char const* file, unsigned int line, char const* func) \
        : ::zul::Exception(file, line, func, Name, "") {}               \
    Class::~Class() = default;

ZUL_DEFINE_EXCEPTION(OutOfRangeException, "zul::OutOfRangeException")
ZUL_DEFINE_EXCEPTION(EmptyDataException, "zul::EmptyDataException")
ZUL_DEFINE_EXCEPTION(InvalidDataException, "zul::InvalidDataException")
ZUL_DEFINE_EXCEPTION(UnsupportedFunctionException, "zul::UnsupportedFunctionException")
ZUL_DEFINE_EXCEPTION(ToBeDoneException, "zul::ToBeDoneException")
ZUL_DEFINE_EXCEPTION(NullPointerException, "zul::NullPointerException")
ZUL_DEFINE_EXCEPTION(DuplicatedUnitException, "zul::DuplicatedUnitException")
namespace pml {
ZUL_DEFINE_EXCEPTION(DecodeException, "zul::pml::DecodeException")
}  // namespace pml

ZUL_DEFINE_SITE_EXCEPTION(ThreadLockedException, "zul::ThreadLockedException")
ZUL_DEFINE_SITE_EXCEPTION(ThreadStartedException, "zul::ThreadStartedException")
ZUL_DEFINE_SITE_EXCEPTION(ThreadNotStartedException, "zul::ThreadNotStartedException")

#undef ZUL_DEFINE_EXCEPTION
#undef ZUL_DEFINE_SITE_EXCEPTION

// ---------------------------------------------------------------------------------------
// NullHandleException

NullHandleException::NullHandleException(char const* file, unsigned int line, char const* func)
    : Exception(file, line, func, "zul::NullHandleException", "") {
    // Stop where the null handle was used, with the position and stack already captured.
    if (nullHandleAbort) std::abort();
}

NullHandleException::~NullHandleException() = default;

// ---------------------------------------------------------------------------------------
// ThreadSyscallException

ThreadSyscallException::ThreadSyscallException(char const* file, unsigned int line,
                                               char const* func, int error)
    : Exception(file, line, func, "zul::ThreadSyscallException", ""), error_(error) {}

ThreadSyscallException::~ThreadSyscallException() = default;

std::ostream& ThreadSyscallException::dump(std::ostream& os) const {
    Exception::dump(os);
    if (error_ != 0) {
        // The thread-safe form of strerror; this one returns the text it chose.
        char buf[256];
        char const* text = ::strerror_r(error_, buf, sizeof buf);
        os << kSyscallLabel << (text ? text : "");
    }
    return os;
}

// ---------------------------------------------------------------------------------------
// xml::XMLRuntimeException

namespace xml {

XMLRuntimeException::XMLRuntimeException(zul::istr const& msg) : msg_(msg), line_(0) {}

XMLRuntimeException::XMLRuntimeException(zul::istr const& msg, zul::istr const& file,
                                         unsigned long line)
    : msg_(msg), file_(file), line_(line) {}

XMLRuntimeException::~XMLRuntimeException() = default;

char const* XMLRuntimeException::what() const noexcept {
    return "XMLRuntimeException";
}

std::ostream& operator<<(std::ostream& os, XMLRuntimeException const& e) {
    return os << e.msg() << " @ " << e.file() << ':' << e.line();
}

}  // namespace xml

// ---------------------------------------------------------------------------------------
// SE_Exception

SE_Exception::SE_Exception(unsigned int seNumber, unsigned long ebp, unsigned long eip)
    : seNumber_(seNumber), ebp_(ebp), eip_(eip) {
    if (seNumber_ == 0) return;
    // Three values of at most 16 hexadecimal digits each fit with room to spare.
    char buf[96];
    int n = std::snprintf(buf, sizeof buf, "SE_Exception  0x%08x, ebp = 0x%08lx, eip = 0x%08lx",
                          seNumber_, ebp_, eip_);
    if (n > 0) report_.assign(buf, static_cast<size_t>(n) < sizeof buf ? n : sizeof buf - 1);
}

SE_Exception::~SE_Exception() = default;

char const* SE_Exception::what() const noexcept {
    return report_.c_str();
}

void SE_Exception::set_se_translator() {}

}  // namespace zul
