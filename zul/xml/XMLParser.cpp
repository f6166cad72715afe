// The XML parser: one token per nextNode() call over a private, NUL-terminated copy of the
// input, building the tree as it goes.
#include <zul/base/record_position.h>
#include <zul/xml/XMLParser.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>

namespace zul {
namespace xml {

namespace {

// Where these failures say they come from: fixed by the record format, not where the code
// stands. The other failures of the parser carry their real lines.
struct RecordPositions {
    detail::RecordPosition noProcessingEnd{__FILE__, 215, nullptr};
    detail::RecordPosition noProcessingClose{__FILE__, 222, nullptr};
    detail::RecordPosition noBeginQuote{__FILE__, 557, nullptr};
    detail::RecordPosition noEndQuote{__FILE__, 571, nullptr};
    detail::RecordPosition noEquals{__FILE__, 593, nullptr};
};
constexpr RecordPositions kRecordPositions{};

// The error texts.
const char kNoProcessingEnd[] = "Malformed XML processing node - end '?' expected, but none found.";
const char kNoProcessingClose[] =
    "Malformed XML processing node - end '>' expected, but none found.";
const char kNoQuote[] =
    "Malformed XML Attribute - string literal expected, but no beginning quote (\") found.";
const char kNoEquals[] = "Malformed XML Attribute - no = found";

[[noreturn]] void fail(const char* msg, const detail::RecordPosition& at) {
    throw XMLRuntimeException(istr(msg), istr(at.file), at.line);
}

const char* skipWs(const char* p, const char* end) {
    while (p < end && XMLParser::isWhiteSpace(*p)) ++p;
    return p;
}

// The first of `c` in [p, end), or end.
const char* findChar(const char* p, const char* end, char c) {
    const void* f = std::memchr(p, c, static_cast<size_t>(end - p));
    return f == nullptr ? end : static_cast<const char*>(f);
}

// The first '>' or NUL from p (the text ends in a NUL, so this stops).
const char* findTagEnd(const char* p) {
    while (*p != '>' && *p != '\0') ++p;
    return p;
}

// The replacement of a named entity; "????" for a name not among the five.
const char* namedEntity(std::string_view name) {
    if (name == "amp") return "&";
    if (name == "lt") return "<";
    if (name == "gt") return ">";
    if (name == "quot") return "\"";
    if (name == "apos") return "'";
    return "????";
}

// A character reference "#..." : strtol with base 16 after a leading x or X, else with
// the base the digits show. 0-255 is that byte, anything else its decimal digits.
void appendCharRef(String& out, std::string_view name) {
    std::string digits(name.substr(1));
    const char* s = digits.c_str();
    int base = 0;
    if (*s == 'x' || *s == 'X') {
        base = 16;
        ++s;
    }
    const uint32_t v = static_cast<uint32_t>(std::strtol(s, nullptr, base));
    if (v <= 255) {
        out += static_cast<char>(v);
    } else {
        out += std::to_string(v);
    }
}

}  // namespace

XMLParserCallback::~XMLParserCallback() = default;

XMLParser::XMLParser()
    : size_(0),
      begin_(nullptr),
      end_(nullptr),
      cursor_(nullptr),
      tokenStart_(nullptr),
      inDtd_(false),
      current_(nullptr),
      root_(nullptr),
      callback_(nullptr) {}

XMLParser::XMLParser(const istr& text) : XMLParser() {
    parse(text);
}

XMLParser::XMLParser(std::ifstream& in) : XMLParser() {
    parse(in);
}

XMLParser::~XMLParser() {
    delete root_;
}

XMLNode* XMLParser::release() {
    XMLNode* r = root_;
    root_ = nullptr;
    current_ = nullptr;
    return r;
}

void XMLParser::clearNodes() {
    current_ = nullptr;
    delete root_;
    root_ = nullptr;
}

void XMLParser::parse(const istr& text) {
    if (text.data == nullptr) {
        text_.clear();
    } else {
        text_.assign(text.data, text.size);
    }
    run();
}

void XMLParser::parse(std::ifstream& in) {
    // Reading line by line and appending "\n" to each, the line that meets the end of the
    // file included, yields the remaining text followed by one "\n"; read it in blocks.
    text_.clear();
    if (in.good()) {
        char block[1 << 16];
        while (in.read(block, sizeof block) || in.gcount() > 0) {
            text_.append(block, static_cast<size_t>(in.gcount()));
        }
        text_ += '\n';
    }
    run();
}

void XMLParser::run() {
    clearNodes();
    inDtd_ = false;
    size_ = text_.size();
    begin_ = text_.c_str();
    end_ = begin_ + size_;
    cursor_ = begin_;
    tokenStart_ = begin_;
    while (nextNode()) {
    }
}

const char* XMLParser::skipWhitespace(const istr& s) {
    const char* end = s.data == nullptr ? nullptr : s.data + s.size;
    return skipWs(s.data, end);
}

const char* XMLParser::skipTillWhitespace(const istr& s) {
    const char* p = s.data;
    const char* end = p == nullptr ? nullptr : p + s.size;
    while (p < end && !isWhiteSpace(*p)) ++p;
    return p;
}

void XMLParser::parseEntity(const char*, const char*) {}

bool XMLParser::nextNode() {
    if (cursor_ >= end_) return false;
    const char* p = skipWs(cursor_, end_);
    tokenStart_ = p;
    const char c = *p;
    if (c == '<') {
        const char n = p[1];
        if (n == '\0') {
            cursor_ = p + 1;
            return cursor_ < end_;
        }
        if (n == '!') return readDeclaration();
        if (n == '?') return readProcessing();
        if (n == '/') return tagEnd(findTagEnd(p + 1), true);
        return readStartTag();
    }
    if (c == ']' && inDtd_) {
        const char* e = findTagEnd(p);
        cursor_ = *e == '>' ? e + 1 : e;
        inDtd_ = false;
        return true;
    }
    // A ']' outside a document type declaration is kept as it is.
    return readText(c != ']');
}

bool XMLParser::readDeclaration() {
    const char* const h = tokenStart_ + 2;
    const std::string_view rest(h, static_cast<size_t>(end_ - h));
    auto begins = [&rest](std::string_view word) { return rest.substr(0, word.size()) == word; };
    if (begins("--")) {
        // Anything up to "-->" is skipped, NUL bytes included.
        const size_t close = rest.find("-->", 2);
        cursor_ = close == std::string_view::npos ? end_ : h + close + 3;
        return true;
    }
    if (begins("DOCTYPE")) {
        const char* q = h;
        while (*q != '\0' && *q != '>' && *q != '[') ++q;
        inDtd_ = *q == '[';
        cursor_ = *q == '\0' ? q : q + 1;
        return true;
    }
    if (begins("ENTITY")) {
        const char* q = findTagEnd(h + 6);
        parseEntity(h + 6, q);
        cursor_ = *q == '>' ? q + 1 : q;
        return true;
    }
    if (begins("[CDATA[")) {
        const char* const s = h + 7;
        const size_t close = rest.find("]]>", 7);
        const char* e;
        if (close != std::string_view::npos) {
            e = h + close;
            cursor_ = e + 3;
        } else {
            // Cut off by the end of the input: the section ends there, less two characters.
            e = end_ - s >= 2 ? end_ - 2 : s;
            cursor_ = end_;
        }
        if (current_ != nullptr) {
            current_->cdata_.append(s, static_cast<size_t>(e - s));
            if (callback_ != nullptr) callback_->onText(*this, current_);
        }
        return cursor_ < end_;
    }
    // Any other declaration: its text is read as content.
    cursor_ = tokenStart_ + 2;
    return cursor_ < end_;
}

bool XMLParser::readProcessing() {
    const char* q = tokenStart_ + 2;
    while (*q != '?' && *q != '\0') ++q;
    if (*q == '\0') fail(kNoProcessingEnd, kRecordPositions.noProcessingEnd);
    q = skipWs(q + 1, end_);
    if (*q != '>') fail(kNoProcessingClose, kRecordPositions.noProcessingClose);
    cursor_ = q + 1;
    return true;
}

bool XMLParser::readStartTag() {
    // The new element is linked in (adopted by the current node, or made the root) before
    // anything can fail, so an error leaves no half-linked node.
    if (current_ != nullptr) {
        current_ = new XMLNode(istr(), current_);
    } else {
        std::unique_ptr<XMLNode> old(root_);
        root_ = nullptr;
        old.reset();  // an earlier top-level tree is no longer reachable: free it now
        root_ = new XMLNode;
        current_ = root_;
    }
    const char* const body = skipWs(tokenStart_ + 1, end_);
    const char* bodyEnd = body;
    while (*bodyEnd != '/' && *bodyEnd != '>' && *bodyEnd != '\0') ++bodyEnd;
    const char* nameEnd = body;
    while (nameEnd < bodyEnd && !isWhiteSpace(*nameEnd)) ++nameEnd;
    current_->name(istr(body, static_cast<size_t>(nameEnd - body)));
    if (callback_ != nullptr) callback_->onNodeStart(*this, current_);
    const char* p = readAttributes(skipWs(nameEnd, end_));
    return tagEnd(findTagEnd(p), false);
}

const char* XMLParser::readAttributes(const char* p) {
    XMLNode* const node = current_;
    node->clearAttrs();
    for (;;) {
        p = skipWs(p, end_);
        if (p >= end_ || *p == '/' || *p == '<' || *p == '>') return p;
        const char* const name = p;
        while (p < end_ && !isWhiteSpace(*p) && *p != '=') ++p;
        const istr attrName(name, static_cast<size_t>(p - name));
        p = skipWs(p, end_);
        if (*p != '=') fail(kNoEquals, kRecordPositions.noEquals);
        p = skipWs(p + 1, end_);
        const char* const open = findChar(p, end_, '"');
        if (open == end_) fail(kNoQuote, kRecordPositions.noBeginQuote);
        const char* const close = findChar(open + 1, end_, '"');
        if (close == end_) fail(kNoQuote, kRecordPositions.noEndQuote);
        XMLAttr a(attrName, istr(), node);
        appendDecoded(a.value_, open + 1, close);
        const XMLAttr* stored = node->insertAttr(std::move(a));
        if (callback_ != nullptr) callback_->onAttribute(*this, *stored);
        p = close + 1;
    }
}

bool XMLParser::tagEnd(const char* e, bool endTag) {
    const char* const past = *e == '>' ? e + 1 : e;
    if (e[-1] != '/') {
        cursor_ = past;
        if (!endTag) return cursor_ < end_;
        // End tags close the current element whatever name they carry.
        if (callback_ != nullptr) callback_->onNodeEnd(*this, current_);
        if (current_ == nullptr) return false;
        current_ = current_->parent_;
        return current_ != nullptr;
    }
    if (callback_ != nullptr) callback_->onNodeEnd(*this, current_);
    cursor_ = past;
    if (current_ != nullptr) current_ = current_->parent_;
    return true;
}

bool XMLParser::readText(bool decode) {
    const char* const lt = findChar(tokenStart_, end_, '<');
    if (current_ != nullptr) {
        if (decode) {
            appendDecoded(current_->cdata_, tokenStart_, lt);
            if (callback_ != nullptr) callback_->onText(*this, current_);
        } else {
            current_->cdata_.append(tokenStart_, static_cast<size_t>(lt - tokenStart_));
        }
    }
    cursor_ = lt;
    return cursor_ < end_;
}

void XMLParser::appendDecoded(String& out, const char* begin, const char* end) {
    const char* p = findChar(begin, end, '&');
    const char* copied = begin;
    const char* pending = nullptr;  // the last '&' not directly followed by ';'
    for (; p < end; ++p) {
        if (*p == '&') {
            if (p + 1 == end || p[1] != ';') pending = p;
            continue;
        }
        if (*p != ';' || pending == nullptr) continue;
        out.append(copied, static_cast<size_t>(pending - copied));
        const char* n = skipWs(pending + 1, p);
        const char* nEnd = n;
        while (nEnd < p && !isWhiteSpace(*nEnd)) ++nEnd;
        const std::string_view name(n, static_cast<size_t>(nEnd - n));
        if (!name.empty() && name[0] == '#') {
            appendCharRef(out, name);
        } else {
            out += namedEntity(name);
        }
        copied = p + 1;
        pending = nullptr;
    }
    out.append(copied, static_cast<size_t>(end - copied));
}

std::ostream& operator<<(std::ostream& os, const XMLParser& p) {
    if (p.rootNode() != nullptr) os << p.rootNode()->str(true, 0);
    return os;
}

}  // namespace xml
}  // namespace zul
