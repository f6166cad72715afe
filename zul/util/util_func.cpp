// Character, memory and small helpers: bounded C strings, null-tolerant memory copies,
// character classes and printable names, error texts, network byte order.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <zul/base/base_type_time.h>
#include <zul/base/exception.h>
#include <zul/base/raise.h>
#include <zul/base/record_position.h>
#include <zul/platform/bounds_checked.h>
#include <zul/util/util_func.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <cwctype>
#include <ostream>

namespace zul {
namespace {

// Records of an out-of-range CharAt carry these fixed line numbers, one per pointer type.
// Where the records of this file say they come from: fixed by the record format.
struct RecordPositions {
    detail::RecordPosition charAt{__FILE__, 370, "CharAt"};
    detail::RecordPosition charAtUnsigned{__FILE__, 382, "CharAt"};
};
constexpr RecordPositions kRecordPositions{};

/// What the tolerant CharAt forms return out of range.
const char kSharedNul = '\0';

constexpr char kHexDigits[] = "0123456789ABCDEF";

/// Names of the control codes 0-31, as Print writes them.
constexpr const char* kControlNames[32] = {
    "<NUL>", "^A",   "^B",   "^C", "^D", "^E",    "^F",  "^G", "<BS>", "<HT>", "<LF>",
    "<VT>",  "<FF>", "<CR>", "^N", "^O", "^P",    "^Q",  "^R", "^S",   "^T",   "^U",
    "^V",    "^W",   "^X",   "^Y", "^Z", "<ESC>", "^\\", "^]", "^^",   "^_"};

std::atomic<bool> g_closing{false};

int upper(char c) {
    return std::toupper(static_cast<unsigned char>(c));
}
unsigned char uchar(char c) {
    return static_cast<unsigned char>(c);
}

bool nonEmpty(const char* p) {
    return p != nullptr && *p != '\0';
}

/// Clamps a difference of two sizes into the int result of a comparison.
int sizeDiff(size_t a, size_t b) {
    if (a >= b) return a - b > static_cast<size_t>(INT_MAX) ? INT_MAX : static_cast<int>(a - b);
    return b - a > static_cast<size_t>(INT_MAX) ? -INT_MAX : -static_cast<int>(b - a);
}

// strerror_r comes in a GNU form (returns the text) and an XSI form (fills the buffer).
[[maybe_unused]] const char* errorText(const char* gnu, const char*) {
    return gnu;
}
[[maybe_unused]] const char* errorText(int xsi, const char* buf) {
    return xsi == 0 ? buf : "Unknown error";
}

template <class S>
void trimRight(S& s, bool (*isSpace)(typename S::value_type)) {
    size_t end = s.size();
    while (end > 0 && isSpace(s[end - 1])) --end;
    s.erase(end);
}

template <class S>
void trimPair(S& s, typename S::value_type c) {
    if (s.size() >= 2 && s.front() == c && s.back() == c) {
        s.erase(s.size() - 1);
        s.erase(0, 1);
    }
}

template <size_t N, class T>
octets<N> toOctets(T v) {
    octets<N> o;
    MemSet(o.bytes, 0, N);
    for (size_t i = 0; i < N; ++i) o.bytes[N - 1 - i] = static_cast<unsigned char>(v >> (8 * i));
    return o;
}

template <class T, size_t N>
T fromOctets(const octets<N>& o) {
    T v = 0;
    for (size_t i = 0; i < N; ++i) v = static_cast<T>((v << 8) | o.bytes[i]);
    return v;
}

}  // namespace

// ---- Bounded NUL-terminated strings -------------------------------------------------------

char* StrCopy(char* dst, const char* src, size_t n) {
    if (dst == nullptr) return nullptr;
    if (dst == src) return dst;
    const size_t len = src == nullptr ? 0 : (n == istr::npos ? std::strlen(src) : n);
    dst[len] = '\0';
    if (len != 0) std::strncpy(dst, src, len);
    return dst;
}

int StrCmpUnsafe(const char* a, const char* b, size_t n, bool ignoreCase) {
    if (!ignoreCase) return n == istr::npos ? std::strcmp(a, b) : std::strncmp(a, b, n);
    // The bound is tested before a character is read, so a view that is not
    // NUL-terminated is never read past its end.
    for (; n != 0 && *a != '\0'; ++a, ++b, --n) {
        if (*b == '\0') return *a;
        const int d = upper(*a) - upper(*b);
        if (d != 0) return d;
    }
    return n == 0 ? 0 : -static_cast<int>(uchar(*b));
}

int StrCmp(const char* a, const char* b, size_t n, bool ignoreCase) {
    if (a == b || n == 0) return 0;
    if (a == nullptr) return nonEmpty(b) ? -1 : 0;
    if (nonEmpty(a) && nonEmpty(b)) return StrCmpUnsafe(a, b, n, ignoreCase);
    return (nonEmpty(a) ? 1 : 0) - (nonEmpty(b) ? 1 : 0);
}

int StrCmp(istr a, istr b, size_t n, bool ignoreCase) {
    if (n == 0 || a.data == b.data) return 0;
    const bool bFilled = b.data != nullptr && b.size != 0;
    if (a.data == nullptr) return bFilled ? -1 : 0;
    if (a.size != 0 && bFilled) {
        const size_t an = std::min(a.size, n);
        const size_t bn = std::min(b.size, n);
        const int r = StrCmpUnsafe(a.data, b.data, std::min(an, bn), ignoreCase);
        return r != 0 ? r : sizeDiff(an, bn);
    }
    return (a.size != 0 ? 1 : 0) - (bFilled ? 1 : 0);
}

bool StrBeginWith(const char* s, istr prefix) {
    return StrCmp(s, prefix.data, prefix.size, false) == 0;
}

char* StrToUpper(char* p, size_t n) {
    for (size_t i = 0; p != nullptr && i < n && p[i] != '\0'; ++i) p[i] = CharToUpper(p[i]);
    return p;
}

char* StrToLower(char* p, size_t n) {
    for (size_t i = 0; p != nullptr && i < n && p[i] != '\0'; ++i) p[i] = CharToLower(p[i]);
    return p;
}

bool StrIsAllDigits(const char* p) {
    if (!nonEmpty(p)) return false;
    for (; *p != '\0'; ++p)
        if (!CharIsDigit(*p)) return false;
    return true;
}

void StrTrimRight(std::string& s) {
    trimRight<std::string>(s, &CharIsSpace);
}
void StrTrimRight(std::wstring& s) {
    trimRight<std::wstring>(s, &CharIsSpace);
}
void trimLeftRight(std::string& s, char c) {
    trimPair(s, c);
}
void trimLeftRight(std::wstring& s, wchar_t c) {
    trimPair(s, c);
}

bool CharIn(char c, const char* set) {
    if (set == nullptr) return c == '\0';
    return std::strchr(set, c) != nullptr;
}

char HexToChar(unsigned char v) {
    return kHexDigits[v & 15];
}

unsigned char HexFromChar(char c) {
    if (c >= '0' && c <= '9') return static_cast<unsigned char>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<unsigned char>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f') return static_cast<unsigned char>(c - 'a' + 10);
    return 255;
}

char* CharAt(char* p, size_t size, size_t i) {
    if (p == nullptr || i > size)
        ZUL_RAISE_AT(zul::OutOfRangeException, kRecordPositions.charAt, "zul::OutOfRangeException",
                     "zul::OutOfRangeException");
    return p + i;
}

unsigned char* CharAt(unsigned char* p, size_t size, size_t i) {
    if (p == nullptr || i > size)
        ZUL_RAISE_AT(zul::OutOfRangeException, kRecordPositions.charAtUnsigned,
                     "zul::OutOfRangeException", "zul::OutOfRangeException");
    return p + i;
}

const char* CharAt(const char* p, size_t size, size_t i) {
    return p == nullptr || i > size ? &kSharedNul : p + i;
}

const unsigned char* CharAt(const unsigned char* p, size_t size, size_t i) {
    return p == nullptr || i > size ? reinterpret_cast<const unsigned char*>(&kSharedNul) : p + i;
}

std::ostream& Print(std::ostream& os, const char* s) {
    return os << SafeStr(s);
}

std::ostream& Print(std::ostream& os, char c) {
    const unsigned code = uchar(c);
    if (code < 32) return os << kControlNames[code];
    if (CharIsPrint(c)) return os << c;
    return os << '\\' << std::oct << code << std::dec;
}

const char* SafeStr(const char* p) {
    return p != nullptr ? p : "<null>";
}

const unsigned char* SafeStr(const unsigned char* p) {
    return p != nullptr ? p : reinterpret_cast<const unsigned char*>("<null>");
}

// ---- Process and system -------------------------------------------------------------------

String getenv(const char* name) {
    const char* v = name != nullptr ? ::getenv(name) : nullptr;
    return v != nullptr ? String(v) : String();
}

void sleep(unsigned long ms) {
    Time::milliSeconds(static_cast<long long>(ms)).sleep();
}

int getLastErrno() {
    return errno;
}

String getLastErrorMsg() {
    return getLastErrorMsg(errno);
}

String getLastErrorMsg(int e) {
    const int saved = errno;
    char buf[4096 + 1];
    buf[0] = '\0';
    const char* text = errorText(::strerror_r(e, buf, sizeof buf), buf);
    String msg("(");
    msg += std::to_string(e);
    msg += ") ";
    msg.append(text, StrLenN(text, 4096));
    errno = saved;
    return msg;
}

String normalizeName(const istr& name) {
    String out;
    out.reserve(name.size);
    bool inRun = false;
    for (size_t i = 0; i < name.size; ++i) {
        const char c = name.data[i];
        const bool sep = c == '.' || c == ':';
        if (!sep)
            out += c;
        else if (!inRun)
            out += '.';
        inRun = sep;
    }
    return out;
}

// A flag that is only ever set, read by polling; atomic so that polling threads see it
// without a data race.
void System::close() {
    g_closing.store(true, std::memory_order_relaxed);
}
bool System::closing() {
    return g_closing.load(std::memory_order_relaxed);
}

std::ostream& operator<<(std::ostream& os, const ACE_INET_Addr& addr) {
    char host[128];
    host[0] = '\0';
    const char* text = addr.get_host_addr(host, static_cast<int>(sizeof host));
    return os << (text != nullptr ? text : "") << ':' << addr.get_port_number();
}

// ---- Network byte order -------------------------------------------------------------------

octets<2> hton(unsigned short v) {
    return toOctets<2>(v);
}
octets<4> hton(unsigned long v) {
    return toOctets<4>(v & 0xFFFFFFFFul);
}
octets<8> hton(unsigned long long v) {
    return toOctets<8>(v);
}
unsigned short ntoh(octets<2> o) {
    return fromOctets<unsigned short>(o);
}
unsigned long ntoh(octets<4> o) {
    return fromOctets<unsigned long>(o);
}
unsigned long long ntoh(octets<8> o) {
    return fromOctets<unsigned long long>(o);
}

unsigned long ip_aton(const istr& text) {
    const in_addr_t a = ::inet_addr(text.data != nullptr ? text.data : "");
    return static_cast<unsigned long>(static_cast<std::uint32_t>(a));
}

String ip_ntoa(unsigned long a) {
    in_addr in{};
    in.s_addr = static_cast<in_addr_t>(a & 0xFFFFFFFFul);
    char buf[INET_ADDRSTRLEN];
    // inet_ntop writes the same dotted quad as inet_ntoa, into our own buffer.
    const char* text = ::inet_ntop(AF_INET, &in, buf, sizeof buf);
    return text != nullptr ? String(text) : String();
}

}  // namespace zul
