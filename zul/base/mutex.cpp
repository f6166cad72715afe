// zul::Mutex: construction and destruction of the platform mutex, kept out of line so that
// every user shares the one definition in the library.
#include <zul/base/mutex.h>

namespace zul {

Mutex::Mutex() = default;

Mutex::~Mutex() = default;

}  // namespace zul
