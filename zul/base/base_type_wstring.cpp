// Wide text: iwstr, the iconv converters between UTF-8 and wchar_t, the string-level,
// pointer and tag conversions, and the wide-text members of String and Wchar.
#include <iconv.h>
#include <zul/base/alloc.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/record_position.h>
#include <zul/platform/bounds_checked.h>
#include <zul/base/char_memory.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ostream>

namespace {

// The encoding names, chosen here only. glibc calls native 32-bit wchar_t "WCHAR_T".
constexpr char const ICONV_UTF8_CODENAME[] = "UTF-8";
constexpr char const ICONV_WSTR_CODENAME[] = "WCHAR_T";
// The Windows code page of Central European text, which INI files of older tools use.
constexpr char const ICONV_CP1250_CODENAME[] = "CP1250";

// Names and texts of the standard-error lines.
constexpr char const kToWideName[] = "ZUL_UTF8_TO_WSTRING";
constexpr char const kToWideOpen[] = "iconv_open(ICONV_WSTR_CODENAME, ICONV_UTF8_CODENAME)";
constexpr char const kToWideConv[] = "iconv()";
constexpr char const kToUtf8Name[] = "ZUL_WSTRING_TO_UTF8";
constexpr char const kToUtf8Open[] = "iconv_open(ICONV_UTF8_CODENAME, ICONV_WSTR_CODENAME)";
constexpr char const kToUtf8Conv[] = "iconv";

// The leak labels of the conversion buffers: fixed by the record format (the conversions were
// once part of the string source), not where the code stands.
constexpr char const kBufFile[] = "zul/base/base_type_string";
struct RecordPositions {
    zul::detail::RecordPosition utf8ToWstring{kBufFile, 491, "utf8ToWstring"};
    zul::detail::RecordPosition wstringToUtf8{kBufFile, 512, "wstringToUtf8"};
    zul::detail::RecordPosition ansiToWstring{kBufFile, 530, "ansiToWstring"};
    zul::detail::RecordPosition wstringToAnsi{kBufFile, 547, "wstringToAnsi"};
    zul::detail::RecordPosition toStrChar{kBufFile, 564, "to_str"};
    zul::detail::RecordPosition toStrWchar{kBufFile, 578, "to_str"};
    zul::detail::RecordPosition toUtf8Str{kBufFile, 594, "to_utf8str"};
    zul::detail::RecordPosition toWstrChar{kBufFile, 610, "to_wstr"};
    zul::detail::RecordPosition toWstrWchar{kBufFile, 625, "to_wstr"};
};
constexpr RecordPositions kRecordPositions{};

// The longest UTF-8 sequence the encoder is allowed to produce for one element.
constexpr size_t kUtf8BytesPerElement = 6;

constexpr size_t kFailed = static_cast<size_t>(-1);

// "[ERROR] <name> <what>, <system text>(<errno>)" on standard error, written in one piece so
// that lines of concurrent threads do not interleave.
void reportFailure(char const* name, char const* what, int err) {
    char text[256];
    char const* sys = strerror_r(err, text, sizeof text);
    std::string line("[ERROR] ");
    line += name;
    line += ' ';
    line += what;
    line += ", ";
    line += sys;
    line += '(';
    line += std::to_string(err);
    line += ")\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

// One iconv descriptor for one direction, opened on first use by its thread and closed when
// the thread ends. A failed conversion leaves it marked so that it is reset before reuse;
// a descriptor that could not be opened is tried again on the next call.
class Converter {
  public:
    Converter(char const* to, char const* from, char const* name, char const* openText,
              char const* convText)
        : to_(to), from_(from), name_(name), openText_(openText), convText_(convText) {}
    ~Converter() {
        if (cd_ != closed()) iconv_close(cd_);
    }
    Converter(Converter const&) = delete;
    Converter& operator=(Converter const&) = delete;

    // Converts all of [in, in + inBytes) into [out, out + outBytes) in one pass. `written`
    // receives the bytes produced, also when the conversion stops at a bad position.
    // Returns false (after writing the error line) when the converter cannot be opened or the
    // input cannot be converted completely.
    bool run(char const* in, size_t inBytes, char* out, size_t outBytes, size_t& written) {
        written = 0;
        if (cd_ == closed()) {
            cd_ = iconv_open(to_, from_);
            if (cd_ == closed()) {
                reportFailure(name_, openText_, errno);
                return false;
            }
        } else if (dirty_) {
            iconv(cd_, nullptr, nullptr, nullptr, nullptr);
            dirty_ = false;
        }
        if (inBytes == 0) return true;
        char* inp = const_cast<char*>(in);
        char* outp = out;
        size_t outLeft = outBytes;
        size_t r = iconv(cd_, &inp, &inBytes, &outp, &outLeft);
        written = static_cast<size_t>(outp - out);
        if (r == kFailed) {
            int err = errno;
            dirty_ = true;
            reportFailure(name_, convText_, err);
            return false;
        }
        return true;
    }

  private:
    // iconv's "no descriptor" value.
    static iconv_t closed() { return reinterpret_cast<iconv_t>(-1); }

    char const* to_;
    char const* from_;
    char const* name_;
    char const* openText_;
    char const* convText_;
    iconv_t cd_ = closed();
    bool dirty_ = false;
};

Converter& toWideConverter() {
    thread_local Converter c(ICONV_WSTR_CODENAME, ICONV_UTF8_CODENAME, kToWideName, kToWideOpen,
                             kToWideConv);
    return c;
}

Converter& toUtf8Converter() {
    thread_local Converter c(ICONV_UTF8_CODENAME, ICONV_WSTR_CODENAME, kToUtf8Name, kToUtf8Open,
                             kToUtf8Conv);
    return c;
}

// Decodes UTF-8 into `dst`; returns the elements written, also on failure (then `ok` is
// false).
size_t decode(char const* src, size_t srcBytes, wchar_t* dst, size_t dstCount, bool& ok) {
    size_t written;
    ok = toWideConverter().run(src, srcBytes, reinterpret_cast<char*>(dst),
                               dstCount * sizeof(wchar_t), written);
    return written / sizeof(wchar_t);
}

// Encodes wide text as UTF-8 into `dst`; returns the bytes written, also on failure.
size_t encode(wchar_t const* src, size_t srcCount, char* dst, size_t dstBytes, bool& ok) {
    size_t written;
    ok = toUtf8Converter().run(reinterpret_cast<char const*>(src), srcCount * sizeof(wchar_t), dst,
                               dstBytes, written);
    return written;
}

// A tracked array of n elements; the AutoPtr reports its release.
template <class T>
zul::AutoPtr<T> allocateTracked(size_t n, zul::detail::RecordPosition const& at) {
    T* p = new (at.file, at.line, at.func) T[n];
    return zul::AutoPtr<T>(zul::allocate_push_maybe(p, at.file, at.line, at.func));
}

// Decodes all of `src` into `out` (assigned), or leaves `out` empty. The buffer of n + 1
// elements carries the label of the public function that asked.
void decodeAll(zul::istr const& src, std::wstring& out, zul::detail::RecordPosition const& at) {
    out.clear();
    if (src.data == nullptr || src.size == 0) return;
    zul::AutoPtr<wchar_t> buf = allocateTracked<wchar_t>(src.size + 1, at);
    size_t n = ZUL_UTF8_TO_WSTRING(src.data, src.size, buf.get(), src.size + 1);
    if (n == kFailed || n == 0) return;
    out.assign(buf.get(), n);
}

// Encodes all of `src` as UTF-8 into a tracked buffer of 6n + 1 bytes; returns the length of
// the result (a final NUL is not counted) or kFailed. Null or empty input gives 0 and no
// buffer.
size_t encodeAll(zul::iwstr const& src, zul::AutoPtr<char>& buf,
                 zul::detail::RecordPosition const& at) {
    if (src.data == nullptr || src.size == 0) return 0;
    size_t cap = kUtf8BytesPerElement * src.size + 1;
    buf = allocateTracked<char>(cap, at);
    size_t n = ZUL_WSTRING_TO_UTF8(src.data, src.size, buf.get(), cap);
    if (n == kFailed) return kFailed;
    if (n > 0 && buf[n - 1] == '\0') --n;
    return n;
}

// Appends the UTF-8 form of `src` to `out`, all or nothing.
void appendEncoded(zul::iwstr const& src, std::string& out, zul::detail::RecordPosition const& at) {
    zul::AutoPtr<char> buf;
    size_t n = encodeAll(src, buf, at);
    if (n != kFailed && n != 0) out.append(buf.get(), n);
}

// Pointer conversion to UTF-8: whatever was encoded before a failure, NUL-terminated.
zul::AutoPtr<char> encodeToPointer(wchar_t const* s, zul::detail::RecordPosition const& at) {
    if (s == nullptr) return zul::AutoPtr<char>();
    size_t len = std::wcslen(s);
    size_t cap = kUtf8BytesPerElement * len + 1;
    zul::AutoPtr<char> buf = allocateTracked<char>(cap, at);
    bool ok;
    size_t n = len == 0 ? 0 : encode(s, len, buf.get(), cap, ok);
    buf[n] = '\0';
    return buf;
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Low-level converters

size_t ZUL_UTF8_TO_WSTRING(const char* src, size_t srcBytes, wchar_t* dst, size_t dstCount) {
    bool ok;
    size_t n = decode(src, src == nullptr ? 0 : srcBytes, dst, dstCount, ok);
    return ok ? n : kFailed;
}

size_t ZUL_WSTRING_TO_UTF8(const wchar_t* src, size_t srcCount, char* dst, size_t dstBytes) {
    bool ok;
    size_t n = encode(src, src == nullptr ? 0 : srcCount, dst, dstBytes, ok);
    return ok ? n : kFailed;
}

namespace zul {

// ---------------------------------------------------------------------------------------
// iwstr

int iwstr::compare(const iwstr& o) const {
    size_t n = size < o.size ? size : o.size;
    int r = MemCmp(data, o.data, n * sizeof(wchar_t));
    if (r != 0) return r;
    return size < o.size ? -1 : (size > o.size ? 1 : 0);
}

iwstr iwstr::trimLeft() const {
    size_t i = 0;
    while (i < size && CharIsSpace(data[i])) ++i;
    return removeLeft(i);
}

void iwstr::dump(std::ostream& os) const {
    String text;
    wstringToAnsi(*this, text);
    os << size << ", " << text;
}

std::ostream& operator<<(std::ostream& os, const iwstr& s) {
    if (s.data == nullptr || s.size == 0) return os;
    String text;
    wstringToAnsi(s, text);
    os.write(text.data(), static_cast<std::streamsize>(text.size()));
    return os.flush();
}

// ---------------------------------------------------------------------------------------
// String-level conversions

void utf8ToWstring(const istr& src, std::wstring& out) {
    decodeAll(src, out, kRecordPositions.utf8ToWstring);
}

void ansiToWstring(const istr& src, std::wstring& out) {
    decodeAll(src, out, kRecordPositions.ansiToWstring);
}

void wstringToUtf8(const iwstr& src, Bytes& out) {
    out.size(0);
    AutoPtr<char> buf;
    size_t n = encodeAll(src, buf, kRecordPositions.wstringToUtf8);
    if (n != kFailed && n != 0) out.set(buf.get(), n);
}

void wstringToAnsi(const iwstr& src, String& out) {
    out.clear();
    appendEncoded(src, out, kRecordPositions.wstringToAnsi);
}

void utf8ToAnsi(const istr& src, String& out) {
    if (src.data == nullptr) {
        out.clear();
        return;
    }
    out.assign(src.data, src.size);
}

unsigned char* ansiToUtf8(const istr& src, Bytes& out) {
    size_t n = src.data == nullptr ? 0 : src.size;
    out.init(n + 1);
    if (n != 0) out.copy(0, src.data, n);
    out.buffer()[n] = 0;
    out.size(n);
    return out.buffer();
}

// ---------------------------------------------------------------------------------------
// Pointer conversions

AutoPtr<char> to_str(const char* s) {
    if (s == nullptr) return AutoPtr<char>();
    size_t len = std::strlen(s);
    AutoPtr<char> buf = allocateTracked<char>(len + 1, kRecordPositions.toStrChar);
    if (len != 0) memcpy_s(buf.get(), len, s, len);
    buf[len] = '\0';
    return buf;
}

AutoPtr<char> to_str(const wchar_t* s) {
    return encodeToPointer(s, kRecordPositions.toStrWchar);
}

AutoPtr<char> to_utf8str(const wchar_t* s) {
    return encodeToPointer(s, kRecordPositions.toUtf8Str);
}

AutoPtr<wchar_t> to_wstr(const char* s) {
    if (s == nullptr) return AutoPtr<wchar_t>();
    size_t len = std::strlen(s);
    AutoPtr<wchar_t> buf = allocateTracked<wchar_t>(len + 1, kRecordPositions.toWstrChar);
    bool ok;
    size_t n = len == 0 ? 0 : decode(s, len, buf.get(), len + 1, ok);
    buf[n] = L'\0';
    return buf;
}

AutoPtr<wchar_t> to_wstr(const wchar_t* s) {
    if (s == nullptr) return AutoPtr<wchar_t>();
    size_t len = std::wcslen(s);
    AutoPtr<wchar_t> buf = allocateTracked<wchar_t>(len + 1, kRecordPositions.toWstrWchar);
    wcscpy_s(buf.get(), len + 1, s);
    return buf;
}

// ---------------------------------------------------------------------------------------
// The wide-text members of String and Wchar

String::String(const std::wstring& s) {
    *this = iwstr(s);
}

String::String(const iwstr& s) {
    *this = s;
}

String::String(const wchar_t* s) {
    *this = iwstr(s);
}

String& String::operator=(const std::wstring& s) {
    return *this = iwstr(s);
}

String& String::operator=(const iwstr& s) {
    wstringToAnsi(s, *this);
    return *this;
}

String& String::operator=(const wchar_t* s) {
    return *this = iwstr(s);
}

String& String::operator+=(const std::wstring& s) {
    return *this += iwstr(s);
}

String& String::operator+=(const iwstr& s) {
    appendEncoded(s, *this, kRecordPositions.wstringToAnsi);
    return *this;
}

String& String::operator+=(const wchar_t* s) {
    return *this += iwstr(s);
}

String::operator std::wstring() const {
    std::wstring out;
    ansiToWstring(*this, out);
    return out;
}

String String::ansiFromUtf8(const istr& s) {
    String out;
    utf8ToAnsi(s, out);
    return out;
}

unsigned char* String::ansiToUtf8(Bytes& out) const {
    return zul::ansiToUtf8(*this, out);
}

void Wchar::dump(std::ostream& os) const {
    String text;
    wstringToAnsi(iwstr(&value, 1), text);
    os << text;
}

// ---------------------------------------------------------------------------------------
// Tag conversions

Bytes toUtf8(const wstr& s) {
    Bytes out;
    wstringToUtf8(s.text, out);
    return out;
}

String toAnsi(const wstr& s) {
    String out;
    wstringToAnsi(s.text, out);
    return out;
}

std::wstring toWstring(const wstr& s) {
    return s.text;
}

Bytes toUtf8(const ansi& s) {
    Bytes out;
    ansiToUtf8(s.text, out);
    return out;
}

String toAnsi(const ansi& s) {
    return String(s.text);
}

std::wstring toWstring(const ansi& s) {
    std::wstring out;
    ansiToWstring(s.text, out);
    return out;
}

Bytes toUtf8(const utf8& s) {
    return Bytes(s.text);
}

String toAnsi(const utf8& s) {
    String out;
    utf8ToAnsi(s.text, out);
    return out;
}

std::wstring toWstring(const utf8& s) {
    std::wstring out;
    utf8ToWstring(s.text, out);
    return out;
}

namespace detail {
namespace {

// Converts all of `in` in one pass with a descriptor of its own, all or nothing. Quiet: the
// callers report failures in their own terms.
bool convertAll(char const* to, char const* from, istr in, std::string& out) {
    out.clear();
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1)) return false;
    // Three bytes per input byte cover every pair used here (CP1250 to UTF-8 is the widest).
    out.resize(3 * in.size);
    char* inp = const_cast<char*>(in.data);
    size_t inLeft = in.data == nullptr ? 0 : in.size;
    char* outp = &out[0];
    size_t outLeft = out.size();
    bool ok = inLeft == 0 || (iconv(cd, &inp, &inLeft, &outp, &outLeft) != kFailed &&
                              iconv(cd, nullptr, nullptr, &outp, &outLeft) != kFailed);
    iconv_close(cd);
    out.resize(ok ? out.size() - outLeft : 0);
    return ok;
}

}  // namespace

bool isUtf8(istr text) {
    std::string ignored;
    return convertAll(ICONV_UTF8_CODENAME, ICONV_UTF8_CODENAME, text, ignored);
}

bool cp1250ToUtf8(istr text, std::string& out) {
    return convertAll(ICONV_UTF8_CODENAME, ICONV_CP1250_CODENAME, text, out);
}

bool utf8ToCp1250(istr text, std::string& out) {
    return convertAll(ICONV_CP1250_CODENAME, ICONV_UTF8_CODENAME, text, out);
}

}  // namespace detail
}  // namespace zul
