// The error record seam: the one place that hands non-thrown error records to the log.
#include <zul/base/log_seam.h>

namespace zul {
namespace detail {

void writeErrorRecord(char const*, unsigned int, char const*, std::string const&,
                      char const*) noexcept {
    // The log front end takes these records once it exists; until then nothing is written.
}

}  // namespace detail
}  // namespace zul
