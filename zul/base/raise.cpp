// The failure record seam of the raising convention.
#include <zul/base/log_seam.h>
#include <zul/base/raise.h>

namespace zul {
namespace detail {

void recordThrown(char const* file, unsigned int line, char const* func,
                  std::string const& message) {
    writeThrownRecord(file, line, func, message);
}

}  // namespace detail
}  // namespace zul
