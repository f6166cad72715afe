// The failure record seam of the raising convention.
#include <zul/base/raise.h>

namespace zul {
namespace detail {

void recordThrown(char const*, unsigned int, char const*, std::string const&) {
    // The log front end takes these records once it exists; until then nothing is written.
}

}  // namespace detail
}  // namespace zul
