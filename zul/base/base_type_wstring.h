// Wide text: the view zul::iwstr, conversion between UTF-8 and 32-bit wchar_t over iconv,
// and the tags wstr / ansi / utf8 that state what a text is.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_auto.h>
#include <zul/base/base_type_string.h>

#include <cstddef>
#include <cwchar>
#include <iosfwd>
#include <string>

namespace zul {

class Bytes;

/// Read-only, non-owning view of wide text: size (in elements), then pointer. A null pointer
/// is empty text for every operation.
struct ZUL_API iwstr {
    /// As a length: "measure up to the terminating 0 element" (0 for a null pointer).
    static constexpr size_t npos = static_cast<size_t>(-1);
    size_t size;          ///< wchar_t elements in the view
    const wchar_t* data;  ///< the first element; may be null (then size is 0)

    ///@{

    /// A view of n elements at `p`; n = npos measures `p` with wcslen (0 for null). With no
    /// pointer, or a null one, the view is empty.
    iwstr() : size(0), data(nullptr) {}
    iwstr(std::nullptr_t) : size(0), data(nullptr) {}
    iwstr(const wchar_t* p, size_t n = npos)
        : size(p == nullptr ? 0 : (n == npos ? std::wcslen(p) : n)), data(p) {}
    ///@}

    /// Views the string's elements; valid while the string is neither changed nor destroyed.
    iwstr(const std::wstring& s) : size(s.size()), data(s.data()) {}
    /// The first min(s.size, n) elements of `s`.
    iwstr(const iwstr& s, size_t n) : size(s.size < n ? s.size : n), data(s.data) {}
    ///@{

    /// Copies the view (pointer and size), never the text.
    iwstr(const iwstr&) = default;
    iwstr& operator=(const iwstr&) = default;
    ///@}

    /// Byte-wise order of the elements (so U+0100 sorts before U+00FF); on a tie the shorter
    /// view is smaller. Negative, 0 or positive.
    int compare(const iwstr& o) const;
    ///@{

    /// Equality and order as compare() gives them.
    bool operator==(const iwstr& o) const { return compare(o) == 0; }
    bool operator!=(const iwstr& o) const { return compare(o) != 0; }
    bool operator<(const iwstr& o) const { return compare(o) < 0; }
    bool operator>(const iwstr& o) const { return compare(o) > 0; }
    bool operator<=(const iwstr& o) const { return compare(o) <= 0; }
    bool operator>=(const iwstr& o) const { return compare(o) >= 0; }
    ///@}

    /// Elements [min(pos, size), +min(size - start, n)).
    iwstr substr(size_t pos, size_t n = npos) const {
        size_t start = pos < size ? pos : size;
        size_t rest = size - start;
        return iwstr(data == nullptr ? nullptr : data + start, n < rest ? n : rest);
    }
    /// The first min(n, size) elements.
    iwstr leftstr(size_t n) const { return substr(0, n); }
    /// The last min(n, size) elements; the whole view for npos.
    iwstr rightstr(size_t n) const {
        if (n == npos || n >= size) return *this;
        return iwstr(data + (size - n), n);
    }
    /// Without the first n elements; n must not exceed size.
    iwstr removeLeft(size_t n) const {
        return iwstr(data == nullptr ? nullptr : data + n, size - n);
    }
    /// Without the last n elements; n must not exceed size.
    iwstr removeRight(size_t n) const { return iwstr(data, size - n); }
    ///@{

    /// Removes x.size elements at the front or the back without looking at them; x.size must
    /// not exceed size.
    iwstr removeLeft(const iwstr& x) const { return removeLeft(x.size); }
    iwstr removeRight(const iwstr& x) const { return removeRight(x.size); }
    ///@}

    /// True when the view starts with `x` (never when it is shorter than `x`).
    bool beginWith(const iwstr& x) const { return iwstr(*this, x.size).compare(x) == 0; }
    /// True when the view ends with `x` (never when it is shorter than `x`).
    bool endWith(const iwstr& x) const { return rightstr(x.size).compare(x) == 0; }
    /// The view without its leading white space.
    iwstr trimLeft() const;

    /// A copy of the viewed elements.
    operator std::wstring() const {
        return data == nullptr ? std::wstring() : std::wstring(data, size);
    }
    /// Writes the decimal size, ", ", then the text in UTF-8.
    void dump(std::ostream& os) const;
};

/// Writes the text in UTF-8 and flushes; nothing for a null or empty view.
ZUL_API std::ostream& operator<<(std::ostream& os, const iwstr& s);

/// Wide text, as an overload selector for the tag conversions.
struct wstr {
    iwstr text;  ///< the wide text; must outlive the tag
    /// Holds a view of `s`.
    explicit wstr(const iwstr& s) : text(s) {}
};
/// 8-bit text in the local 8-bit encoding (UTF-8 here), as an overload selector.
struct ansi {
    istr text;  ///< the 8-bit text; must outlive the tag
    /// Holds a view of `s`.
    explicit ansi(const istr& s) : text(s) {}
};
/// UTF-8 text, as an overload selector.
struct utf8 {
    istr text;  ///< the UTF-8 text; must outlive the tag
    /// Holds a view of `s`.
    explicit utf8(const istr& s) : text(s) {}
};

// ---- String-level conversions. Each empties its output first; a failed conversion leaves
// the output empty (all or nothing). Null or empty input converts nothing.

/// Decodes UTF-8 into wide text; `out` is left empty when `src` is not valid UTF-8.
ZUL_API void utf8ToWstring(const istr& src, std::wstring& out);
/// Decodes 8-bit text (UTF-8) into wide text; `out` is left empty when `src` is not valid.
ZUL_API void ansiToWstring(const istr& src, std::wstring& out);
/// Encodes wide text as UTF-8; a terminating 0 element is not part of the result, and `out`
/// is left empty when an element has no UTF-8 form.
ZUL_API void wstringToUtf8(const iwstr& src, Bytes& out);
/// Encodes wide text as 8-bit text (UTF-8); `out` is left empty when an element has no
/// UTF-8 form.
ZUL_API void wstringToAnsi(const iwstr& src, String& out);
/// Copies the bytes (UTF-8 and the 8-bit form are the same).
ZUL_API void utf8ToAnsi(const istr& src, String& out);
/// Makes `out` the bytes of `src` followed by a NUL kept in its buffer (not in its size);
/// returns the buffer's address.
ZUL_API unsigned char* ansiToUtf8(const istr& src, Bytes& out);

// ---- Pointer conversions: an owned, NUL-terminated array, or null for a null input. On a
// conversion failure the array holds what was converted before the failing position.

/// An owned copy of `s`.
ZUL_API AutoPtr<char> to_str(const char* s);
/// `s` encoded as UTF-8.
ZUL_API AutoPtr<char> to_str(const wchar_t* s);
/// `s` encoded as UTF-8.
ZUL_API AutoPtr<char> to_utf8str(const wchar_t* s);
/// `s` (UTF-8) decoded to wide text.
ZUL_API AutoPtr<wchar_t> to_wstr(const char* s);
/// An owned copy of `s`.
ZUL_API AutoPtr<wchar_t> to_wstr(const wchar_t* s);

// ---- Tag conversions: any of the three forms from a text whose form the tag states.

///@{

/// The tagged text as UTF-8 bytes, as a String or as wide text, returned by value. Text that
/// cannot be converted gives an empty result (and an "[ERROR]" line on standard error); a
/// null or empty view gives an empty one.
ZUL_API Bytes toUtf8(const wstr& s);
ZUL_API String toAnsi(const wstr& s);
ZUL_API std::wstring toWstring(const wstr& s);
/// UTF-8 bytes; the buffer is NUL-terminated past the size.
ZUL_API Bytes toUtf8(const ansi& s);
ZUL_API String toAnsi(const ansi& s);
ZUL_API std::wstring toWstring(const ansi& s);
ZUL_API Bytes toUtf8(const utf8& s);
ZUL_API String toAnsi(const utf8& s);
ZUL_API std::wstring toWstring(const utf8& s);
///@}

namespace detail {

// Whole-text conversions for 8-bit files, all or nothing: false (and `out` empty) when a byte
// sequence is not valid in the source encoding or has no form in the target one.

/// True when `text` is valid UTF-8 (empty text is).
ZUL_API bool isUtf8(istr text);
/// Decodes Windows code page 1250 into UTF-8.
ZUL_API bool cp1250ToUtf8(istr text, std::string& out);
/// Encodes UTF-8 as Windows code page 1250.
ZUL_API bool utf8ToCp1250(istr text, std::string& out);

}  // namespace detail
}  // namespace zul

// ---- Low-level converters over iconv. They never throw: on failure they write one
// "[ERROR] ..." line to standard error and return the all-ones value. The whole input is
// converted in one pass; each thread keeps its own converter per direction.

/// Decodes `srcBytes` bytes of UTF-8 into `dst` (room for `dstCount` elements); returns the
/// number of elements written, or (size_t)-1.
ZUL_API size_t ZUL_UTF8_TO_WSTRING(const char* src, size_t srcBytes, wchar_t* dst, size_t dstCount);
/// Encodes `srcCount` wide elements as UTF-8 into `dst` (room for `dstBytes` bytes); returns
/// the number of bytes written, or (size_t)-1.
ZUL_API size_t ZUL_WSTRING_TO_UTF8(const wchar_t* src, size_t srcCount, char* dst, size_t dstBytes);

#if __has_include(<zul/base/base_type_bytes.h>)
#include <zul/base/base_type_bytes.h>
#endif
