// The PML reader: syntax constants, the lexer over stream and pointer sources, and the
// recursive parser that turns PML text into zul::pml::ntv::Unit nodes (char and wchar_t).
#pragma once

#include <zul/base/exception.h>
#include <zul/base/pool.h>
#include <zul/base/raise.h>
#include <zul/pml/ntv_detail.h>
#include <zul/pml/ntv_listvalue.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_reader.h>
#include <zul/util/util_func.h>

#include <cstddef>
#include <exception>
#include <fstream>
#include <istream>
#include <string>
#include <type_traits>
#include <vector>

namespace zul {
namespace pml {

/// Syntax characters of PML, one set per character type.
template <class CharT>
struct Const;

/// The syntax characters of 8-bit PML text.
template <>
struct Const<char> {
    static constexpr char LEFT_TAG_CHAR = '(';                ///< opens a node's content
    static constexpr const char* LEFT_TAG = "(";              ///< "(" as text
    static constexpr char RIGHT_TAG_CHAR = ')';               ///< closes a node's content
    static constexpr const char* RIGHT_TAG = ")";             ///< ")" as text
    static constexpr char TYPE_IDENTITY_CHAR = ':';           ///< separates a name from a type
    static constexpr const char* TYPE_IDENTITY_STR = ":";     ///< ":" as text
    static constexpr char COMMENT_CHAR = '*';                 ///< second of "(*", first of "*)"
    static constexpr const char* LEFT_COMMENT_STR = "(*";     ///< opens a comment
    static constexpr const char* RIGHT_COMMENT_STR = "*)";    ///< closes a comment
    static constexpr char ESCAPE_CHAR = '^';                  ///< makes the next character literal
    static constexpr const char* ESCAPE_STR = "^";            ///< "^" as text
    static constexpr char STR_TAG1_CHAR = '\'';               ///< a quote the reader accepts
    static constexpr const char* STR_TAG1_STR = "'";          ///< the single quote as text
    static constexpr char STR_TAG2_CHAR = '"';                ///< the other quote it accepts
    static constexpr const char* STR_TAG2_STR = "\"";         ///< the double quote as text
    static constexpr char STR_TAG_CHAR = '"';                 ///< the quote the writers use
    static constexpr const char* STR_TAG_STR = "\"";          ///< that quote as text
    static constexpr const char* PML_PATH_ROOT = "/";         ///< the path of the root
    static constexpr const char* PML_PATH_SEPARATOR = "/";    ///< separates the steps of a path
    static constexpr const char* PML_PATH_ME = ".";           ///< the path of the node itself
    static constexpr const char* PML_PATH_PARENT = "..";      ///< the path of the parent
    static constexpr const char* PML_PATH_INDEX_LEFT = "[";   ///< opens an index key, "[i]"
    static constexpr const char* PML_PATH_INDEX_RIGHT = "]";  ///< closes that key
};

/// The syntax characters of wide PML text.
template <>
struct Const<wchar_t> {
    ///@{

    /// The same character as the member of the same name in Const<char>.
    static constexpr wchar_t LEFT_TAG_CHAR = L'(';
    static constexpr const wchar_t* LEFT_TAG = L"(";
    static constexpr wchar_t RIGHT_TAG_CHAR = L')';
    static constexpr const wchar_t* RIGHT_TAG = L")";
    static constexpr wchar_t TYPE_IDENTITY_CHAR = L':';
    static constexpr const wchar_t* TYPE_IDENTITY_STR = L":";
    static constexpr wchar_t COMMENT_CHAR = L'*';
    static constexpr const wchar_t* LEFT_COMMENT_STR = L"(*";
    static constexpr const wchar_t* RIGHT_COMMENT_STR = L"*)";
    static constexpr wchar_t ESCAPE_CHAR = L'^';
    static constexpr const wchar_t* ESCAPE_STR = L"^";
    static constexpr wchar_t STR_TAG1_CHAR = L'\'';
    static constexpr const wchar_t* STR_TAG1_STR = L"'";
    static constexpr wchar_t STR_TAG2_CHAR = L'"';
    static constexpr const wchar_t* STR_TAG2_STR = L"\"";
    static constexpr wchar_t STR_TAG_CHAR = L'"';
    static constexpr const wchar_t* STR_TAG_STR = L"\"";
    static constexpr const wchar_t* PML_PATH_ROOT = L"/";
    static constexpr const wchar_t* PML_PATH_SEPARATOR = L"/";
    static constexpr const wchar_t* PML_PATH_ME = L".";
    static constexpr const wchar_t* PML_PATH_PARENT = L"..";
    static constexpr const wchar_t* PML_PATH_INDEX_LEFT = L"[";
    static constexpr const wchar_t* PML_PATH_INDEX_RIGHT = L"]";
    ///@}
};

/// What ended a token. A parser that has read no token yet holds kNoTokenFlag.
enum TokenFlag : int {
    TOKEN_TYPE_IDENTITY = 0,  ///< ":"
    TOKEN_LEFT_TAG = 1,       ///< "(" not followed by "*"
    TOKEN_RIGHT_TAG = 2,      ///< ")"
};
/// The flag of a parser that has read no token yet (-1).
constexpr TokenFlag kNoTokenFlag = static_cast<TokenFlag>(-1);

/// What the parser expects next.
enum ParserState : int {
    PasingName = 0,   ///< the name of a node
    PasingType = 1,   ///< the type of a node, after ":"
    PasingValue = 2,  ///< the first token of a node's content
};

/// How deep nodes may nest below the node a parse starts with. Deeper text raises
/// DecodeException ("nesting too deep") instead of exhausting the stack: the parser recurses
/// once per level, and so do the writers and other walks of a tree that rely on this bound.
constexpr std::size_t kPmlMaxDepth = 1024;

namespace detail {

/// Classes of the 8-bit code units, one bit each: a blank for every locale; a character that
/// ends a run of plain token text (NUL, ":", "(", ")", both quotes, "^"); one that ends a run
/// inside a quoted literal (NUL, both quotes, "^"); one whose blankness depends on the locale
/// (the other control characters and every non-ASCII unit), left to CharIsSpace.
enum : unsigned char { kPmlBlank = 1, kPmlStop = 2, kPmlQuoteStop = 4, kPmlAskBlank = 8 };

struct PmlCharTable {
    unsigned char cls[256];
    constexpr PmlCharTable() : cls() {
        for (int c = 0; c < 256; ++c) {
            if (c == 0x20 || (c >= 0x09 && c <= 0x0d)) {
                cls[c] = kPmlBlank;
            } else if (c != 0 && (c < 0x20 || c >= 0x7f)) {
                cls[c] = kPmlAskBlank;
            }
        }
        const char stops[] = {':', '(', ')', '\'', '"', '^'};
        for (char c : stops) cls[static_cast<unsigned char>(c)] |= kPmlStop;
        const char quoteStops[] = {'\'', '"', '^'};
        for (char c : quoteStops) cls[static_cast<unsigned char>(c)] |= kPmlQuoteStop;
        cls[0] = kPmlStop | kPmlQuoteStop;
    }
};
inline constexpr PmlCharTable kPmlChars{};

/// The class bits of `c`; a wide character beyond the 8-bit range only asks CharIsSpace.
template <class CharT>
inline unsigned pmlClass(CharT c) {
    using U = std::make_unsigned_t<CharT>;
    const U u = static_cast<U>(c);
    if (sizeof(CharT) > 1 && u > 0xff) return kPmlAskBlank;
    return kPmlChars.cls[static_cast<unsigned char>(u)];
}

template <class CharT>
inline bool pmlIsStop(CharT c) {
    return (pmlClass(c) & kPmlStop) != 0;
}

/// The CharIsSpace test, answered from the table where every locale agrees.
template <class CharT>
inline bool pmlIsBlank(CharT c) {
    const unsigned k = pmlClass(c);
    if (k & kPmlBlank) return true;
    return (k & kPmlAskBlank) != 0 && zul::CharIsSpace(c);
}

/// StrTrimRight, skipping the call when the text does not end in a blank.
template <class CharT>
inline void pmlTrimRight(std::basic_string<CharT>& s) {
    if (!s.empty() && pmlIsBlank(s.back())) zul::StrTrimRight(s);
}

/// The value rule: one pair of matching enclosing quotes (either kind) is removed.
template <class CharT>
inline void pmlUnquote(std::basic_string<CharT>& s) {
    using K = Const<CharT>;
    if (s.size() >= 2 && (s.front() == K::STR_TAG1_CHAR || s.front() == K::STR_TAG2_CHAR) &&
        s.back() == s.front()) {
        s.pop_back();
        s.erase(0, 1);
    }
}

/// Token text as stored in the tree: 8-bit text unchanged, wide text as UTF-8.
inline void pmlStoreText(String& out, const std::string& token) {
    out.assign(token);
}
inline void pmlStoreText(String& out, const std::wstring& token) {
    for (wchar_t c : token) {
        if (static_cast<std::make_unsigned_t<wchar_t>>(c) >= 0x80) {
            out = toAnsi(wstr(iwstr(token)));
            return;
        }
    }
    out.assign(token.begin(), token.end());  // plain ASCII converts element by element
}

/// The children read so far for every list still open, innermost last. A list takes its
/// children over in one step when it ends, so its storage is sized once and exactly. The
/// entries live in pool blocks of a fixed size, reused from list to list, so collecting
/// them never asks the heap for one large piece however long a list grows.
class PmlPending {
  public:
    PmlPending() = default;
    PmlPending(const PmlPending&) = delete;
    PmlPending& operator=(const PmlPending&) = delete;
    ~PmlPending() {
        for (Block* b : blocks_) zul::detail::poolRelease(b, sizeof(Block));
    }

    std::size_t size() const { return size_; }
    ntv::Unit* operator[](std::size_t i) const { return blocks_[i / kBlock]->at[i % kBlock]; }

    void push_back(ntv::Unit* u) {
        if (size_ == blocks_.size() * kBlock) {
            if (blocks_.size() == blocks_.capacity()) blocks_.reserve(2 * blocks_.size() + 8);
            blocks_.push_back(static_cast<Block*>(zul::detail::poolAllocate(sizeof(Block))));
        }
        blocks_[size_ / kBlock]->at[size_ % kBlock] = u;
        ++size_;
    }
    /// Forgets the entries from `n` on; the blocks are kept for reuse.
    void truncate(std::size_t n) { size_ = n; }

  private:
    static constexpr std::size_t kBlock = 120;  // 960 bytes
    struct Block {
        ntv::Unit* at[kBlock];
    };
    std::vector<Block*> blocks_;  // pool blocks
    std::size_t size_ = 0;
};

/// The view type that doParser takes for a character type.
template <class CharT>
struct PmlView;
template <>
struct PmlView<char> {
    using type = istr;
};
template <>
struct PmlView<wchar_t> {
    using type = iwstr;
};

}  // namespace detail

/// A standard input stream as a lexer source. The input ends when a read fails (end of
/// file or a stream error); the stream's state bits record why, as its own get() would.
/// Reads go straight to the stream buffer, so the stream stays positioned after the last
/// character consumed.
template <class CharT>
class pmlLexerIstream {
  public:
    using char_type = CharT;                        ///< The character type read.
    using string_type = std::basic_string<CharT>;   ///< The token string.
    using stream_type = std::basic_istream<CharT>;  ///< The stream read from.

    /// Reads from `is`, which is not owned and must outlive the source; a stream that is not
    /// good reads nothing.
    explicit pmlLexerIstream(stream_type& is) : is_(is), buf_(nullptr) {
        typename stream_type::sentry ok(is, true);  // a stream that is not good reads nothing
        if (ok) buf_ = is.rdbuf();
    }

    /// Reads one character; false when the input ends.
    bool get(CharT& c) {
        if (buf_ == nullptr) return false;
        typename traits::int_type i;
        try {
            i = buf_->sbumpc();
        } catch (...) {
            return fail(std::ios_base::badbit);
        }
        if (traits::eq_int_type(i, traits::eof())) {
            return fail(std::ios_base::eofbit | std::ios_base::failbit);
        }
        c = traits::to_char_type(i);
        return true;
    }

    /// Looks at the next character without consuming it; false when the input ends.
    bool peek(CharT& c) {
        if (buf_ == nullptr) return false;
        typename traits::int_type i;
        try {
            i = buf_->sgetc();
        } catch (...) {
            return fail(std::ios_base::badbit);
        }
        if (traits::eq_int_type(i, traits::eof())) {
            is_.setstate(std::ios_base::eofbit);
            return false;
        }
        c = traits::to_char_type(i);
        return true;
    }

    /// Gives back the character just read.
    void putback(CharT c) {
        if (buf_ != nullptr && traits::eq_int_type(buf_->sputbackc(c), traits::eof())) {
            fail(std::ios_base::badbit);
        }
    }

    /// Whether the input has ended (rather than failed).
    bool ended() const { return is_.eof(); }

    /// Reads up to the first non-blank character, stored in `c`; false when the input ends.
    bool __skip_blank(CharT& c) {
        while (get(c)) {
            if (!detail::pmlIsBlank(c)) return true;
        }
        return false;
    }

    /// Appends characters to `token` up to the first one that ends plain text, which is
    /// consumed and stored in `c`; false when the input ends first.
    bool appendPlain(string_type& token, CharT& c) {
        while (get(c)) {
            if (detail::pmlIsStop(c)) return true;
            token.push_back(c);
        }
        return false;
    }

    /// A stream takes every token the general way.
    bool plainToken(string_type&, CharT&) { return false; }

    /// The same inside a quoted literal: stops at `close` or "^".
    bool appendQuoted(string_type& token, CharT close, CharT& c) {
        while (get(c)) {
            if (c == close || c == Const<CharT>::ESCAPE_CHAR) return true;
            token.push_back(c);
        }
        return false;
    }

    /// Inside a comment: reads up to the next "*" or "(", which is consumed and stored in
    /// `c`; false when the input ends first.
    bool findCommentMark(CharT& c) {
        while (get(c)) {
            if (c == Const<CharT>::COMMENT_CHAR || c == Const<CharT>::LEFT_TAG_CHAR) return true;
        }
        return false;
    }

  private:
    using traits = std::char_traits<CharT>;

    bool fail(std::ios_base::iostate bits) {
        buf_ = nullptr;
        is_.setstate(bits);
        return false;
    }

    stream_type& is_;
    std::basic_streambuf<CharT>* buf_;  // null once a read has failed
};

/// The caller's pointer to NUL-terminated text as a lexer source; it advances as characters
/// are read. The NUL ends the input and is never consumed.
template <class CharT>
class pmlLexerLpctstr {
  public:
    using char_type = CharT;                       ///< The character type read.
    using string_type = std::basic_string<CharT>;  ///< The token string.

    /// Reads from the caller's pointer `p` (not null; NUL-terminated text), advancing it in
    /// place; `p` must outlive the source.
    explicit pmlLexerLpctstr(const CharT*& p) : p_(p) {}

    /// Reads one character; false at the NUL, which stays unread.
    bool get(CharT& c) {
        if (*p_ == CharT()) return false;
        c = *p_++;
        return true;
    }
    /// Looks at the next character without consuming it; false at the NUL.
    bool peek(CharT& c) {
        if (*p_ == CharT()) return false;
        c = *p_;
        return true;
    }
    /// Gives back the character just read: the pointer moves back by one.
    void putback(CharT) { --p_; }
    /// Whether the pointer stands at the NUL.
    bool ended() const { return *p_ == CharT(); }

    // The scanning loops work on a local copy of the pointer: the caller's pointer is
    // reached through a reference that any character store could alias.

    /// Reads up to the first non-blank character, stored in `c`; false when the NUL comes
    /// first.
    bool __skip_blank(CharT& c) {
        p_ = blanksEnd(p_);
        return get(c);
    }

    /// The common token in one step: blanks, then plain text ended by ":", ")" or a "("
    /// that opens no comment. On success the token is that text without trailing blanks,
    /// and the end character is consumed and stored in `c`. Otherwise only the blanks are
    /// consumed and the token is left alone.
    bool plainToken(string_type& token, CharT& c) {
        const CharT* s = blanksEnd(p_);
        const CharT* e = s;
        while (!detail::pmlIsStop(*e)) ++e;
        const CharT end = *e;
        if (end == Const<CharT>::TYPE_IDENTITY_CHAR || end == Const<CharT>::RIGHT_TAG_CHAR ||
            (end == Const<CharT>::LEFT_TAG_CHAR && e[1] != Const<CharT>::COMMENT_CHAR &&
             e[1] != CharT())) {
            const CharT* t = e;
            while (t != s && detail::pmlIsBlank(t[-1])) --t;
            token.clear();  // then append: cheaper than assign, which allows for overlap
            token.append(s, static_cast<std::size_t>(t - s));
            p_ = e + 1;
            c = end;
            return true;
        }
        p_ = s;
        return false;
    }

    /// Appends characters to `token` up to the first one that ends plain text, which is
    /// consumed and stored in `c`; false when the NUL comes first.
    bool appendPlain(string_type& token, CharT& c) {
        const CharT* s = p_;
        while (!detail::pmlIsStop(*s)) ++s;
        token.append(p_, static_cast<std::size_t>(s - p_));
        p_ = s;
        return get(c);
    }

    /// The same inside a quoted literal: stops at `close` or "^".
    bool appendQuoted(string_type& token, CharT close, CharT& c) {
        const CharT* s = p_;
        for (;; ++s) {
            if (!(detail::pmlClass(*s) & detail::kPmlQuoteStop)) continue;
            if (*s == close || *s == Const<CharT>::ESCAPE_CHAR || *s == CharT()) break;
        }
        token.append(p_, static_cast<std::size_t>(s - p_));
        p_ = s;
        return get(c);
    }

    /// Inside a comment: reads up to the next "*" or "(", which is consumed and stored in
    /// `c`; false when the NUL comes first.
    bool findCommentMark(CharT& c) {
        const CharT* s = p_;
        while (*s != Const<CharT>::COMMENT_CHAR && *s != Const<CharT>::LEFT_TAG_CHAR &&
               *s != CharT()) {
            ++s;
        }
        p_ = s;
        return get(c);
    }

  private:
    /// Where the blanks from `s` on end.
    static const CharT* blanksEnd(const CharT* s) {
        // Indentation comes in runs of spaces: step over them four at a time. Each test
        // reads a character only after the one before it proved to be a space, never the NUL.
        while (s[0] == ' ' && s[1] == ' ' && s[2] == ' ' && s[3] == ' ') s += 4;
        for (;; ++s) {
            const unsigned k = detail::pmlClass(*s);
            if (k & detail::kPmlBlank) continue;
            if (!(k & detail::kPmlAskBlank) || !zul::CharIsSpace(*s)) return s;
        }
    }

    const CharT*& p_;
};

/// Cuts the text of a source into tokens: the text up to the next ":", "(" or ")" outside
/// quotes and comments.
template <class Source>
class pmlLexer {
  public:
    using char_type = typename Source::char_type;      ///< The source's character type.
    using string_type = std::basic_string<char_type>;  ///< The token string.

    /// Reads from `source`, which is not owned and must outlive the lexer.
    explicit pmlLexer(Source& source) : src_(source) {}

    /// The source read from.
    Source& source() { return src_; }
    /// Whether the input has ended (rather than failed).
    bool ended() const { return src_.ended(); }
    /// Gives the character just read back to the source.
    void putback(char_type c) { src_.putback(c); }

    /// Reads the next token into `token` (cleared first) and sets `flag` to what ended it.
    /// False when the input ends before a token end; the text read so far stays in `token`.
    ///
    /// Blanks before a token are skipped and trailing blanks trimmed. "^" makes the next
    /// character literal. A quoted literal ('...' or "...") is kept with its quotes, and
    /// literals separated only by blanks join into one. Comments "(* ... *)" nest, are
    /// recognised only where "(" would end the token, and swallow the blanks after them.
    bool getToken(string_type& token, TokenFlag& flag) {
        char_type c{};
        if (src_.plainToken(token, c)) {
            flag = c == K::TYPE_IDENTITY_CHAR ? TOKEN_TYPE_IDENTITY
                   : c == K::LEFT_TAG_CHAR    ? TOKEN_LEFT_TAG
                                              : TOKEN_RIGHT_TAG;
            return true;
        }
        token.clear();
        if (!src_.__skip_blank(c)) return false;
        for (;;) {
            switch (c) {
                case K::TYPE_IDENTITY_CHAR:
                    detail::pmlTrimRight(token);
                    flag = TOKEN_TYPE_IDENTITY;
                    return true;
                case K::LEFT_TAG_CHAR: {
                    char_type next{};
                    if (!src_.peek(next)) return false;
                    if (next != K::COMMENT_CHAR) {
                        detail::pmlTrimRight(token);
                        flag = TOKEN_LEFT_TAG;
                        return true;
                    }
                    src_.get(next);
                    if (!skipComment()) return false;
                    if (!src_.__skip_blank(c)) return false;
                    continue;  // look at the character after the comment
                }
                case K::RIGHT_TAG_CHAR:
                    detail::pmlTrimRight(token);
                    flag = TOKEN_RIGHT_TAG;
                    return true;
                case K::STR_TAG1_CHAR:
                case K::STR_TAG2_CHAR:
                    if (!readQuoted(token, c)) return false;
                    continue;  // `c` is the first non-blank character after the literal
                case K::ESCAPE_CHAR:
                    if (!src_.get(c)) return false;
                    token.push_back(c);
                    break;
                default:
                    token.push_back(c);
                    break;
            }
            if (!src_.appendPlain(token, c)) return false;
        }
    }

  private:
    using K = Const<char_type>;

    /// Reads a comment whose "(*" has been consumed, up to its matching "*)". A "*" followed
    /// by ")" closes one level and a "(" followed by "*" opens one; both characters of such a
    /// pair are consumed together. False when the input ends inside the comment.
    bool skipComment() {
        std::size_t depth = 1;
        char_type c{};
        if (!src_.findCommentMark(c)) return false;
        for (;;) {
            char_type next{};
            if (!src_.get(next)) return false;
            if (c == K::COMMENT_CHAR && next == K::RIGHT_TAG_CHAR) {
                if (--depth == 0) return true;
                if (!src_.findCommentMark(c)) return false;
            } else if (c == K::LEFT_TAG_CHAR && next == K::COMMENT_CHAR) {
                ++depth;
                if (!src_.findCommentMark(c)) return false;
            } else if (next == K::COMMENT_CHAR || next == K::LEFT_TAG_CHAR) {
                c = next;  // not a pair: the second character may start one
            } else if (!src_.findCommentMark(c)) {
                return false;
            }
        }
    }

    /// Reads a quoted literal opened by `quote` (already read). The token keeps the opening
    /// quote and gets it again as the closing one, whichever quote closed the last of the
    /// joined literals. On success `c` holds the first non-blank character after it.
    bool readQuoted(string_type& token, char_type& c) {
        const char_type quote = c;
        char_type close = quote;
        token.push_back(quote);
        for (;;) {
            if (!src_.appendQuoted(token, close, c)) return false;
            if (c == K::ESCAPE_CHAR) {
                if (!src_.get(c)) return false;
                token.push_back(c);
                continue;
            }
            token.push_back(quote);  // `c` is the closing quote
            if (!src_.__skip_blank(c)) return false;
            if (c != K::STR_TAG1_CHAR && c != K::STR_TAG2_CHAR) return true;
            token.pop_back();  // a quote right after: the next literal joins this one
            close = c;
        }
    }

    Source& src_;
};

/// The PML parser: fills `current_` from the tokens of a lexer. Prepare it with the target
/// node (already cleared), PasingName for a whole node or PasingValue for the content of a
/// node alone, then call one __doParser or doParser once.
template <class CharT>
class pmlParserBase {
  public:
    using char_type = CharT;                                  ///< The character type read.
    using string_type = std::basic_string<CharT>;             ///< The token string.
    using view_type = typename detail::PmlView<CharT>::type;  ///< istr or iwstr.

    /// A parser that fills `target` (not owned; cleared by the caller) starting in `state`,
    /// with no token read yet.
    pmlParserBase(ntv::Unit* target, ParserState state)
        : current_(target), state_(state), token_(), flag_(kNoTokenFlag), depth_(0) {}

    /// Parses one node into current_, starting in state_. Sets `closed` when, expecting a
    /// name, it met the end of the enclosing list (or of the input) instead of a node.
    /// Returns false when an allocation failed; throws zul::pml::DecodeException
    /// "DecodeException: <cause>" on a syntax error ("get type token", "not found value begin
    /// tag, token", "nesting too deep", ...), logged first.
    /// The nodes complete before an error stay in the tree; the one being read is dropped.
    template <class Source>
    bool __doParser(bool& closed, pmlLexer<Source>& lexer);

    /// Parses a copy of `text` (a NUL inside it ends the text; a null view is empty text), as
    /// __doParser does.
    bool doParser(view_type text) {
        const string_type copy(text.data == nullptr ? string_type()
                                                    : string_type(text.data, text.size));
        const CharT* p = copy.c_str();
        pmlLexerLpctstr<CharT> source(p);
        pmlLexer<pmlLexerLpctstr<CharT>> lexer(source);
        bool closed = false;
        return __doParser(closed, lexer);
    }

    /// Parses the named file (8-bit parser only) as __doParser does; false when it cannot be
    /// opened.
    bool doParser(const File& file) {
        static_assert(std::is_same<CharT, char>::value, "files are read as 8-bit text");
        std::ifstream is;
        if (!file.open(is)) return false;
        pmlLexerIstream<char> source(is);
        pmlLexer<pmlLexerIstream<char>> lexer(source);
        bool closed = false;
        return __doParser(closed, lexer);
    }

    ntv::Unit* current_;  ///< the node being filled (not owned)
    ParserState state_;   ///< what the parser expects next
    string_type token_;   ///< the last token read
    TokenFlag flag_;      ///< what ended it

  private:
    /// Creates a free node whose parent pointer is `parent`.
    static ntv::Unit* newChild(ntv::Unit* parent) {
        return zul::detail::ntvNew<ntv::Unit>(__FILE__, __LINE__, "__doParser", parent);
    }
    static void destroy(ntv::Unit*& u) noexcept {
        zul::detail::ntvDelete(u, __FILE__, __LINE__, "__doParser");
    }

    /// Appends the children collected for `node` since `from` to its list, in order; a
    /// child that cannot be added (a duplicate name: the first of a name wins) is
    /// destroyed. False when addChild refused one (the rest are destroyed too).
    bool adopt(ntv::Unit* node, std::size_t from) noexcept {
        const std::size_t n = pending_.size();
        bool ok = true;
        try {
            static_cast<ntv::ListValue*>(node->value())->reserve(n - from);
        } catch (...) {
            // Appending then grows the list step by step; or fails child by child below.
        }
        for (std::size_t i = from; i < n; ++i) {
            ntv::Unit* child = pending_[i];
            try {
                if (ok && node->addChild(child)) continue;
                ok = false;
            } catch (...) {
            }
            destroy(child);
        }
        pending_.truncate(from);
        return ok;
    }

    /// One open list: hands the children read so far to the list, restores current_ and the
    /// depth, and destroys the child being read unless it was collected, however the level
    /// is left.
    struct Level {
        pmlParserBase& parser;
        ntv::Unit* node;
        ntv::Unit* child;
        std::size_t from;  ///< where this list's children start in pending_
        bool adopted;
        ~Level() {
            if (!adopted) parser.adopt(node, from);
            parser.current_ = node;
            --parser.depth_;
            destroy(child);
        }
    };

    std::size_t depth_;           ///< lists open above current_
    detail::PmlPending pending_;  ///< children of the open lists, not yet in their lists
};

template <class CharT>
template <class Source>
bool pmlParserBase<CharT>::__doParser(bool& closed, pmlLexer<Source>& lexer) {
    using K = Const<CharT>;
    ntv::Unit* const node = current_;

    switch (state_) {
        case PasingName:
            if (!lexer.getToken(token_, flag_)) {
                if (lexer.ended()) {
                    closed = true;  // nothing more to read: an empty input or list end
                    return true;
                }
                ZUL_RAISE(zul::pml::DecodeException, "DecodeException", "get pml name token");
            }
            detail::pmlStoreText(node->name(), token_);
            if (flag_ == TOKEN_RIGHT_TAG) {
                closed = true;
                // "name)" without content: the ")" also ends the enclosing list.
                if (!token_.empty()) lexer.putback(K::RIGHT_TAG_CHAR);
                return true;
            }
            if (flag_ == TOKEN_LEFT_TAG) {
                state_ = PasingValue;
            } else if (flag_ == TOKEN_TYPE_IDENTITY) {
                state_ = PasingType;
            } else {
                ZUL_RAISE(zul::pml::DecodeException, "DecodeException", "invalid token flag");
            }
            break;
        case PasingType:
        case PasingValue:
            break;
        default:
            ZUL_RAISE(zul::pml::DecodeException, "DecodeException",
                      "passing state should be PasingValue");
    }

    if (state_ == PasingType) {
        if (!lexer.getToken(token_, flag_)) {
            ZUL_RAISE(zul::pml::DecodeException, "DecodeException", "get type token");
        }
        if (flag_ != TOKEN_LEFT_TAG) {
            ZUL_RAISE(zul::pml::DecodeException, "DecodeException",
                      "not found value begin tag, token");
        }
        if constexpr (std::is_same<CharT, char>::value) {
            node->type(istr(token_.data(), token_.size()));
        } else {
            String type;
            detail::pmlStoreText(type, token_);
            node->type(type);
        }
        state_ = PasingValue;
    }

    // PasingValue: a text value, or the first child of a list.
    if (!lexer.getToken(token_, flag_) || flag_ == TOKEN_RIGHT_TAG) {
        detail::pmlTrimRight(token_);
        detail::pmlUnquote(token_);
        if constexpr (std::is_same<CharT, char>::value) {
            node->setValue(istr(token_.data(), token_.size()));
        } else {
            String value;
            detail::pmlStoreText(value, token_);
            node->setValue(value);
        }
        state_ = PasingName;
        return true;
    }
    if (flag_ != TOKEN_TYPE_IDENTITY && flag_ != TOKEN_LEFT_TAG) {
        ZUL_RAISE(zul::pml::DecodeException, "DecodeException", "invalid token flag");
    }
    if (depth_ >= kPmlMaxDepth) {
        ZUL_RAISE(zul::pml::DecodeException, "DecodeException", "nesting too deep");
    }

    ++depth_;
    Level level{*this, node, nullptr, pending_.size(), false};
    {
        ntv::ListValue* list =
            zul::detail::ntvNew<ntv::ListValue>(__FILE__, __LINE__, "__doParser", node);
        if (list == nullptr) return false;
        try {
            node->value(list);
        } catch (...) {
            zul::detail::ntvDelete(list, __FILE__, __LINE__, "__doParser");
            throw;
        }
    }
    level.child = newChild(node);
    if (level.child == nullptr) return false;
    detail::pmlStoreText(level.child->name(), token_);
    state_ = flag_ == TOKEN_TYPE_IDENTITY ? PasingType : PasingValue;

    for (;;) {
        bool childClosed = false;
        current_ = level.child;
        const bool ok = __doParser(childClosed, lexer);
        current_ = node;
        if (!ok) return false;
        if (!(childClosed && level.child->name().empty())) {
            pending_.push_back(level.child);  // added to the list when the list ends
            level.child = nullptr;
        }
        if (childClosed) {
            // A placeholder of the list end goes with `level`.
            level.adopted = true;
            return adopt(node, level.from);
        }
        level.child = newChild(node);
        if (level.child == nullptr) return false;
        state_ = PasingName;
    }
}

}  // namespace pml
}  // namespace zul
