// The located global allocation operators behind the allocation helpers, and the flag that
// lets the helpers skip a stopped leak checker.
#include <zul/base/alloc.h>

void* operator new(std::size_t size, char const*, unsigned int, char const*) {
    return ::operator new(size);
}

void* operator new[](std::size_t size, char const*, unsigned int, char const*) {
    return ::operator new[](size);
}

void operator delete(void* p, char const*, unsigned int, char const*) noexcept {
    ::operator delete(p);
}

void operator delete[](void* p, char const*, unsigned int, char const*) noexcept {
    ::operator delete[](p);
}

namespace zul {
namespace detail {

// False until the first checker exists: the first helper call goes out of line and
// creates it.
std::atomic<bool> g__checkerIdle{false};

}  // namespace detail
}  // namespace zul
