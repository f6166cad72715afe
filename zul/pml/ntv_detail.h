// Internal helpers of the value tree: tracked creation and destruction of nodes and values,
// and the key of a child in its parent's index.
#pragma once

#include <zul/base/alloc.h>

#include <charconv>
#include <cstddef>
#include <string>
#include <utility>

namespace zul {
namespace detail {

/// Creates a `T` (a node or a value, whose own operator new draws on the per-thread block
/// caches) and records it with the leak checker under the given site.
template <class T, class... Args>
T* ntvNew(char const* file, unsigned int line, char const* func, Args&&... args) {
    return zul::allocate_push_maybe(new T(std::forward<Args>(args)...), file, line, func);
}

/// Destroys a `T` made by ntvNew (null is fine) and nulls the pointer.
template <class T>
void ntvDelete(T*& p, char const* file, unsigned int line, char const* func) noexcept {
    zul::destroy_pop_maybe(p, file, line, func);
    zul::destroy_no_mlc(p, file, line, func);
}

/// Appends the index key of an unnamed child, "[" + index + "]", to `out`.
inline void ntvIndexKey(std::string& out, std::size_t index) {
    char buf[24];
    buf[0] = '[';
    char* end = std::to_chars(buf + 1, buf + sizeof buf - 1, index).ptr;
    *end++ = ']';
    out.append(buf, static_cast<std::size_t>(end - buf));
}

}  // namespace detail
}  // namespace zul
