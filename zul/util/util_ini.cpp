// The INI file writer: the line classifiers and the rewrite of one key in one section of a
// file kept in Windows code page 1250.
#include <zul/base/base_type_wstring.h>
#include <zul/base/log_seam.h>
#include <zul/platform/file_io.h>
#include <zul/util/util_func.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace zul {
namespace {

// Longest line (without its newline) that the writer reads or writes, in file bytes.
constexpr size_t kMaxLineBytes = 511;

// White space and line breaks as Unicode defines them, in UTF-8: what trimming removes.
constexpr char kAsciiSpaces[] = " \t\n\v\f\r";
// clang-format off
constexpr const char* kWideSpaces[] = {
    "\xC2\x85", "\xC2\xA0", "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82",
    "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87",
    "\xE2\x80\x88", "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\xA8", "\xE2\x80\xA9",
    "\xE2\x80\xAF", "\xE2\x81\x9F", "\xE3\x80\x80"};
// clang-format on

// Length of the white-space character at the start (or the end) of [b, e), or 0.
size_t spaceAt(const char* b, const char* e, bool atEnd) {
    if (b == e) return 0;
    char c = atEnd ? e[-1] : *b;
    if (c != '\0' && std::strchr(kAsciiSpaces, c) != nullptr) return 1;
    for (const char* sp : kWideSpaces) {
        size_t n = std::strlen(sp);
        if (static_cast<size_t>(e - b) >= n && std::memcmp(atEnd ? e - n : b, sp, n) == 0) return n;
    }
    return 0;
}

std::string trim(const std::string& s) {
    const char* b = s.data();
    const char* e = b + s.size();
    while (size_t n = spaceAt(b, e, false)) b += n;
    while (size_t n = spaceAt(b, e, true)) e -= n;
    return std::string(b, e);
}

bool contains(const std::string& s, const std::string& part) {
    return s.find(part) != std::string::npos;
}

void recordFailure(const std::string& path, const std::string& what) {
    detail::writeErrorRecord(__FILE__, __LINE__, "writeStringToIniFileWithSection",
                             path + ": " + what);
}

// The rewrite of one file's text; false when a line cannot be decoded or encoded.
class IniRewrite {
  public:
    IniRewrite(const std::string& section, const std::string& key, const std::string& value)
        : section_(section), key_(key), value_(value), keyLine_(key + "=" + value) {}

    bool run(const std::string& text, std::string& out, std::string& why) {
        size_t pos = 0, lineNo = 0;
        while (pos < text.size()) {
            size_t nl = text.find('\n', pos);
            bool hasNewline = nl != std::string::npos;
            size_t end = hasNewline ? nl : text.size();
            ++lineNo;
            if (!line(text.substr(pos, end - pos), hasNewline, out)) {
                why = "line " + std::to_string(lineNo) + ": " + why_;
                return false;
            }
            pos = end + 1;
        }
        if (seen_ && !written_) {
            if (!out.empty() && out.back() != '\n') out += '\n';
            if (!emit(keyLine_, true, out)) {
                why = why_;
                return false;
            }
        }
        return true;
    }

  private:
    bool line(const std::string& raw, bool hasNewline, std::string& out) {
        if (raw.size() > kMaxLineBytes) {
            out += raw;
            if (hasNewline) out += '\n';
            return true;
        }
        std::string text;
        if (!detail::cp1250ToUtf8(istr(raw), text)) {
            why_ = "not valid in code page 1250";
            return false;
        }
        if (isSectionString(text)) {
            // The target section ends without the key: add it before the next header.
            if (seen_ && !written_) {
                if (!emit(keyLine_, true, out)) return false;
                written_ = true;
            }
            inSection_ = contains(text, section_);
            seen_ = seen_ || inSection_;
        } else if (inSection_ && isKeyValueString(text)) {
            std::string changed = modifyKeyValueStringWithName(key_, value_, text);
            if (contains(changed, key_)) written_ = true;
            return emit(changed, hasNewline, out);
        }
        // Everything else goes out as it came in.
        out += raw;
        if (hasNewline) out += '\n';
        return true;
    }

    bool emit(const std::string& text, bool newline, std::string& out) {
        std::string bytes;
        if (!detail::utf8ToCp1250(istr(text), bytes)) {
            why_ = "no form in code page 1250 for \"" + text + "\"";
            return false;
        }
        if (bytes.size() > kMaxLineBytes) {
            why_ = "a line would exceed " + std::to_string(kMaxLineBytes) + " bytes";
            return false;
        }
        out += bytes;
        if (newline) out += '\n';
        return true;
    }

    std::string section_, key_, value_, keyLine_, why_;
    bool inSection_ = false, seen_ = false, written_ = false;
};

}  // namespace

bool isSectionString(const std::string& line) {
    std::string t = trim(line);
    return !t.empty() && t.front() == '[' && t.back() == ']';
}

bool isCommentString(const std::string& line) {
    std::string t = trim(line);
    return !t.empty() && (t.front() == ';' || t.back() == '#');
}

bool isKeyValueString(const std::string& line) {
    return contains(trim(line), "=");
}

bool isSection(const std::string& line, const std::string& name) {
    return isSectionString(line) && contains(line, name);
}

String modifyKeyValueStringWithName(const std::string& name, const std::string& value,
                                    const std::string& line) {
    std::string t = trim(line);
    size_t eq = t.find('=');
    if (eq != std::string::npos && t.compare(0, eq, name) == 0) return String(name + "=" + value);
    return String(t);
}

bool writeStringToIniFileWithSection(const std::string& section, const std::string& key,
                                     const std::string& value, const std::string& path) {
    if (section.empty() || key.empty() || path.empty() || !detail::isUtf8(istr(section)) ||
        !detail::isUtf8(istr(key)) || !detail::isUtf8(istr(value))) {
        return false;
    }
    // Through a symbolic link the file it points to is rewritten, and the link stays.
    std::string target = path;
    if (char* real = ::realpath(path.c_str(), nullptr)) {
        target = real;
        std::free(real);
    }
    std::string text;
    unsigned mode = 0;
    if (!platform::readWholeFile(target, true, text, mode)) return false;
    // Privileged callers may open any file for writing; a file without write permission for
    // anyone is still left alone.
    if ((mode & 0222) == 0) return false;

    std::string out, why;
    if (!IniRewrite(section, key, value).run(text, out, why)) {
        recordFailure(path, why);
        return false;
    }
    if (!platform::replaceFileAtomically(target, out.data(), out.size(), mode)) {
        recordFailure(path, std::string("cannot replace the file: ") + std::strerror(errno));
        return false;
    }
    return true;
}

}  // namespace zul
