// The null-tolerant memory helpers and character classes.
#include <zul/base/char_memory.h>
#include <zul/platform/bounds_checked.h>

#include <cctype>
#include <cstring>
#include <cwctype>

namespace zul {

namespace {

unsigned char uchar(char c) {
    return static_cast<unsigned char>(c);
}

}  // namespace

// ---- Bounded NUL-terminated strings -------------------------------------------------------

size_t StrLenN(const char* p, size_t n) {
    if (p == nullptr || n == 0) return 0;
    return ::strnlen(p, n);
}

// ---- Memory -------------------------------------------------------------------------------

void* MemSet(void* p, int c, size_t n) {
    if (p != nullptr && n != 0) memset_s(p, n, c, n);
    return p;
}

void* MemCopy(void* d, const void* s, size_t n) {
    if (d != nullptr && s != nullptr && d != s && n != 0) memcpy_s(d, n, s, n);
    return d;
}

void* MemCopyZ(void* d, const void* s, size_t n) {
    if (d == nullptr || d == s) return d;
    if (s == nullptr) n = 0;
    static_cast<char*>(d)[n] = '\0';
    if (n != 0) memcpy_s(d, n, s, n);
    return d;
}

int MemCmp(const void* a, const void* b, size_t n) {
    if (a == b || n == 0) return 0;
    if (a == nullptr) return -1;
    if (b == nullptr) return 1;
    return std::memcmp(a, b, n);
}

// ---- Characters ---------------------------------------------------------------------------

char CharToUpper(char c) {
    return static_cast<char>(std::toupper(uchar(c)));
}
char CharToLower(char c) {
    return static_cast<char>(std::tolower(uchar(c)));
}
bool CharIsDigit(char c) {
    return std::isdigit(uchar(c)) != 0;
}
bool CharIsSpace(char c) {
    return std::isspace(uchar(c)) != 0;
}
bool CharIsPrint(char c) {
    return std::isprint(uchar(c)) != 0;
}
bool CharIsCntrl(char c) {
    return std::iscntrl(uchar(c)) != 0;
}
bool CharIsUpper(char c) {
    return std::isupper(uchar(c)) != 0;
}
bool CharIsLower(char c) {
    return std::islower(uchar(c)) != 0;
}
bool CharIsAlpha(char c) {
    return std::isalpha(uchar(c)) != 0;
}
bool CharIsPunct(char c) {
    return std::ispunct(uchar(c)) != 0;
}
bool CharIsXdigit(char c) {
    return std::isxdigit(uchar(c)) != 0;
}
bool CharIsAlnum(char c) {
    return std::isalnum(uchar(c)) != 0;
}
bool CharIsGraph(char c) {
    return std::isgraph(uchar(c)) != 0;
}
bool CharIsSpace(wchar_t c) {
    return std::iswspace(static_cast<wint_t>(c)) != 0;
}
bool CharIsPrint(wchar_t c) {
    return std::iswprint(static_cast<wint_t>(c)) != 0;
}

}  // namespace zul
