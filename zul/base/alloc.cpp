// The located global allocation operators behind the allocation helpers.
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
