// zul::Handle: the failure raised by a null dereference.
#include <zul/base/exception.h>
#include <zul/mt/handle.h>

namespace zul {
namespace detail {

void throwNullHandle(char const* file, unsigned int line, char const* func) {
    // Handle failures are thrown without a log record; the constructor aborts instead when
    // nullHandleAbort is set.
    throw NullHandleException(file, line, func);
}

}  // namespace detail
}  // namespace zul
