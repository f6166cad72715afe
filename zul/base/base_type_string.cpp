// Text views and strings: out-of-line members of istr, ostr, String and StringRef, and the
// value-to-text / text-to-value conversions that reproduce the standard streams exactly.
#include <zul/base/base_type_string.h>
#include <zul/platform/bounds_checked.h>
#include <zul/base/char_memory.h>

#include <charconv>
#include <limits>
#include <locale>
#include <ostream>
#include <type_traits>

namespace zul {

namespace {

// Writes `n` in decimal whatever the stream's flags are.
void writeDecimal(std::ostream& os, size_t n) {
    char buf[24];
    const auto r = std::to_chars(buf, buf + sizeof buf, n);
    os.write(buf, r.ptr - buf);
}

constexpr char kNullText[] = "<null>";

}  // namespace

// ---------------------------------------------------------------------------------------
// istr

int istr::compare(const istr& o) const {
    const size_t n = size < o.size ? size : o.size;
    const int r = MemCmp(data, o.data, n);
    if (r != 0) return r;
    return size < o.size ? -1 : (size > o.size ? 1 : 0);
}

void istr::dump(std::ostream& os) const {
    writeDecimal(os, size);
    os << ", ";
    if (data == nullptr) {
        os << kNullText;
    } else {
        os.write(data, static_cast<std::streamsize>(size));
    }
}

std::ostream& operator<<(std::ostream& os, const istr& s) {
    if (s.data != nullptr && s.size != 0) {
        os.write(s.data, static_cast<std::streamsize>(s.size));
        os.flush();
    }
    return os;
}

// ---------------------------------------------------------------------------------------
// ostr

ostr& ostr::assign(const char* p, size_t n) {
    if (buffer == nullptr || capacity == 0) return *this;
    buffer[0] = '\0';
    if (p == nullptr || n == 0) return *this;
    // Text that does not fit with its terminator is cut to capacity - 1 characters; the
    // checked copy stops early at a NUL inside the first m characters of `p`.
    const size_t m = n < capacity - 1 ? n : capacity - 1;
    if (m != 0) strncpy_s(buffer, m + 1, p, m);
    return *this;
}

size_t ostr::sizeN(size_t n) const {
    return StrLenN(buffer, n);
}

void ostr::dump(std::ostream& os) const {
    const size_t n = sizeN();
    writeDecimal(os, n);
    os << '/';
    writeDecimal(os, capacity);
    os << ", ";
    if (buffer == nullptr) {
        os << kNullText;
    } else {
        os.write(buffer, static_cast<std::streamsize>(n));
    }
}

// ---------------------------------------------------------------------------------------
// String

const String& String::null() {
    static const String instance;
    return instance;
}

// ---------------------------------------------------------------------------------------
// Value to text. A default std::ostringstream formats through the global C++ locale; with
// the classic one (the usual case) its output is the plain C form, which to_chars writes
// without building a stream. Any other global locale (grouping, another decimal point)
// goes through a real stream so that the text stays the same.

namespace {

bool classicGlobalLocale() {
    return std::locale() == std::locale::classic();
}

template <class T>
void appendStreamed(String& s, const T& v) {
    std::ostringstream os;
    os << v;
    s.append(os.str());
}

template <class T>
String& appendInteger(String& s, T v) {
    if (!classicGlobalLocale()) {
        appendStreamed(s, v);
        return s;
    }
    char buf[24];
    const auto r = std::to_chars(buf, buf + sizeof buf, v);
    s.append(buf, r.ptr - buf);
    return s;
}

// The stream writes float and double alike: as a double with "%.6g".
String& appendFloating(String& s, double v) {
    if (!classicGlobalLocale()) {
        appendStreamed(s, v);
        return s;
    }
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::general, 6);
    s.append(buf, r.ptr - buf);
    return s;
}

}  // namespace

template <>
String& String::operator+=(const short& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const int& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const long& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const long long& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const unsigned short& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const unsigned int& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const unsigned long& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const unsigned long long& v) {
    return appendInteger(*this, v);
}
template <>
String& String::operator+=(const bool& v) {
    return appendInteger(*this, v ? 1 : 0);
}
template <>
String& String::operator+=(const float& v) {
    return appendFloating(*this, v);
}
template <>
String& String::operator+=(const double& v) {
    return appendFloating(*this, v);
}
template <>
String& String::operator+=(const Short& v) {
    return appendInteger(*this, v.value);
}
template <>
String& String::operator+=(const Long& v) {
    return appendInteger(*this, v.value);
}
template <>
String& String::operator+=(const Longlong& v) {
    return appendInteger(*this, v.value);
}
template <>
String& String::operator+=(const Ushort& v) {
    return appendInteger(*this, v.value);
}
template <>
String& String::operator+=(const Ulong& v) {
    return appendInteger(*this, v.value);
}

// ---------------------------------------------------------------------------------------
// Text to value. With the classic global locale these scanners accept exactly what the
// stream's number reader accepts and store what it stores; otherwise a real stream reads.

namespace {

bool isClassicSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');  // \t \n \v \f \r
}

// Skips leading white space as the stream's sentry does; null when nothing else is left.
const char* skipSpace(const String& s) {
    const char* p = s.data();
    const char* const end = p + s.size();
    while (p != end && isClassicSpace(*p)) ++p;
    return p == end ? nullptr : p;
}

template <class T>
bool extractStreamed(const String& s, T& v) {
    std::istringstream is(s);
    is >> v;
    return !is.fail();
}

// The stream's integer reader: optional sign, decimal digits, stops at the first other
// character. No digit: 0 and failure. Overflow: the type's bound and failure. A minus sign
// is accepted for unsigned types too, which then wrap (as strtoul does).
template <class E>
bool scanInteger(const char* p, const char* end, E& v) {
    using U = std::make_unsigned_t<E>;
    bool negative = false;
    if (*p == '-' || *p == '+') {
        negative = *p == '-';
        ++p;
    }
    const bool negSigned = negative && std::is_signed_v<E>;
    const U max = negSigned ? static_cast<U>(0) - static_cast<U>(std::numeric_limits<E>::min())
                            : static_cast<U>(std::numeric_limits<E>::max());
    const U smax = max / 10;
    U result = 0;
    bool anyDigit = false;
    bool overflow = false;
    for (; p != end; ++p) {
        const unsigned digit = static_cast<unsigned char>(*p) - static_cast<unsigned>('0');
        if (digit > 9) break;
        anyDigit = true;
        if (result > smax) {
            overflow = true;
        } else {
            result *= 10;
            overflow |= result > max - digit;
            result += digit;
        }
    }
    if (!anyDigit) {
        v = 0;
        return false;
    }
    if (overflow) {
        v = negSigned ? std::numeric_limits<E>::min() : std::numeric_limits<E>::max();
        return false;
    }
    v = static_cast<E>(negative ? static_cast<U>(0) - result : result);
    return true;
}

// Types the stream reads directly with its own bounds.
template <class T>
bool extractInteger(const String& s, T& v) {
    if (s.empty()) return false;
    if (!classicGlobalLocale()) return extractStreamed(s, v);
    const char* p = skipSpace(s);
    if (p == nullptr) return false;
    return scanInteger(p, s.data() + s.size(), v);
}

// short and int: the stream reads a long, then clamps it to the narrower type.
template <class T>
bool extractNarrowSigned(const String& s, T& v) {
    if (s.empty()) return false;
    if (!classicGlobalLocale()) return extractStreamed(s, v);
    const char* p = skipSpace(s);
    if (p == nullptr) return false;
    long l = 0;
    bool ok = scanInteger(p, s.data() + s.size(), l);
    if (l < std::numeric_limits<T>::min()) {
        v = std::numeric_limits<T>::min();
        ok = false;
    } else if (l > std::numeric_limits<T>::max()) {
        v = std::numeric_limits<T>::max();
        ok = false;
    } else {
        v = static_cast<T>(l);
    }
    return ok;
}

// The stream's floating-point reader: sign, digits with at most one decimal point, then an
// exponent (only after a digit) with an optional sign. The characters it takes must form a
// whole number, else 0 and failure; out of range gives +-max and failure.
template <class T>
bool extractFloating(const String& s, T& v) {
    if (s.empty()) return false;
    if (!classicGlobalLocale()) return extractStreamed(s, v);
    const char* p = skipSpace(s);
    if (p == nullptr) return false;
    const char* const end = s.data() + s.size();
    const char* q = p;
    if (*q == '+' || *q == '-') ++q;
    bool mantissa = false;
    bool point = false;
    bool exponent = false;
    while (q != end) {
        const char c = *q;
        if (c >= '0' && c <= '9') {
            if (!exponent) mantissa = true;
        } else if (c == '.' && !point && !exponent) {
            point = true;
        } else if ((c == 'e' || c == 'E') && !exponent && mantissa) {
            exponent = true;
            if (q + 1 != end && (q[1] == '+' || q[1] == '-')) ++q;
        } else {
            break;
        }
        ++q;
    }
    // from_chars takes no leading '+'; the scan above never lets a second sign follow it.
    const char* first = *p == '+' ? p + 1 : p;
    T parsed{};
    const auto r = std::from_chars(first, q, parsed, std::chars_format::general);
    if (r.ec == std::errc::result_out_of_range) {
        // Overflow and underflow are rare: let the stream decide what it stores.
        return extractStreamed(s, v);
    }
    if (r.ec != std::errc() || r.ptr != q) {
        v = 0;
        return false;
    }
    v = parsed;
    return true;
}

template <class T>
bool extractCharacter(const String& s, T& v) {
    if (s.empty()) return false;
    if (!classicGlobalLocale()) return extractStreamed(s, v);
    const char* p = skipSpace(s);
    if (p == nullptr) return false;
    v = static_cast<T>(*p);
    return true;
}

}  // namespace

template <>
bool operator>>(const String& s, char& v) {
    return extractCharacter(s, v);
}
template <>
bool operator>>(const String& s, unsigned char& v) {
    return extractCharacter(s, v);
}
template <>
bool operator>>(const String& s, short& v) {
    return extractNarrowSigned(s, v);
}
template <>
bool operator>>(const String& s, unsigned short& v) {
    return extractInteger(s, v);
}
template <>
bool operator>>(const String& s, int& v) {
    return extractNarrowSigned(s, v);
}
template <>
bool operator>>(const String& s, unsigned int& v) {
    return extractInteger(s, v);
}
template <>
bool operator>>(const String& s, long& v) {
    return extractInteger(s, v);
}
template <>
bool operator>>(const String& s, unsigned long& v) {
    return extractInteger(s, v);
}
template <>
bool operator>>(const String& s, long long& v) {
    return extractInteger(s, v);
}
template <>
bool operator>>(const String& s, unsigned long long& v) {
    return extractInteger(s, v);
}
template <>
bool operator>>(const String& s, float& v) {
    return extractFloating(s, v);
}
template <>
bool operator>>(const String& s, double& v) {
    return extractFloating(s, v);
}

// bool is read as a long: 0 and 1 are the values; anything else stores true and fails.
template <>
bool operator>>(const String& s, bool& v) {
    if (s.empty()) return false;
    if (!classicGlobalLocale()) return extractStreamed(s, v);
    const char* p = skipSpace(s);
    if (p == nullptr) return false;
    long l = -1;
    const bool ok = scanInteger(p, s.data() + s.size(), l);
    if (l == 0 || l == 1) {
        v = l == 1;
        return ok;
    }
    v = true;
    return false;
}

// ---------------------------------------------------------------------------------------
// StringRef

StringRef& StringRef::fill(unsigned char c, size_t count) {
    const size_t k = std::min(count, maxSize_ - curSize_);
    if (k == 0 || buffer_ == nullptr) return *this;
    memset_s(buffer_ + curSize_, k, c, k);
    curSize_ += k;
    return *this;
}

StringRef& StringRef::append(const char* p, size_t n) {
    if (n == istr::npos) n = p == nullptr ? 0 : std::strlen(p);
    const size_t k = std::min(n, maxSize_ - curSize_);
    if (k == 0 || p == nullptr || buffer_ == nullptr) return *this;
    memcpy_s(buffer_ + curSize_, k, p, k);
    curSize_ += k;
    if (curSize_ < maxSize_) buffer_[curSize_] = '\0';
    return *this;
}

StringRef& StringRef::left(const istr& s) {
    if (s.size == 0 || buffer_ == nullptr || maxSize_ < 1) return *this;
    const size_t k = std::min(s.size, maxSize_ - 1);
    if (k != 0) memcpy_s(buffer_, k, s.data, k);
    buffer_[k] = ' ';
    return *this;
}

StringRef& StringRef::right(const istr& s) {
    if (s.size == 0 || buffer_ == nullptr || maxSize_ < 1) return *this;
    const size_t k = std::min(s.size, maxSize_ - 1);
    buffer_[maxSize_ - k - 1] = ' ';
    if (k != 0) memcpy_s(buffer_ + (maxSize_ - k), k, s.data + (s.size - k), k);
    return *this;
}

StringRef& StringRef::right(char c, size_t count) {
    if (count == 0 || buffer_ == nullptr || maxSize_ < 1) return *this;
    const size_t k = std::min(maxSize_ - 1, count);
    buffer_[maxSize_ - k - 1] = ' ';
    if (k != 0) memset_s(buffer_ + (maxSize_ - k), k, static_cast<unsigned char>(c), k);
    return *this;
}

StringRef& StringRef::center(const istr& s) {
    if (s.size == 0 || buffer_ == nullptr || maxSize_ < 2) return *this;
    const size_t k = std::min(s.size, maxSize_ - 2);
    const size_t start = (maxSize_ - k) / 2;
    buffer_[start - 1] = ' ';
    if (k != 0) memcpy_s(buffer_ + start, k, s.data + (s.size - k) / 2, k);
    buffer_[start + k] = ' ';
    return *this;
}

}  // namespace zul
