// The zul exception family: construction and the report text.
#include <zul/base/exception.h>

#include <ostream>
#include <sstream>

namespace zul {

Exception::Exception(char const* file, unsigned int line, char const* func, char const* name,
                     char const* msg)
    : name_(name && *name ? name : "zul::Exception"),
      file_(file),
      line_(line),
      func_(func),
      msg_(msg ? msg : "") {}

Exception::~Exception() = default;

char const* Exception::what() const noexcept {
    if (report_.empty()) {
        try {
            std::ostringstream os;
            try {
                dump(os);
            } catch (...) {
            }
            report_ = os.str();
        } catch (...) {
        }
    }
    return report_.c_str();
}

std::ostream& Exception::dump(std::ostream& os) const {
    os << "{\n EXCEPTION: " << name_ << " " << msg_ << "\n        AT: " << (func_ ? func_ : "")
       << "(" << (file_ ? file_ : "") << ":" << line_ << ")"
       << "\nCALL STACK: "
       << "\n}";
    return os;
}

#define ZUL_DEFINE_EXCEPTION(Class, Name)                                                    \
    Class::Class(char const* file, unsigned int line, char const* func, char const* msg)    \
        : Exception(file, line, func, Name, msg) {}                                         \
    Class::~Class() = default;

#define ZUL_DEFINE_EXCEPTION_IN(Ns, Class, Name) \
    namespace Ns {                               \
    ZUL_DEFINE_EXCEPTION(Class, Name)            \
    }

ZUL_DEFINE_EXCEPTION(OutOfRangeException, "zul::OutOfRangeException")
ZUL_DEFINE_EXCEPTION(EmptyDataException, "zul::EmptyDataException")
ZUL_DEFINE_EXCEPTION(InvalidDataException, "zul::InvalidDataException")
ZUL_DEFINE_EXCEPTION(UnsupportedFunctionException, "zul::UnsupportedFunctionException")
ZUL_DEFINE_EXCEPTION(ToBeDoneException, "zul::ToBeDoneException")
ZUL_DEFINE_EXCEPTION(NullPointerException, "zul::NullPointerException")
ZUL_DEFINE_EXCEPTION(DuplicatedUnitException, "zul::DuplicatedUnitException")
ZUL_DEFINE_EXCEPTION_IN(pml, DecodeException, "zul::pml::DecodeException")

}  // namespace zul
