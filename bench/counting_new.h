// Replaces a benchmark program's global operator new and delete with the two functions the
// program defines, benchAllocate and benchRelease, so that it can count its allocations.
// Include it in exactly one translation unit (each benchmark program is one).
#pragma once

#include <cstddef>
#include <new>

void* benchAllocate(std::size_t n);
void benchRelease(void* p) noexcept;

void* operator new(std::size_t n) {
    return benchAllocate(n);
}
void* operator new[](std::size_t n) {
    return benchAllocate(n);
}
void* operator new(std::size_t n, const std::nothrow_t&) noexcept {
    try {
        return benchAllocate(n);
    } catch (...) {
        return nullptr;
    }
}
void* operator new[](std::size_t n, const std::nothrow_t& t) noexcept {
    return operator new(n, t);
}
void operator delete(void* p) noexcept {
    benchRelease(p);
}
void operator delete[](void* p) noexcept {
    benchRelease(p);
}
void operator delete(void* p, std::size_t) noexcept {
    benchRelease(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    benchRelease(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    benchRelease(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    benchRelease(p);
}
