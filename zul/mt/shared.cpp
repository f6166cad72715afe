// zul::Shared: the out-of-line virtual destructor, which anchors the class's type
// information in the library.
#include <zul/mt/shared.h>

namespace zul {

Shared::~Shared() = default;

}  // namespace zul
