// Bounds-checked memory and string functions: argument checks, then the plain C library
// call (or, for sscanf_s, a format walker that sizes every text destination).
#include <zul/platform/bounds_checked.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>

namespace zul {
namespace {

/// True when the byte ranges [a, a + an) and [b, b + bn) share a byte.
bool overlaps(const void* a, size_t an, const void* b, size_t bn) {
    const auto x = reinterpret_cast<std::uintptr_t>(a);
    const auto y = reinterpret_cast<std::uintptr_t>(b);
    return an != 0 && bn != 0 && x < y + bn && y < x + an;
}

/// memset that the optimiser may not drop even when the memory is never read again.
void fillNoElide(void* s, int c, size_t n) {
    std::memset(s, c, n);
    __asm__ __volatile__("" : : "r"(s) : "memory");
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

// ---- snprintf_s: the format walk that finds %n and null %s arguments ------------------------

enum class Len { none, hh, h, l, ll, j, z, t, L };

/// Reads a length modifier at `p` and advances past it.
Len readLength(const char*& p) {
    switch (*p) {
        case 'h':
            if (*++p == 'h') {
                ++p;
                return Len::hh;
            }
            return Len::h;
        case 'l':
            if (*++p == 'l') {
                ++p;
                return Len::ll;
            }
            return Len::l;
        case 'q':
            ++p;
            return Len::ll;
        case 'j':
            ++p;
            return Len::j;
        case 'z':
        case 'Z':
            ++p;
            return Len::z;
        case 't':
            ++p;
            return Len::t;
        case 'L':
            ++p;
            return Len::L;
        default:
            return Len::none;
    }
}

void skipSignedArg(Len len, va_list& ap) {
    switch (len) {
        case Len::l:
            (void)va_arg(ap, long);
            break;
        case Len::ll:
        case Len::L:
            (void)va_arg(ap, long long);
            break;
        case Len::j:
            (void)va_arg(ap, intmax_t);
            break;
        case Len::z:
            (void)va_arg(ap, size_t);
            break;
        case Len::t:
            (void)va_arg(ap, ptrdiff_t);
            break;
        default:
            (void)va_arg(ap, int);
            break;
    }
}

/// Reads "*" (consuming an int argument when `walk`), or a run of digits; a positional
/// "*m$" stops the walk since arguments are then no longer taken in order.
void skipWidth(const char*& p, bool& walk, va_list& ap) {
    if (*p == '*') {
        ++p;
        const char* q = p;
        while (isDigit(*q)) ++q;
        if (*q == '$') {
            p = q + 1;
            walk = false;
        } else if (walk) {
            (void)va_arg(ap, int);
        }
        return;
    }
    while (isDigit(*p)) ++p;
}

/// False when the format holds %n or, while arguments can be followed in order, a %s (or
/// %ls) argument is null.
bool printfFormatAllowed(const char* format, va_list& ap) {
    bool walk = true;
    for (const char* p = format; *p != '\0'; ++p) {
        if (*p != '%') continue;
        ++p;
        if (*p == '%') continue;
        const char* q = p;
        while (isDigit(*q)) ++q;
        if (*q == '$' && q != p) {
            walk = false;
            p = q + 1;
        }
        while (*p != '\0' && std::strchr("-+ #0'I", *p) != nullptr) ++p;
        skipWidth(p, walk, ap);
        if (*p == '.') {
            ++p;
            skipWidth(p, walk, ap);
        }
        const Len len = readLength(p);
        switch (*p) {
            case '\0':
                return true;  // a lone '%' at the end: the printer decides
            case 'n':
                return false;
            case 'm':
                break;  // strerror(errno), no argument
            case 'd':
            case 'i':
            case 'o':
            case 'u':
            case 'x':
            case 'X':
                if (walk) skipSignedArg(len, ap);
                break;
            case 'c':
            case 'C':
                if (walk) (void)va_arg(ap, wint_t);
                break;
            case 's':
                if (walk) {
                    const void* arg = len == Len::l ? static_cast<const void*>(va_arg(ap, wchar_t*))
                                                    : va_arg(ap, char*);
                    if (arg == nullptr) return false;
                }
                break;
            case 'S':
                if (walk && va_arg(ap, wchar_t*) == nullptr) return false;
                break;
            case 'p':
                if (walk) (void)va_arg(ap, void*);
                break;
            case 'a':
            case 'A':
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
                if (walk) {
                    if (len == Len::L)
                        (void)va_arg(ap, long double);
                    else
                        (void)va_arg(ap, double);
                }
                break;
            default:
                walk = false;
                break;  // unknown conversion: argument types unknown
        }
    }
    return true;
}

// ---- sscanf_s: the scanner ------------------------------------------------------------------

/// Scans `in` against `format`, taking destinations (and sizes) from `ap`.
class Scanner {
  public:
    Scanner(const char* in, va_list ap) : start_(in), in_(in) { va_copy(ap_, ap); }
    ~Scanner() { va_end(ap_); }
    Scanner(const Scanner&) = delete;
    Scanner& operator=(const Scanner&) = delete;

    int run(const char* f) {
        while (*f != '\0') {
            if (isSpace(*f)) {
                while (isSpace(*f)) ++f;
                skipSpace();
                continue;
            }
            if (*f != '%') {
                if (*in_ == '\0') return inputFailure();
                if (*in_ != *f) return assigned_;
                ++in_;
                ++f;
                continue;
            }
            ++f;
            if (*f == '%') {
                skipSpace();
                if (*in_ == '\0') return inputFailure();
                if (*in_ != '%') return assigned_;
                ++in_;
                ++f;
                continue;
            }
            const int r = conversion(f);
            if (r != kGoOn) return r;
        }
        return assigned_;
    }

  private:
    static constexpr int kGoOn = INT_MIN;
    static constexpr size_t kMaxWidth = INT_MAX;

    void skipSpace() {
        while (isSpace(*in_)) ++in_;
    }
    /// The input ended: EOF before the first conversion, else the count so far.
    int inputFailure() const { return converted_ ? assigned_ : EOF; }

    /// Handles one conversion starting after its '%'; returns kGoOn to continue or the
    /// final result of the scan.
    int conversion(const char*& f) {
        const bool suppress = *f == '*';
        if (suppress) ++f;
        size_t width = 0;
        const bool hasWidth = isDigit(*f);
        while (isDigit(*f)) {
            width = width * 10 + static_cast<size_t>(*f++ - '0');
            if (width > kMaxWidth) return EOF;
        }
        if (hasWidth && width == 0) return EOF;
        const char* lenBegin = f;
        const Len len = readLength(f);
        const std::string lenText(lenBegin, f);
        const char conv = *f == '\0' ? '\0' : *f++;
        switch (conv) {
            case 'c':
            case 's':
            case '[':
                if (len != Len::none) return EOF;  // wide text is not supported
                return text(conv, f, suppress, hasWidth ? width : 0);
            case 'n':
                return count(len, suppress);
            case 'd':
            case 'i':
            case 'o':
            case 'u':
            case 'x':
            case 'X':
            case 'a':
            case 'A':
            case 'e':
            case 'E':
            case 'f':
            case 'F':
            case 'g':
            case 'G':
            case 'p':
                return number(suppress, hasWidth ? width : 0, lenText, conv);
            default:
                return EOF;  // malformed format (also GNU %m allocation)
        }
    }

    /// %c, %s and %[: reads the text and stores it only when it fits the given size.
    int text(char conv, const char*& f, bool suppress, size_t width) {
        bool set[UCHAR_MAX + 1] = {};
        if (conv == '[' && !readScanSet(f, set)) return EOF;
        char* dst = nullptr;
        rsize_t size = 0;
        if (!suppress) {
            dst = va_arg(ap_, char*);
            size = va_arg(ap_, rsize_t);
            if (dst == nullptr || size > kRsizeMax) return EOF;
        }
        if (conv == 's') skipSpace();
        if (*in_ == '\0') return inputFailure();
        size_t k = 0;
        if (conv == 'c') {
            if (width == 0) width = 1;
            while (k < width && in_[k] != '\0') ++k;
            if (k < width) return inputFailure();
        } else {
            const size_t limit = width == 0 ? SIZE_MAX : width;
            while (k < limit && in_[k] != '\0') {
                const auto u = static_cast<unsigned char>(in_[k]);
                if (conv == 's' ? isSpace(in_[k]) : !set[u]) break;
                ++k;
            }
            if (k == 0) return assigned_;
        }
        if (!suppress) {
            const size_t need = conv == 'c' ? k : k + 1;
            if (need > size) {
                if (conv != 'c' && size > 0) dst[0] = '\0';
                return assigned_;
            }
            std::memcpy(dst, in_, k);
            if (conv != 'c') dst[k] = '\0';
            ++assigned_;
        }
        in_ += k;
        converted_ = true;
        return kGoOn;
    }

    /// Parses the scan set after "%[" up to its ']' ("]" first and "a-z" ranges allowed).
    static bool readScanSet(const char*& f, bool* set) {
        const bool negate = *f == '^';
        if (negate) ++f;
        const char* first = f;
        for (; *f != ']' || f == first; ++f) {
            if (*f == '\0') return false;
            const auto c = static_cast<unsigned char>(*f);
            if (*f == '-' && f != first && f[1] != ']' && f[1] != '\0' &&
                static_cast<unsigned char>(f[1]) >= static_cast<unsigned char>(f[-1])) {
                for (unsigned v = static_cast<unsigned char>(f[-1]);
                     v <= static_cast<unsigned char>(f[1]); ++v)
                    set[v] = true;
                ++f;
                continue;
            }
            set[c] = true;
        }
        ++f;
        if (negate)
            for (int v = 0; v <= UCHAR_MAX; ++v) set[v] = !set[v];
        set[0] = false;
        return true;
    }

    /// %n: stores the characters consumed so far; counts as no item.
    int count(Len len, bool suppress) {
        if (suppress) return kGoOn;
        void* p = va_arg(ap_, void*);
        if (p == nullptr) return EOF;
        const auto n = in_ - start_;
        switch (len) {
            case Len::hh:
                *static_cast<signed char*>(p) = static_cast<signed char>(n);
                break;
            case Len::h:
                *static_cast<short*>(p) = static_cast<short>(n);
                break;
            case Len::l:
                *static_cast<long*>(p) = static_cast<long>(n);
                break;
            case Len::ll:
            case Len::L:
                *static_cast<long long*>(p) = n;
                break;
            case Len::j:
                *static_cast<intmax_t*>(p) = n;
                break;
            case Len::z:
                *static_cast<size_t*>(p) = static_cast<size_t>(n);
                break;
            case Len::t:
                *static_cast<ptrdiff_t*>(p) = n;
                break;
            default:
                *static_cast<int*>(p) = static_cast<int>(n);
                break;
        }
        return kGoOn;
    }

    /// Numbers and pointers: the C library converts one field and reports its length.
    int number(bool suppress, size_t width, const std::string& lenText, char conv) {
        std::string fmt("%");
        if (suppress) fmt += '*';
        if (width != 0) fmt += std::to_string(width);
        fmt += lenText;
        fmt += conv;
        fmt += "%n";
        skipSpace();
        if (*in_ == '\0') return inputFailure();
        int used = -1;
        if (suppress) {
            std::sscanf(in_, fmt.c_str(), &used);
        } else {
            void* p = va_arg(ap_, void*);
            if (p == nullptr) return EOF;
            std::sscanf(in_, fmt.c_str(), p, &used);
        }
        if (used < 0) return assigned_;
        in_ += used;
        if (!suppress) ++assigned_;
        converted_ = true;
        return kGoOn;
    }

    const char* start_;
    const char* in_;
    va_list ap_;
    int assigned_ = 0;
    bool converted_ = false;
};

}  // namespace

errno_t memcpy_s(void* s1, rsize_t s1max, const void* s2, rsize_t n) {
    if (s1 == nullptr) return EINVAL;
    if (s1max > kRsizeMax) return ERANGE;
    errno_t err = 0;
    if (s2 == nullptr)
        err = EINVAL;
    else if (n > kRsizeMax || n > s1max)
        err = ERANGE;
    else if (overlaps(s1, n, s2, n))
        err = EINVAL;
    if (err != 0) {
        std::memset(s1, 0, s1max);
        return err;
    }
    if (n != 0) std::memcpy(s1, s2, n);
    return 0;
}

errno_t memset_s(void* s, rsize_t smax, int c, rsize_t n) {
    if (s == nullptr) return EINVAL;
    if (smax > kRsizeMax) return ERANGE;
    errno_t err = 0;
    if (n > smax) {  // also covers n > kRsizeMax
        err = ERANGE;
        n = smax;
    }
    if (n != 0) fillNoElide(s, c, n);
    return err;
}

errno_t strncpy_s(char* s1, rsize_t s1max, const char* s2, rsize_t n) {
    if (s1 == nullptr || s1max == 0) return EINVAL;
    if (s1max > kRsizeMax) return ERANGE;
    auto fail = [s1](errno_t e) {
        s1[0] = '\0';
        return e;
    };
    if (s2 == nullptr) return fail(EINVAL);
    if (n > kRsizeMax) return fail(ERANGE);
    // Never look further than the destination could hold: with n >= s1max the source must
    // end within s1max characters.
    const size_t len = ::strnlen(s2, n < s1max ? n : s1max);
    if (len >= s1max) return fail(ERANGE);
    const size_t read = len < n ? len + 1 : len;  // the source terminator is read too
    if (overlaps(s1, len + 1, s2, read)) return fail(EINVAL);
    std::memcpy(s1, s2, len);
    s1[len] = '\0';
    return 0;
}

errno_t wcscpy_s(wchar_t* s1, rsize_t s1max, const wchar_t* s2) {
    if (s1 == nullptr || s1max == 0) return EINVAL;
    if (s1max > kRsizeMax) return ERANGE;
    auto fail = [s1](errno_t e) {
        s1[0] = L'\0';
        return e;
    };
    if (s2 == nullptr) return fail(EINVAL);
    const size_t len = ::wcsnlen(s2, s1max);
    if (len >= s1max) return fail(ERANGE);
    const size_t bytes = (len + 1) * sizeof(wchar_t);
    if (overlaps(s1, bytes, s2, bytes)) return fail(EINVAL);
    std::wmemcpy(s1, s2, len + 1);
    return 0;
}

int vsnprintf_s(char* s, rsize_t n, const char* format, va_list ap) {
    if (s == nullptr || n == 0 || n > kRsizeMax) return -1;
    bool allowed = format != nullptr;
    if (allowed) {
        va_list walk;
        va_copy(walk, ap);
        allowed = printfFormatAllowed(format, walk);
        va_end(walk);
    }
    if (!allowed) {
        s[0] = '\0';
        return -1;
    }
    const int r = std::vsnprintf(s, n, format, ap);
    if (r < 0) s[0] = '\0';
    return r;
}

int snprintf_s(char* s, rsize_t n, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    const int r = vsnprintf_s(s, n, format, ap);
    va_end(ap);
    return r;
}

int vsscanf_s(const char* s, const char* format, va_list ap) {
    if (s == nullptr || format == nullptr) return EOF;
    Scanner scanner(s, ap);
    return scanner.run(format);
}

int sscanf_s(const char* s, const char* format, ...) {
    va_list ap;
    va_start(ap, format);
    const int r = vsscanf_s(s, format, ap);
    va_end(ap);
    return r;
}

}  // namespace zul
