// Source locations and call stacks: the printed forms of zul::Current and zul::CallStack and
// the internal source of the calling thread's call stack.
#include <zul/base/base_type_wstring.h>
#include <zul/base/call_stack.h>

#include <ostream>
#include <sstream>
#include <vector>

namespace zul {
namespace {

// Columns of the framed records a location is printed into: the first line holds prefix
// and location up to kLineWidth characters, a folded rest goes into a kFieldWidth field.
constexpr size_t kLineWidth = 119;
constexpr size_t kFieldWidth = 118;

constexpr size_t kFailed = static_cast<size_t>(-1);
// Longest UTF-8 sequence the encoder may write for one wide element.
constexpr size_t kUtf8BytesPerElement = 6;

// Appends the file name after a trip through wide text and back, which leaves valid UTF-8
// unchanged. Plain ASCII skips the trip. The buffers are local (untracked): printing a
// location must not allocate through the leak checker, which prints locations itself.
// Text the converters reject is appended as it is.
void appendFileName(std::string& out, char const* file) {
    size_t n = std::strlen(file);
    bool ascii = true;
    for (size_t i = 0; i < n && ascii; ++i) ascii = static_cast<unsigned char>(file[i]) < 0x80;
    if (ascii || n == 0) {
        out.append(file, n);
        return;
    }
    std::vector<wchar_t> wide(n + 1);
    size_t w = ZUL_UTF8_TO_WSTRING(file, n, wide.data(), wide.size());
    if (w != kFailed) {
        std::vector<char> back(kUtf8BytesPerElement * w + 1);
        size_t b = ZUL_WSTRING_TO_UTF8(wide.data(), w, back.data(), back.size());
        if (b != kFailed) {
            out.append(back.data(), b);
            return;
        }
    }
    out.append(file, n);
}

// The location text: "func(file:line)", each part only when present.
std::string locationText(Current const& c) {
    std::string loc;
    if (c.func() != nullptr) loc += c.func();
    if (c.file() != nullptr) {
        loc += '(';
        appendFileName(loc, c.file());
        loc += ':';
        loc += std::to_string(c.line());
        loc += ')';
    }
    return loc;
}

}  // namespace

std::ostream& operator<<(std::ostream& os, Current const& c) {
    std::string const loc = locationText(c);
    istr const prefix = c.prefix();
    if (prefix.size == 0) return os << loc;
    os.write(prefix.data, static_cast<std::streamsize>(prefix.size));
    // A prefix as wide as the line leaves no room: the whole location is folded.
    size_t const avail = prefix.size < kLineWidth ? kLineWidth - prefix.size : 0;
    if (loc.size() <= avail) return os << loc;
    os.write(loc.data(), static_cast<std::streamsize>(avail));
    os << '\n';
    istr rest(loc.data() + avail, loc.size() - avail);
    if (rest.size >= kFieldWidth) {
        // Only the tail fits, after one blank that keeps it off the left margin.
        rest = istr(rest.data + rest.size - (kFieldWidth - 1), kFieldWidth - 1);
        os << ' ';
    } else {
        os << std::string(kFieldWidth - rest.size, ' ');
    }
    return os.write(rest.data, static_cast<std::streamsize>(rest.size));
}

template <>
String& String::operator+=(const Current& v) {
    std::ostringstream os;
    os << v;
    append(os.str());
    return *this;
}

std::ostream& operator<<(std::ostream& os, CallStack const& s) {
    auto const& frames = s.container().container();
    std::string const separator(s.separator().data, s.separator().size);
    bool innermost = true;
    for (auto it = frames.rbegin(); it != frames.rend(); ++it) {
        if (!innermost) it->prefix(separator.c_str());
        innermost = false;
        os << *it;
    }
    return os;
}

namespace detail {

std::ostream& writePositionAndStack(std::ostream& os, Current const& position,
                                    CallStack const& stack) {
    // Every label with its trailing blank takes twelve columns, so continuation lines align.
    os << position.prefix("\n        AT: ");
    return os << "\nCALL STACK: " << stack.separator("\n            ");
}

}  // namespace detail

}  // namespace zul
