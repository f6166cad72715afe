// The PML writers: the four layouts walked without recursion, their char instances for
// std::ostream and zul::String, the entry points and the text forms of ShowMode/ShowPattern.
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_parser.h>
#include <zul/pml/pml_writer.h>

#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

namespace zul {
namespace pml {

// ---- text forms ----

std::ostream& operator<<(std::ostream& os, const ShowMode& mode) {
    switch (mode) {
        case COMPACT:
            return os << "COMPACT";
        case SIMPLE:
            return os << "SIMPLE";
        case MIXED:
            return os << "MIXED";
        case FORMATTED:
            return os << "FORMATTED";
    }
    return os << "<UnknownShowMode>";
}

std::ostream& operator<<(std::ostream& os, const ShowPattern& pattern) {
    const int bits = static_cast<int>(pattern);
    if (bits == 0) return os << "NONE";
    static const struct {
        int bit;
        const char* name;
    } kNames[] = {{PATH, "PATH"}, {NAME, "NAME"}, {TYPE, "TYPE"}, {VALUE, "VALUE"}};
    const char* sep = "";
    for (const auto& n : kNames) {
        if ((bits & n.bit) != 0) {
            os << sep << n.name;
            sep = " ";
        }
    }
    return os;
}

// ---- characters, escaping and the pieces ----

template <class CharT>
bool __isSpeacialChar(CharT c) {
    using C = Const<CharT>;
    return c == C::LEFT_TAG_CHAR || c == C::RIGHT_TAG_CHAR || c == C::TYPE_IDENTITY_CHAR ||
           c == C::COMMENT_CHAR || c == C::ESCAPE_CHAR || c == C::STR_TAG1_CHAR ||
           c == C::STR_TAG2_CHAR;
}

namespace detail {

/// How the writers put characters into a destination: appended to a string, or written to
/// a stream (whose errors are not checked).
template <class Dest>
struct PmlOut;

template <>
struct PmlOut<std::ostream> {
    static void put(std::ostream& d, char c) { d.put(c); }
    static void write(std::ostream& d, const char* p, size_t n) {
        d.write(p, static_cast<std::streamsize>(n));
    }
};

template <class CharT>
struct PmlOut<std::basic_string<CharT>> {
    static void put(std::basic_string<CharT>& d, CharT c) { d.push_back(c); }
    static void write(std::basic_string<CharT>& d, const CharT* p, size_t n) { d.append(p, n); }
};

template <>
struct PmlOut<zul::String> : PmlOut<std::string> {};

/// The indentation unit and the line separator of the indented layouts.
constexpr const char* PML_INDENT = "    ";
constexpr const char* PML_LINE_SEPARATOR = "\n";

namespace {

/// The bytes of 8-bit text that force a text into quotes: the special characters and every
/// byte from 0x80 up (any non-ASCII byte of UTF-8).
struct QuoteTable {
    bool quote[256];
    constexpr QuoteTable() : quote{} {
        using C = Const<char>;
        for (int c = 0x80; c < 256; ++c) quote[c] = true;
        for (char c : {C::LEFT_TAG_CHAR, C::RIGHT_TAG_CHAR, C::TYPE_IDENTITY_CHAR, C::COMMENT_CHAR,
                       C::ESCAPE_CHAR, C::STR_TAG1_CHAR, C::STR_TAG2_CHAR}) {
            quote[static_cast<unsigned char>(c)] = true;
        }
    }
};
constexpr QuoteTable kQuote;

/// Whether `c` makes a text need quotes: a special character, or bit 7 of its low byte set.
inline bool needsQuote(char c) {
    return kQuote.quote[static_cast<unsigned char>(c)];
}
inline bool needsQuote(wchar_t c) {
    return __isSpeacialChar(c) || (static_cast<unsigned long>(c) & 0x80u) != 0;
}

/// Writes `p[0..n)` with an escape character before every escape character and double
/// quote.
template <class CharT, class Dest>
void writeEscapedBody(Dest& d, const CharT* p, size_t n) {
    using C = Const<CharT>;
    size_t from = 0;
    for (size_t i = 0; i < n; ++i) {
        if (p[i] == C::ESCAPE_CHAR || p[i] == C::STR_TAG2_CHAR) {
            PmlOut<Dest>::write(d, p + from, i - from);
            PmlOut<Dest>::put(d, C::ESCAPE_CHAR);
            from = i;  // the character itself goes out with the next run
        }
    }
    PmlOut<Dest>::write(d, p + from, n - from);
}

/// Writes a text value by the escaping rule: unchanged when no character needs quoting,
/// otherwise in double quotes with escape characters before "^" and the double quote.
template <class CharT, class Dest>
void writeValue(Dest& d, const CharT* p, size_t n) {
    size_t i = 0;
    while (i < n && !needsQuote(p[i])) ++i;
    if (i == n) {
        PmlOut<Dest>::write(d, p, n);
        return;
    }
    PmlOut<Dest>::put(d, Const<CharT>::STR_TAG_CHAR);
    writeEscapedBody(d, p, n);
    PmlOut<Dest>::put(d, Const<CharT>::STR_TAG_CHAR);
}

}  // namespace

void pmlWriteValue(std::ostream& os, istr text) {
    if (text.data != nullptr) writeValue(os, text.data, text.size);
}

}  // namespace detail

template <class CharT>
void __escapeString(std::basic_string<CharT>& s) {
    size_t i = 0;
    while (i < s.size() && !detail::needsQuote(s[i])) ++i;
    if (i == s.size()) return;
    std::basic_string<CharT> out;
    out.reserve(s.size() + 8);
    detail::writeValue(out, s.data(), s.size());
    s.swap(out);
}

template <class CharT>
void __unescapeString(std::basic_string<CharT>& s) {
    using C = Const<CharT>;
    if (s.size() >= 2 && (s.front() == C::STR_TAG1_CHAR || s.front() == C::STR_TAG2_CHAR) &&
        s.back() == s.front()) {
        s.pop_back();
        s.erase(0, 1);
    }
}

template bool __isSpeacialChar<char>(char);
template bool __isSpeacialChar<wchar_t>(wchar_t);
template void __escapeString<char>(std::string&);
template void __escapeString<wchar_t>(std::wstring&);
template void __unescapeString<char>(std::string&);
template void __unescapeString<wchar_t>(std::wstring&);

void escapeString(zul::String& s) {
    __escapeString<char>(s);
}
void escapeString(std::wstring& s) {
    __escapeString<wchar_t>(s);
}
void unescapeString(zul::String& s) {
    __unescapeString<char>(s);
}
void unescapeString(std::wstring& s) {
    __unescapeString<wchar_t>(s);
}

template <class CharT, class Dest>
void __WriteName(Dest& dest, const std::basic_string<CharT>& name) {
    detail::writeEscapedBody(dest, name.data(), name.size());
}

template <class CharT, class Dest>
void __WriteType(Dest& dest, const std::basic_string<CharT>& type) {
    detail::PmlOut<Dest>::put(dest, Const<CharT>::TYPE_IDENTITY_CHAR);
    detail::PmlOut<Dest>::write(dest, type.data(), type.size());
}

template <class CharT, class Dest>
void __WritePath(Dest& dest, const std::basic_string<CharT>& path) {
    using C = Const<CharT>;
    const CharT blank = CharT(' ');
    detail::PmlOut<Dest>::write(dest, C::LEFT_COMMENT_STR, 2);
    detail::PmlOut<Dest>::put(dest, blank);
    detail::PmlOut<Dest>::write(dest, path.data(), path.size());
    detail::PmlOut<Dest>::put(dest, blank);
    detail::PmlOut<Dest>::write(dest, C::RIGHT_COMMENT_STR, 2);
    detail::PmlOut<Dest>::put(dest, blank);
}

template <class CharT, class Dest>
void __WriteIndent(Dest& dest, int n, const CharT* unit) {
    if (unit == nullptr) return;
    const size_t len = std::char_traits<CharT>::length(unit);
    for (int i = 0; i < n; ++i) detail::PmlOut<Dest>::write(dest, unit, len);
}

template <class CharT, class Dest>
void __WriteLineSeparator(Dest& dest, int n, const CharT* unit, const CharT* separator) {
    if (separator != nullptr) {
        detail::PmlOut<Dest>::write(dest, separator, std::char_traits<CharT>::length(separator));
    }
    __WriteIndent<CharT>(dest, n, unit);
}

#define ZUL_PML_PIECES(Dest)                                          \
    template void __WriteName<char, Dest>(Dest&, const std::string&); \
    template void __WriteType<char, Dest>(Dest&, const std::string&); \
    template void __WritePath<char, Dest>(Dest&, const std::string&); \
    template void __WriteIndent<char, Dest>(Dest&, int, const char*); \
    template void __WriteLineSeparator<char, Dest>(Dest&, int, const char*, const char*);
ZUL_PML_PIECES(std::ostream)
ZUL_PML_PIECES(zul::String)
#undef ZUL_PML_PIECES

namespace detail {
namespace {

using ntv::ListValue;
using ntv::StringValue;
using ntv::Unit;
using Units = ListValue::Units;

/// Collects output in a local buffer and hands it to the destination (a stream, or a
/// String appended to) in large writes: one call per 8 KiB instead of one per piece. The
/// owner flushes at the end (a stream that throws must not throw from a destructor).
template <class Dest>
class BufferedSink {
  public:
    explicit BufferedSink(Dest& dest) : dest_(dest) {}
    BufferedSink(const BufferedSink&) = delete;
    BufferedSink& operator=(const BufferedSink&) = delete;

    void put(char c) {
        if (used_ == sizeof buf_) flush();
        buf_[used_++] = c;
    }
    void write(const char* p, size_t n) {
        if (n > sizeof buf_ - used_) {
            flush();
            if (n >= sizeof buf_) {
                PmlOut<Dest>::write(dest_, p, n);
                return;
            }
        }
        // Most pieces are a few bytes: a plain loop beats a call into the library.
        char* to = buf_ + used_;
        if (n <= 16) {
            for (size_t i = 0; i < n; ++i) to[i] = p[i];
        } else {
            std::char_traits<char>::copy(to, p, n);
        }
        used_ += n;
    }
    void flush() {
        if (used_ != 0) PmlOut<Dest>::write(dest_, buf_, used_);
        used_ = 0;
    }

  private:
    Dest& dest_;
    size_t used_ = 0;
    char buf_[8192];
};

}  // namespace

template <class Dest>
struct PmlOut<BufferedSink<Dest>> {
    static void put(BufferedSink<Dest>& d, char c) { d.put(c); }
    static void write(BufferedSink<Dest>& d, const char* p, size_t n) { d.write(p, n); }
};

namespace {

/// Takes the next child of a list being written and asks the cache for what comes after
/// it: the node two places on and the value of the next node. A tree walk is bound by memory
/// latency (the nodes lie wherever the allocator put them).
inline const Unit& takeChild(const Units& units, size_t& next) {
    const Unit* u = units[next++];
    if (next + 1 < units.size()) __builtin_prefetch(units[next + 1]);
    if (next < units.size()) __builtin_prefetch(units[next]->value());
    return *u;
}

/// Asks the cache for the first children of a list about to be written.
inline void prefetchFirst(const Units* units) {
    if (units == nullptr) return;
    for (size_t i = 0; i < units->size() && i < 2; ++i) __builtin_prefetch((*units)[i]);
}

/// Unit::childWasSingle without the calls: no value, a text, an empty list, or a chain of
/// only children ending in one of those.
inline bool isSingleChain(const Unit& start) {
    const Unit* u = &start;
    for (;;) {
        const ntv::ValueBase* v = u->value();
        if (v == nullptr || v->single()) return true;
        const Units& units = static_cast<const ListValue*>(v)->data();
        if (units.empty()) return true;
        if (units.size() != 1) return false;
        u = units[0];
    }
}

/// The list of children of `u`, or null when `u` is not a list.
inline const Units* childrenOf(const Unit& u) {
    const ntv::ValueBase* v = u.value();
    if (v == nullptr || v->single()) return nullptr;
    return &static_cast<const ListValue*>(v)->data();
}

/// Walks a tree with explicit stacks and writes it in one of the layouts. Every node is
/// written once; the stacks grow with the depth on the heap, never on the C++ stack.
template <class Sink>
class PmlWriter {
  public:
    PmlWriter(Sink& out, ShowPattern pattern, const char* indent)
        : out_(out),
          name_((pattern & NAME) != 0),
          type_((pattern & TYPE) != 0),
          value_((pattern & VALUE) != 0),
          path_((pattern & PATH) != 0),
          unit_(indent == nullptr ? "" : indent) {
        stack_.reserve(64);
        compactStack_.reserve(64);
        indentCache_.reserve(256);
    }

    void compact(const Unit& root) {
        const size_t base = compactStack_.size();
        openCompact(root);
        while (compactStack_.size() > base) {
            CompactFrame& f = compactStack_.back();
            if (f.next < f.units->size()) {
                openCompact(takeChild(*f.units, f.next));  // may grow the stack: f is stale now
            } else {
                put(')');
                compactStack_.pop_back();
            }
        }
    }

    /// SIMPLE, or FORMATTED when `formatted` (path comments when PATH is set).
    void simple(const Unit& root, int level, bool formatted) {
        const bool withPath = formatted && path_;
        const size_t base = stack_.size();
        if (!openSimple(root, level, false, withPath)) return;
        while (stack_.size() > base) {
            Frame& f = stack_.back();
            if (f.next < f.units->size()) {
                const Unit& c = takeChild(*f.units, f.next);
                // An only child of a node that is not single is not single either.
                if (!openSimple(c, f.level + 1, f.units->size() == 1, withPath)) put('\n');
            } else {
                indent(f.level);
                put(')');
                stack_.pop_back();
                if (stack_.size() > base) put('\n');
            }
        }
    }

    void mixed(const Unit& root, int level) {
        const size_t base = stack_.size();
        if (!openMixed(root, level, false)) return;
        while (stack_.size() > base) {
            Frame& f = stack_.back();
            if (f.next < f.units->size()) {
                const Unit& c = takeChild(*f.units, f.next);
                const int childLevel = f.level;
                const bool onlyChild = f.units->size() == 1;
                if (c.name().empty() && !c.type().empty()) {
                    put('\n');
                    indent(childLevel);
                }
                openMixed(c, childLevel, onlyChild);
            } else {
                if (f.unnamedList) {
                    put('\n');
                    indent(f.outer);
                }
                put(')');
                stack_.pop_back();
            }
        }
    }

  private:
    struct CompactFrame {
        const Units* units;
        size_t next;
    };
    /// A list being written by SIMPLE, FORMATTED or MIXED: `level` is the node's own level
    /// (SIMPLE) or its children's level L (MIXED); `outer` is the node's level in MIXED.
    struct Frame {
        const Units* units;
        size_t next;
        int level;
        int outer;
        bool unnamedList;
    };

    void put(char c) { PmlOut<Sink>::put(out_, c); }
    void write(const char* p, size_t n) { PmlOut<Sink>::write(out_, p, n); }

    void indent(int n) {
        // One write of a cached run of units instead of one write per unit.
        if (n <= 0 || unit_.empty()) return;
        const size_t need = static_cast<size_t>(n) * unit_.size();
        while (indentCache_.size() < need) indentCache_ += unit_;
        write(indentCache_.data(), need);
    }

    /// Name and type by the pattern.
    void head(const Unit& u) {
        if (name_) __WriteName<char>(out_, u.name());
        if (type_ && !u.type().empty()) __WriteType<char>(out_, u.type());
    }

    /// Writes a node without a list in COMPACT form; false (nothing written) for a list.
    bool writeLeaf(const Unit& u) {
        const ntv::ValueBase* v = u.value();
        if (v != nullptr && !v->single()) return false;
        head(u);
        put('(');
        if (v != nullptr && value_) {
            const String& text = static_cast<const StringValue*>(v)->data();
            writeValue(out_, text.data(), text.size());
        }
        put(')');
        return true;
    }

    /// Writes the start of a node in COMPACT form; a list with children is pushed, anything
    /// else is finished here.
    void openCompact(const Unit& u) {
        if (writeLeaf(u)) return;
        head(u);
        put('(');
        const Units& units = static_cast<const ListValue*>(u.value())->data();
        if (!units.empty()) {
            prefetchFirst(&units);
            compactStack_.push_back(CompactFrame{&units, 0});
            return;
        }
        put(')');
    }

    /// Starts a node in SIMPLE/FORMATTED form at `level`; true when a frame was pushed.
    bool openSimple(const Unit& u, int level, bool knownNotSingle, bool withPath) {
        indent(level);
        if (withPath) __WritePath<char>(out_, static_cast<const std::string&>(u.path()));
        if (!knownNotSingle && writeLeaf(u)) return false;
        if (!knownNotSingle && isSingleChain(u)) {
            compact(u);
            return false;
        }
        head(u);
        put('(');
        write(PML_LINE_SEPARATOR, 1);
        const Units* units = childrenOf(u);
        prefetchFirst(units);
        stack_.push_back(Frame{units, 0, level, level, false});
        return true;
    }

    /// Starts a node in MIXED form at `level`; true when a frame was pushed.
    bool openMixed(const Unit& u, int level, bool knownNotSingle) {
        indent(level);
        if (!knownNotSingle && writeLeaf(u)) return false;
        if (!knownNotSingle && isSingleChain(u)) {
            compact(u);
            return false;
        }
        head(u);
        put('(');
        const bool unnamed = u.childrenWereUnnamedList();
        const Units* units = childrenOf(u);
        prefetchFirst(units);
        stack_.push_back(Frame{units, 0, unnamed ? level + 1 : level, level, unnamed});
        return true;
    }

    Sink& out_;
    const bool name_, type_, value_, path_;
    const std::string unit_;
    std::string indentCache_;
    std::vector<CompactFrame> compactStack_;
    std::vector<Frame> stack_;
};

/// Text staged in blocks of 64 KiB, for a large tree appended to a string without room to
/// spare. Growing the string by doubling through megabytes costs fresh pages and a copy at
/// every step; the blocks come back warm from the heap, and the string then grows once.
class StagedText {
  public:
    void write(const char* p, size_t n) {
        while (n != 0) {
            if (blocks_.empty() || used_ == kBlock) {
                blocks_.emplace_back(new char[kBlock]);
                used_ = 0;
            }
            const size_t k = n < kBlock - used_ ? n : kBlock - used_;
            std::char_traits<char>::copy(blocks_.back().get() + used_, p, k);
            used_ += k;
            p += k;
            n -= k;
        }
    }
    void appendTo(zul::String& dest) const {
        if (blocks_.empty()) return;
        dest.reserve(dest.size() + (blocks_.size() - 1) * kBlock + used_);
        for (size_t i = 0; i < blocks_.size(); ++i) {
            dest.append(blocks_[i].get(), i + 1 == blocks_.size() ? used_ : kBlock);
        }
    }

  private:
    static constexpr size_t kBlock = size_t(64) << 10;
    std::vector<std::unique_ptr<char[]>> blocks_;
    size_t used_ = 0;  ///< bytes in the last block
};

}  // namespace

template <>
struct PmlOut<StagedText> {
    static void put(StagedText& d, char c) { d.write(&c, 1); }
    static void write(StagedText& d, const char* p, size_t n) { d.write(p, n); }
};

namespace {

/// Whether the tree under `root` has more than `limit` nodes; looks at no more than that.
bool moreNodesThan(const Unit& root, size_t limit) {
    std::vector<const Unit*> work{&root};
    size_t seen = 0;
    while (!work.empty()) {
        const Unit* u = work.back();
        work.pop_back();
        if (++seen > limit) return true;
        if (const Units* c = childrenOf(*u)) {
            if (c->size() > limit) return true;
            work.insert(work.end(), c->begin(), c->end());
        }
    }
    return false;
}

/// Runs `fn` with a writer over the destination, through a local buffer that is handed
/// over before returning. A large tree bound for a string without a megabyte to spare is
/// staged first, so the string grows once (and is left as it was if writing throws).
template <class Dest, class Fn>
bool withWriter(const Unit& unit, Dest& dest, ShowPattern pattern, const char* indent, Fn fn) {
    if constexpr (std::is_same_v<Dest, zul::String>) {
        constexpr size_t kEnoughRoom = size_t(1) << 20;
        constexpr size_t kSmallTree = 4096;  // nodes
        if (dest.capacity() - dest.size() < kEnoughRoom && moreNodesThan(unit, kSmallTree)) {
            StagedText staged;
            withWriter(unit, staged, pattern, indent, fn);
            staged.appendTo(dest);
            return true;
        }
    }
    BufferedSink<Dest> sink(dest);
    PmlWriter<BufferedSink<Dest>> w(sink, pattern, indent);
    fn(w);
    sink.flush();
    return true;
}

}  // namespace
}  // namespace detail

// ---- the writer templates ----

template <class CharT, class Dest>
bool __NtvToCompactPml(const ntv::Unit& unit, Dest& dest, ShowPattern pattern) {
    return detail::withWriter(unit, dest, pattern, "", [&](auto& w) { w.compact(unit); });
}

template <class CharT, class Dest>
bool __NtvToSimplePml(const ntv::Unit& unit, Dest& dest, int level, ShowPattern pattern,
                      const char* indent) {
    return detail::withWriter(unit, dest, pattern, indent,
                              [&](auto& w) { w.simple(unit, level, false); });
}

template <class CharT, class Dest>
bool __NtvToMixedPml(const ntv::Unit& unit, Dest& dest, int level, ShowPattern pattern,
                     const char* indent) {
    return detail::withWriter(unit, dest, pattern, indent, [&](auto& w) { w.mixed(unit, level); });
}

template <class CharT, class Dest>
bool __NtvToFormattedPml(const ntv::Unit& unit, Dest& dest, int& level, ShowPattern pattern,
                         const char* indent) {
    // The walk keeps the levels of the open nodes on its own stack; the counter is raised
    // for the children and lowered after them there, so it ends where it started.
    return detail::withWriter(unit, dest, pattern, indent,
                              [&](auto& w) { w.simple(unit, level, true); });
}

template <class Dest>
bool __NtvToPml(const ntv::Unit& unit, Dest& dest, ShowMode mode, ShowPattern pattern) {
    const char* indent = detail::PML_INDENT;
    int level = 0;
    switch (mode) {
        case COMPACT:
            return __NtvToCompactPml<char, Dest>(unit, dest, pattern);
        case SIMPLE:
            return __NtvToSimplePml<char, Dest>(unit, dest, level, pattern, indent);
        case MIXED:
            return __NtvToMixedPml<char, Dest>(unit, dest, level, pattern, indent);
        case FORMATTED:
            return __NtvToFormattedPml<char, Dest>(unit, dest, level, pattern, indent);
    }
    return false;
}

template bool __NtvToCompactPml<char, std::ostream>(const ntv::Unit&, std::ostream&, ShowPattern);
template bool __NtvToCompactPml<char, zul::String>(const ntv::Unit&, zul::String&, ShowPattern);
template bool __NtvToSimplePml<char, std::ostream>(const ntv::Unit&, std::ostream&, int,
                                                   ShowPattern, const char*);
template bool __NtvToSimplePml<char, zul::String>(const ntv::Unit&, zul::String&, int, ShowPattern,
                                                  const char*);
template bool __NtvToMixedPml<char, std::ostream>(const ntv::Unit&, std::ostream&, int, ShowPattern,
                                                  const char*);
template bool __NtvToMixedPml<char, zul::String>(const ntv::Unit&, zul::String&, int, ShowPattern,
                                                 const char*);
template bool __NtvToFormattedPml<char, std::ostream>(const ntv::Unit&, std::ostream&, int&,
                                                      ShowPattern, const char*);
template bool __NtvToFormattedPml<char, zul::String>(const ntv::Unit&, zul::String&, int&,
                                                     ShowPattern, const char*);
template bool __NtvToPml<std::ostream>(const ntv::Unit&, std::ostream&, ShowMode, ShowPattern);
template bool __NtvToPml<zul::String>(const ntv::Unit&, zul::String&, ShowMode, ShowPattern);

bool __NtvToPml(const ntv::Unit& unit, const File& file, ShowMode mode, ShowPattern pattern) {
    // Opened (and so emptied) before the mode is looked at.
    std::ofstream os;
    if (!file.open(os)) return false;
    return __NtvToPml<std::ostream>(unit, os, mode, pattern);
}

// ---- entry points ----

bool ntvToPml(const ntv::Unit& unit, std::ostream& dest, ShowMode mode, ShowPattern pattern) {
    return __NtvToPml(unit, dest, mode, pattern);
}
bool ntvToPml(const ntv::Unit& unit, zul::String& dest, ShowMode mode, ShowPattern pattern) {
    return __NtvToPml(unit, dest, mode, pattern);
}

bool ntvToCompactPml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, COMPACT, pattern);
}
bool ntvToCompactPml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, COMPACT, pattern);
}
bool ntvToSimplePml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, SIMPLE, pattern);
}
bool ntvToSimplePml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, SIMPLE, pattern);
}
bool ntvToMixedPml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, MIXED, pattern);
}
bool ntvToMixedPml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, MIXED, pattern);
}
bool ntvToFormattedPml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, FORMATTED, pattern);
}
bool ntvToFormattedPml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, FORMATTED, pattern);
}

bool ntvToPml(const ntv::Unit& unit, const File& dest, ShowMode mode, ShowPattern pattern) {
    return __NtvToPml(unit, dest, mode, pattern);
}
bool ntvToCompactPml(const ntv::Unit& unit, const File& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, COMPACT, pattern);
}
bool ntvToSimplePml(const ntv::Unit& unit, const File& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, SIMPLE, pattern);
}
bool ntvToMixedPml(const ntv::Unit& unit, const File& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, MIXED, pattern);
}
bool ntvToFormattedPml(const ntv::Unit& unit, const File& dest, ShowPattern pattern) {
    return __NtvToPml(unit, dest, FORMATTED, pattern);
}

// ---- the value tree's text forms ----

namespace ntv {

String Unit::str(ShowMode mode, ShowPattern pattern) const {
    String out;
    ntvToPml(*this, out, mode, pattern);
    return out;
}

void Unit::toString(String& out, ShowMode mode, ShowPattern pattern) const {
    ntvToPml(*this, out, mode, pattern);
}

std::ostream& operator<<(std::ostream& os, const Unit& unit) {
    ntvToFormattedPml(unit, os, NAME | TYPE | VALUE);
    return os;
}

zul::String& operator<<(zul::String& s, const Unit& unit) {
    ntvToFormattedPml(unit, s, NAME | TYPE | VALUE);
    return s;
}

void operator<<(Unit& unit, const ShowPattern& pattern) {
    zul::String text;
    text += pattern;
    unit.setValue(istr(text));
}

void operator<<(Unit& unit, const ShowMode& mode) {
    zul::String text;
    text += mode;
    unit.setValue(istr(text));
}

}  // namespace ntv
}  // namespace pml
}  // namespace zul
