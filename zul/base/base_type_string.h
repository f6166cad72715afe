// Text views and strings: istr, ostr, String with its value/text conversions, the column
// writer StringRef, charray<N>, the dumper adapters and the one-member typed wrappers.
#pragma once

#include <zul/base/api.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <sstream>
#include <string>

namespace zul {

struct iwstr;
class Bytes;
class dumper;

// ---------------------------------------------------------------------------------------
// istr

/// Read-only, non-owning view of 8-bit text: size, then pointer (null is empty text). The
/// text need not be NUL-terminated; the view must not outlive it.
struct ZUL_API istr {
    /// As a length: "measure up to the terminating NUL" (0 for a null pointer).
    static constexpr size_t npos = static_cast<size_t>(-1);
    size_t size;       ///< characters in the view
    const char* data;  ///< the first character; may be null (then size is 0)

    ///@{

    /// A view of n characters at `p`; n = npos measures up to the NUL (0 for a null `p`). With
    /// no pointer, or a null one, the view is empty.
    istr() : size(0), data(nullptr) {}
    istr(std::nullptr_t) : size(0), data(nullptr) {}
    istr(const char* p, size_t n = npos)
        : size(p == nullptr ? 0 : (n == npos ? std::strlen(p) : n)), data(p) {}
    istr(const unsigned char* p, size_t n = npos) : istr(reinterpret_cast<const char*>(p), n) {}
    ///@}

    /// Views the string's characters; valid while the string is neither changed nor destroyed.
    istr(const std::string& s) : size(s.size()), data(s.data()) {}
    /// The first min(s.size, n) characters of `s`.
    istr(istr s, size_t n) : size(s.size < n ? s.size : n), data(s.data) {}

    /// Unsigned byte order over the common length (a null pointer sorts first); on a tie the
    /// shorter view is smaller (-1, 0, 1). A non-zero byte difference is returned as it is.
    int compare(const istr& o) const;
    ///@{

    /// Equality and order as compare() gives them.
    bool operator==(const istr& o) const {
        return size == o.size &&
               (size == 0 || data == o.data || std::memcmp(data, o.data, size) == 0);
    }
    bool operator!=(const istr& o) const { return !(*this == o); }
    bool operator<(const istr& o) const { return compare(o) < 0; }
    bool operator>(const istr& o) const { return compare(o) > 0; }
    bool operator<=(const istr& o) const { return compare(o) <= 0; }
    bool operator>=(const istr& o) const { return compare(o) >= 0; }
    ///@}

    /// Characters [min(pos, size), +min(size - start, n)).
    istr substr(size_t pos, size_t n = npos) const {
        const size_t start = pos < size ? pos : size;
        const size_t rest = size - start;
        return istr(at(start), n < rest ? n : rest);
    }
    /// The first min(n, size) characters.
    istr leftstr(size_t n) const { return substr(0, n); }
    /// The last min(n, size) characters; the whole view for npos.
    istr rightstr(size_t n) const { return n >= size ? *this : istr(data + (size - n), n); }
    /// Without the first n characters; n must not exceed size.
    istr removeLeft(size_t n) const { return istr(at(n), size - n); }
    /// Without the last n characters; n must not exceed size.
    istr removeRight(size_t n) const { return istr(data, size - n); }
    ///@{

    /// Removes x.size characters at the front or the back without looking at them; x.size must
    /// not exceed size.
    istr removeLeft(const istr& x) const { return removeLeft(x.size); }
    istr removeRight(const istr& x) const { return removeRight(x.size); }
    ///@}

    /// True when the view starts with `x` (never when it is shorter than `x`).
    bool beginWith(const istr& x) const {
        return size >= x.size && (x.size == 0 || std::memcmp(data, x.data, x.size) == 0);
    }
    /// True when the view ends with `x` (never when it is shorter than `x`).
    bool endWith(const istr& x) const {
        return size >= x.size &&
               (x.size == 0 || std::memcmp(data + (size - x.size), x.data, x.size) == 0);
    }

    /// Writes the decimal size, ", ", then the text ("<null>" for a null pointer).
    void dump(std::ostream& os) const;

  private:
    const char* at(size_t offset) const { return data == nullptr ? nullptr : data + offset; }
};

/// Writes exactly `s.size` bytes and flushes; nothing for a null or empty view.
ZUL_API std::ostream& operator<<(std::ostream& os, const istr& s);

// ---------------------------------------------------------------------------------------
// ostr

/// Non-owning view of a caller-supplied writable buffer: capacity (terminator included),
/// then pointer. Writes keep the text NUL-terminated and never change the capacity; copying
/// an ostr copies the view, never the text.
struct ZUL_API ostr {
    /// As a length: all that is left; as a capacity: unbounded (reset() writes no last NUL).
    static constexpr size_t npos = static_cast<size_t>(-1);
    size_t capacity;  ///< bytes in the buffer, terminator included
    char* buffer;     ///< the writable characters; may be null

    ///@{

    /// A view of the `cap` bytes at `buf`, which the caller owns; without arguments a null
    /// buffer of capacity 0.
    ostr() : capacity(0), buffer(nullptr) {}
    ostr(char* buf, size_t cap) : capacity(cap), buffer(buf) {}
    ostr(unsigned char* buf, size_t cap) : capacity(cap), buffer(reinterpret_cast<char*>(buf)) {}
    ///@}

    ///@{

    /// Replaces the text with the first n characters of `p` (all of a NUL-terminated `p`, or
    /// the viewed characters, for the forms without n), truncated to capacity - 1 when it does
    /// not fit. A null buffer or capacity 0 ignores the call; a null `p` or n = 0 leaves the
    /// buffer empty.
    ostr& assign(const char* p, size_t n);
    ostr& assign(const unsigned char* p, size_t n) {
        return assign(reinterpret_cast<const char*>(p), n);
    }
    ostr& assign(const char* p) { return assign(p, p == nullptr ? 0 : std::strlen(p)); }
    ostr& assign(const unsigned char* p) { return assign(reinterpret_cast<const char*>(p)); }
    ostr& assign(const istr& s) { return assign(s.data, s.size); }
    ostr& operator=(const char* p) { return assign(p); }
    ostr& operator=(const unsigned char* p) { return assign(p); }
    ostr& operator=(const istr& s) { return assign(s); }
    ///@}

    /// Writes a NUL at the first position (nothing for a null buffer or capacity 0).
    void clear() {
        if (buffer != nullptr && capacity != 0) buffer[0] = '\0';
    }
    /// Writes a NUL at the first and (for a bounded capacity) at the last position.
    void reset() {
        if (buffer == nullptr || capacity == 0) return;
        buffer[0] = '\0';
        if (capacity != npos) buffer[capacity - 1] = '\0';
    }
    /// strlen of the buffer (0 for null).
    size_t size() const { return buffer == nullptr ? 0 : std::strlen(buffer); }
    /// The text length bounded by the capacity.
    size_t sizeN() const { return sizeN(capacity); }
    /// The text length bounded by n.
    size_t sizeN(size_t n) const;

    /// Sub-buffer [min(pos, capacity), +min(capacity - start, n)).
    ostr substr(size_t pos, size_t n = npos) const {
        const size_t start = pos < capacity ? pos : capacity;
        const size_t rest = capacity - start;
        return ostr(buffer == nullptr ? nullptr : buffer + start, n < rest ? n : rest);
    }
    /// The first min(n, capacity) bytes of the buffer.
    ostr leftstr(size_t n) const { return substr(0, n); }
    /// The last n bytes of the buffer; all of it for npos or n beyond the capacity.
    ostr rightstr(size_t n) const { return n >= capacity ? *this : substr(capacity - n, n); }

    /// A view of the whole buffer: its capacity, not its text length.
    operator istr() const { return istr(buffer, capacity); }

    /// Writes sizeN(), "/", the capacity, ", ", then the text ("<null>" for a null buffer).
    void dump(std::ostream& os) const;
};

// ---------------------------------------------------------------------------------------
// String

/// Owning 8-bit (UTF-8) string: a standard string (no extra data) with conversions from
/// views, wide text and values. Null pointers assigned or appended count as empty text.
class ZUL_API String : public std::string {
  public:
    using std::string::string;

    /// An empty string.
    String() = default;
    ///@{

    /// Copies the other string's text, or takes it over (the source is left valid but
    /// unspecified).
    String(const String&) = default;
    String(String&&) = default;
    String(const std::string& s) : std::string(s) {}
    String(std::string&& s) : std::string(std::move(s)) {}
    ///@}

    /// Copies the viewed characters (empty for a null view).
    String(const istr& s) : std::string(s.data != nullptr ? s.data : "", s.size) {}
    ///@{

    /// Copies the NUL-terminated text at `p`, which must not be null.
    String(const char* p) : std::string(p) {}
    String(const unsigned char* p) : std::string(reinterpret_cast<const char*>(p)) {}
    ///@}

    ///@{

    /// Copies exactly n bytes (n is a real length, not the npos sentinel).
    String(const char* p, size_t n) : std::string(p, n) {}
    String(const unsigned char* p, size_t n) : std::string(reinterpret_cast<const char*>(p), n) {}
    ///@}

    ///@{

    /// Wide text converted to UTF-8 (a null pointer gives an empty string). Never throws for
    /// bad input: text that cannot be encoded gives an empty string and an "[ERROR]" line on
    /// standard error.
    String(const std::wstring& s);
    String(const iwstr& s);
    String(const wchar_t* s);
    ///@}

    ///@{

    /// Replaces the text with a copy of the other string's, or takes it over.
    String& operator=(const String&) = default;
    String& operator=(String&&) = default;
    String& operator=(const std::string& s) {
        std::string::operator=(s);
        return *this;
    }
    String& operator=(std::string&& s) {
        std::string::operator=(std::move(s));
        return *this;
    }
    ///@}

    ///@{

    /// Replaces the text with the viewed or NUL-terminated characters; a null pointer (also
    /// inside the view) empties the string.
    String& operator=(const istr& s) {
        if (s.data == nullptr) {
            std::string::clear();
        } else {
            std::string::assign(s.data, s.size);
        }
        return *this;
    }
    String& operator=(const char* p) { return *this = istr(p); }
    String& operator=(const unsigned char* p) { return *this = istr(p); }
    String& operator=(std::nullptr_t) {
        std::string::clear();
        return *this;
    }
    ///@}

    ///@{

    /// Replaces the text with wide text converted to UTF-8; a null pointer, or text that cannot
    /// be encoded (then with an "[ERROR]" line on standard error), empties the string.
    String& operator=(const std::wstring& s);
    String& operator=(const iwstr& s);
    String& operator=(const wchar_t* s);
    ///@}

    ///@{

    /// Appends the text; a null pointer (also inside the view) appends nothing. Returns the
    /// string, so appends chain.
    String& operator+=(const String& s) {
        append(s);
        return *this;
    }
    String& operator+=(const std::string& s) {
        append(s);
        return *this;
    }
    String& operator+=(const istr& s) {
        if (s.data != nullptr) append(s.data, s.size);
        return *this;
    }
    String& operator+=(const char* p) { return *this += istr(p); }
    String& operator+=(char* p) { return *this += istr(p); }
    String& operator+=(const unsigned char* p) { return *this += istr(p); }
    String& operator+=(unsigned char* p) { return *this += istr(p); }
    String& operator+=(std::nullptr_t) { return *this; }
    ///@}

    ///@{

    /// Appends one character.
    String& operator+=(char c) {
        push_back(c);
        return *this;
    }
    String& operator+=(unsigned char c) {
        push_back(static_cast<char>(c));
        return *this;
    }
    ///@}

    ///@{

    /// Wide text appended in UTF-8 (a null pointer appends nothing). Text that cannot be
    /// encoded appends nothing and writes an "[ERROR]" line on standard error.
    String& operator+=(const std::wstring& s);
    String& operator+=(const iwstr& s);
    String& operator+=(const wchar_t* s);
    String& operator+=(wchar_t* s) { return *this += static_cast<const wchar_t*>(s); }
    ///@}

    /// Appends `v` exactly as a default std::ostringstream writes it (decimal integers, bool
    /// as 1/0, floating point in general notation with 6 significant digits).
    template <class T>
    String& operator+=(const T& v);

    /// True for an empty string.
    bool operator!() const { return empty(); }
    /// Non-null exactly when the string is not empty.
    operator void*() const { return empty() ? nullptr : const_cast<String*>(this); }
    /// The text decoded to wide characters; empty when it is not valid UTF-8 (then with an
    /// "[ERROR]" line on standard error).
    operator std::wstring() const;

    /// Removes one enclosing pair of `c` (first and last character, at least two
    /// characters); otherwise leaves the string alone.
    String& trimLeftRight(char c) {
        if (size() >= 2 && front() == c && back() == c) {
            pop_back();
            erase(0, 1);
        }
        return *this;
    }

    /// One shared empty string, for look-ups that return a reference.
    static const String& null();

    /// Unsigned byte order, shorter first on a tie.
    bool operator<(const String& o) const { return istr(*this).compare(istr(o)) < 0; }

    /// A copy of UTF-8 text (the 8-bit form is UTF-8 as well).
    static String ansiFromUtf8(const istr& s);
    /// Makes `out` this text followed by a NUL in its buffer; returns the buffer.
    unsigned char* ansiToUtf8(Bytes& out) const;
};

template <class T>
String& String::operator+=(const T& v) {
    std::ostringstream os;
    os << v;
    append(os.str());
    return *this;
}

/// Reads `v` from `s` exactly as a default std::istringstream extracts it (leading white
/// space skipped, decimal only, trailing text ignored). False, with `v` untouched, for an
/// empty `s`; otherwise true when the extraction neither failed nor went bad (on failure
/// `v` holds what the stream stored: 0, or the bound of its type on overflow).
template <class T>
bool operator>>(const String& s, T& v) {
    if (s.empty()) return false;
    std::istringstream is(s);
    is >> v;
    return !is.fail();
}

// ---------------------------------------------------------------------------------------
// StringRef

/// Lays text out in columns in a fixed caller buffer. fill/append advance the current size;
/// left/right/center write at fixed places of the whole buffer and leave it. Every call
/// with empty input (count 0, empty view) does nothing.
class ZUL_API StringRef {
  public:
    /// Writes into the `maxSize` bytes at `buffer`, which the caller owns and keeps alive; the
    /// current size starts at 0. left and right need maxSize >= 1, center maxSize >= 2.
    StringRef(char* buffer, size_t maxSize) : buffer_(buffer), curSize_(0), maxSize_(maxSize) {}

    /// Writes min(count, room) copies of `c` at the current size (no terminator).
    StringRef& fill(unsigned char c, size_t count);
    ///@{

    /// Appends up to n characters of `p` (npos measures it; a null `p` appends nothing), or the
    /// viewed ones, as far as the room allows, then a NUL if there is room.
    StringRef& append(const char* p, size_t n = istr::npos);
    StringRef& append(const istr& s) { return append(s.data, s.size); }
    ///@}

    /// Copies at most maxSize - 1 leading characters to the start, followed by one blank.
    StringRef& left(const istr& s);
    /// Copies at most maxSize - 1 trailing characters to the end, preceded by one blank.
    StringRef& right(const istr& s);
    /// Writes min(count, maxSize - 1) copies of `c` at the end, preceded by one blank.
    StringRef& right(char c, size_t count);
    /// Centres at most maxSize - 2 middle characters of `s` between two blanks.
    StringRef& center(const istr& s);

    /// The caller's buffer.
    char* buffer() const { return buffer_; }
    /// The count of characters appended so far (never above maxSize()).
    size_t curSize() const { return curSize_; }
    /// The size of the buffer in bytes.
    size_t maxSize() const { return maxSize_; }
    /// The characters appended so far.
    istr text() const { return istr(buffer_, curSize_); }

    /// Writes type "zul::StringRef" with the text so far, curSize_ and maxSize_.
    void dump(dumper& d) const;
    /// The same through a compact dumper over `os`.
    void dump(std::ostream& os) const;

  private:
    char* buffer_;
    size_t curSize_;
    size_t maxSize_;
};

// ---------------------------------------------------------------------------------------
// charray, dumper adapters and typed wrappers

/// N characters and a terminator, for formatting on the stack.
template <size_t N>
struct charray {
    char data[N + 1];  ///< the characters and their NUL

    /// Empty text.
    charray() { data[0] = '\0'; }
    /// min(n, N) copies of `c` and a NUL (N copies for npos).
    charray(char c, size_t n) {
        const size_t k = n < N ? n : N;
        std::fill_n(data, k, c);
        data[k] = '\0';
    }
    /// The NUL-terminated text.
    const char* c_str() const { return data; }
    /// The text up to its NUL.
    operator istr() const { return istr(data); }
    /// An output view of the whole array.
    ostr out() { return ostr(data, N + 1); }
};

/// A text that a dumper writes raw, without quoting.
struct ZUL_API rawstring {
    istr text;  ///< the text to write; must outlive the adapter
    /// Holds a view of `s`.
    explicit rawstring(const istr& s) : text(s) {}
    /// Writes the text unchanged.
    dumper& operator()(dumper& d) const;
};

/// A field name (and an optional qualifier) that a dumper writes before a value.
struct ZUL_API namestring {
    istr name;              ///< the field name; must outlive the adapter
    const char* qualifier;  ///< written after the name in place of the separator; may be null
    /// Holds a view of the name `n` and the qualifier `q` (null: the dumper's separator).
    explicit namestring(const istr& n, const char* q = nullptr) : name(n), qualifier(q) {}
    /// Writes the field name and the qualifier or separator (dumper::writeName); nothing for a
    /// compact dumper or an empty name.
    dumper& operator()(dumper& d) const;
};

/// A bool that dumps as the raw word "true" or "false".
struct ZUL_API Bit {
    bool value;  ///< the wrapped value
    ///@{

    /// Wraps `v` (false by default).
    constexpr Bit() : value(false) {}
    constexpr explicit Bit(bool v) : value(v) {}
    ///@}

    /// Writes "true" or "false" unquoted.
    void dump(dumper& d) const;
};
/// An unsigned char with a type of its own, so that overloads can tell it from a char.
struct ZUL_API Byte {
    unsigned char value;  ///< the wrapped value
    ///@{

    /// Wraps `v` (0 by default).
    constexpr Byte() : value(0) {}
    constexpr explicit Byte(unsigned char v) : value(v) {}
    ///@}

    /// Writes the value as the dumper writes an unsigned char: a character in single quotes.
    void dump(dumper& d) const;
};
/// A short with a type of its own: dumped and appended to a String in decimal.
struct ZUL_API Short {
    short value;  ///< the wrapped value
    ///@{

    /// Wraps `v` (0 by default).
    constexpr Short() : value(0) {}
    constexpr explicit Short(short v) : value(v) {}
    ///@}

    /// Writes the value in decimal.
    void dump(dumper& d) const;
};
/// An unsigned short with a type of its own: dumped and appended to a String in decimal.
struct ZUL_API Ushort {
    unsigned short value;  ///< the wrapped value
    ///@{

    /// Wraps `v` (0 by default).
    constexpr Ushort() : value(0) {}
    constexpr explicit Ushort(unsigned short v) : value(v) {}
    ///@}

    /// Writes the value in decimal.
    void dump(dumper& d) const;
};
/// A long with a type of its own: dumped and appended to a String in decimal.
struct ZUL_API Long {
    long value;  ///< the wrapped value
    ///@{

    /// Wraps `v` (0 by default).
    constexpr Long() : value(0) {}
    constexpr explicit Long(long v) : value(v) {}
    ///@}

    /// Writes the value in decimal.
    void dump(dumper& d) const;
};
/// An unsigned long with a type of its own: dumped and appended to a String in decimal.
struct ZUL_API Ulong {
    unsigned long value;  ///< the wrapped value
    ///@{

    /// Wraps `v` (0 by default).
    constexpr Ulong() : value(0) {}
    constexpr explicit Ulong(unsigned long v) : value(v) {}
    ///@}

    /// Writes the value in decimal.
    void dump(dumper& d) const;
};
/// A long long with a type of its own: dumped and appended to a String in decimal.
struct ZUL_API Longlong {
    long long value;  ///< the wrapped value
    ///@{

    /// Wraps `v` (0 by default).
    constexpr Longlong() : value(0) {}
    constexpr explicit Longlong(long long v) : value(v) {}
    ///@}

    /// Writes the value in decimal.
    void dump(dumper& d) const;
};
/// A single wide character, written as its UTF-8 text.
struct ZUL_API Wchar {
    wchar_t value;  ///< the wrapped character
    ///@{

    /// Wraps `v` (0 by default).
    constexpr Wchar() : value(0) {}
    constexpr explicit Wchar(wchar_t v) : value(v) {}
    ///@}

    /// Writes the character in UTF-8.
    void dump(std::ostream& os) const;
    /// Writes the character in UTF-8, quoted.
    void dump(dumper& d) const;
};

///@{

/// The value-to-text forms the library provides: each appends exactly what a default stream
/// writes, without building one (a wrapper: its value in decimal).
template <>
ZUL_API String& String::operator+=(const short& v);
template <>
ZUL_API String& String::operator+=(const int& v);
template <>
ZUL_API String& String::operator+=(const long& v);
template <>
ZUL_API String& String::operator+=(const long long& v);
template <>
ZUL_API String& String::operator+=(const unsigned short& v);
template <>
ZUL_API String& String::operator+=(const unsigned int& v);
template <>
ZUL_API String& String::operator+=(const unsigned long& v);
template <>
ZUL_API String& String::operator+=(const unsigned long long& v);
template <>
ZUL_API String& String::operator+=(const bool& v);
template <>
ZUL_API String& String::operator+=(const float& v);
template <>
ZUL_API String& String::operator+=(const double& v);
template <>
ZUL_API String& String::operator+=(const Short& v);
template <>
ZUL_API String& String::operator+=(const Long& v);
template <>
ZUL_API String& String::operator+=(const Longlong& v);
template <>
ZUL_API String& String::operator+=(const Ushort& v);
template <>
ZUL_API String& String::operator+=(const Ulong& v);
///@}

///@{

/// The text-to-value forms the library provides: the result and the stored value of a default
/// stream, without building one. char and unsigned char take the first character after white
/// space; bool reads a number: 0 or 1, another number stores true and fails, no number stores
/// false and fails.
template <>
ZUL_API bool operator>>(const String& s, char& v);
template <>
ZUL_API bool operator>>(const String& s, unsigned char& v);
template <>
ZUL_API bool operator>>(const String& s, short& v);
template <>
ZUL_API bool operator>>(const String& s, unsigned short& v);
template <>
ZUL_API bool operator>>(const String& s, int& v);
template <>
ZUL_API bool operator>>(const String& s, unsigned int& v);
template <>
ZUL_API bool operator>>(const String& s, long& v);
template <>
ZUL_API bool operator>>(const String& s, unsigned long& v);
template <>
ZUL_API bool operator>>(const String& s, long long& v);
template <>
ZUL_API bool operator>>(const String& s, unsigned long long& v);
template <>
ZUL_API bool operator>>(const String& s, float& v);
template <>
ZUL_API bool operator>>(const String& s, double& v);
template <>
ZUL_API bool operator>>(const String& s, bool& v);
///@}

}  // namespace zul

// Users of the 8-bit text types get the wide view and the conversions as well.
#if __has_include(<zul/base/base_type_wstring.h>)
#include <zul/base/base_type_wstring.h>
#endif
