// Bounds-checked memory and string functions (memcpy_s, memset_s, strncpy_s, snprintf_s,
// sscanf_s, wcscpy_s), which glibc lacks. They live in namespace zul so that a C library
// that one day ships its own versions cannot clash with them.
#pragma once

#include <zul/base/api.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>

namespace zul {

/// Result of the checked functions: 0 on success, an errno value on a constraint violation.
using errno_t = int;
/// A size argument; anything above kRsizeMax is taken for a wrapped negative number.
using rsize_t = std::size_t;
/// The largest size the checked functions accept (half the address space).
constexpr rsize_t kRsizeMax = SIZE_MAX >> 1;

// Every function checks its arguments before it touches memory. A call that breaks a rule
// (null pointer, size 0 or above kRsizeMax, count above the destination size, text that does
// not fit, overlapping objects) writes nothing past the destination and returns non-zero:
// EINVAL for a null pointer, a string destination of size 0, overlap or a forbidden
// conversion; ERANGE for a size that is too large or too small. What such a failed call
// leaves in a valid destination is stated per function.

/// Copies `n` bytes of `s2` into `s1` (room for `s1max`). On failure a valid `s1` (non-null,
/// s1max <= kRsizeMax) is zero-filled over all `s1max` bytes.
ZUL_API errno_t memcpy_s(void* s1, rsize_t s1max, const void* s2, rsize_t n);

/// Fills `n` bytes of `s` (room for `smax`) with `c`; never optimised away, so it can wipe
/// secrets. When only `n` > `smax` is wrong, all `smax` bytes are still filled and the call
/// fails.
ZUL_API errno_t memset_s(void* s, rsize_t smax, int c, rsize_t n);

/// Copies at most `n` characters of `s2` (fewer when it ends earlier) into `s1` (room for
/// `s1max`) and always terminates it. Fails when the copy with its terminator does not fit:
/// a valid `s1` (non-null, 0 < s1max <= kRsizeMax) is then left holding the empty string.
ZUL_API errno_t strncpy_s(char* s1, rsize_t s1max, const char* s2, rsize_t n);

/// Copies the wide string `s2` into `s1` (room for `s1max` elements), terminator included.
/// On failure a valid `s1` is left holding the empty string.
ZUL_API errno_t wcscpy_s(wchar_t* s1, rsize_t s1max, const wchar_t* s2);

/// printf into `s` (room for `n`), truncated to n - 1 characters and always terminated.
/// Returns the length the whole text would have (like snprintf), or a negative value when
/// `s` or `format` is null, n is 0 or above kRsizeMax, the format holds %n, or an argument
/// of %s is null; a valid `s` then holds the empty string.
ZUL_API int snprintf_s(char* s, rsize_t n, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
/// snprintf_s over a va_list.
ZUL_API int vsnprintf_s(char* s, rsize_t n, const char* format, va_list ap)
    __attribute__((format(printf, 3, 0)));

/// sscanf whose %s, %c and %[ conversions take the destination's element count as an
/// rsize_t argument right after the pointer (pass `sizeof buf`, not an int literal).
/// A text that does not fit (with its terminator, for %s and %[) is a matching failure:
/// nothing is written past the destination, and for %s and %[ its first element is set to
/// NUL. Returns the number of assigned items, or EOF when the input ends before the first
/// conversion or on a constraint violation (null `s`, `format` or destination, a size above
/// kRsizeMax, a malformed format). Wide (%ls, %lc, %l[) and allocating (%m) conversions are
/// not supported and count as a constraint violation.
ZUL_API int sscanf_s(const char* s, const char* format, ...);
/// sscanf_s over a va_list.
ZUL_API int vsscanf_s(const char* s, const char* format, va_list ap);

}  // namespace zul
