// The failure record seam of the raising convention.
#include <zul/base/raise.h>

#include <zul/base/log_seam.h>
#include <zul/log/log_logger.h>

namespace zul {
namespace detail {

void recordThrown(char const* file, unsigned int line, char const* func,
                  std::string const& message) {
    logger* lg = libraryLogger();
    if (!lg) return;
    try {
        exceptionThrown(*lg, file, line, func, message.c_str());
    } catch (...) {
        // The failure being raised matters more than its record.
    }
}

}  // namespace detail
}  // namespace zul
