// The null-tolerant memory helpers and character classes that the text types and every
// module build on: the bottom of the library, above the bounds-checked functions only.
#pragma once

#include <zul/base/api.h>

#include <cstddef>

namespace zul {

// ---- Bounded NUL-terminated strings -------------------------------------------------------

/// Characters before the first NUL, at most `n`; 0 for a null pointer or n == 0.
ZUL_API size_t StrLenN(const char* p, size_t n);

// ---- Memory: null-tolerant, through the bounds-checked functions ------------------------

/// Fills `n` bytes of `p` with `c`; nothing for null or n == 0. Returns `p`.
ZUL_API void* MemSet(void* p, int c, size_t n);

/// Copies `n` bytes; nothing when either pointer is null, they are equal, or n == 0.
/// Returns `d`.
ZUL_API void* MemCopy(void* d, const void* s, size_t n);

/// Copies `n` bytes and terminates `d` at position n (room for n + 1 bytes); a null `s`
/// copies nothing but still terminates. Nothing for null `d` or `d` == `s`. Returns `d`.
ZUL_API void* MemCopyZ(void* d, const void* s, size_t n);

/// memcmp that orders a null pointer before any other and treats two nulls as equal.
ZUL_API int MemCmp(const void* a, const void* b, size_t n);

// ---- Characters ---------------------------------------------------------------------------

///@{

/// The C library's upper- or lower-case form of the byte's unsigned value; other bytes are
/// returned unchanged.
ZUL_API char CharToUpper(char c);
ZUL_API char CharToLower(char c);
///@}

///@{

/// Classification by the C library's classes of the byte's unsigned value (iswspace and
/// iswprint for a wide character).
ZUL_API bool CharIsDigit(char c);
ZUL_API bool CharIsSpace(char c);
ZUL_API bool CharIsPrint(char c);
ZUL_API bool CharIsCntrl(char c);
ZUL_API bool CharIsUpper(char c);
ZUL_API bool CharIsLower(char c);
ZUL_API bool CharIsAlpha(char c);
ZUL_API bool CharIsPunct(char c);
ZUL_API bool CharIsXdigit(char c);
ZUL_API bool CharIsAlnum(char c);
ZUL_API bool CharIsGraph(char c);
ZUL_API bool CharIsSpace(wchar_t c);
ZUL_API bool CharIsPrint(wchar_t c);
///@}

}  // namespace zul
