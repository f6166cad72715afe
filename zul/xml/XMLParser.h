// zul::xml::XMLParser, the forgiving single-pass reader that builds an XMLNode tree from XML
// text, and zul::xml::XMLParserCallback, the interface told about each piece as it is read.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/exception.h>
#include <zul/xml/XMLNode.h>

#include <iosfwd>

namespace zul {
namespace xml {

class XMLParser;

/// Told about every element start and end, text and attribute while a parser reads. The
/// node pointers belong to the parser's tree (an earlier top-level tree is deleted when a
/// later one starts); a callback must not parse, release or clear through `parser`.
class ZUL_API XMLParserCallback {
  public:
    /// Defined in the library; a callback is not owned by the parser it is given to.
    virtual ~XMLParserCallback();
    /// An element's name is known; its attributes are not read yet.
    virtual void onNodeStart(XMLParser& parser, XMLNode* node) = 0;
    /// An end tag or the end of a self-closing tag; `node` is null for an end tag met
    /// outside every element.
    virtual void onNodeEnd(XMLParser& parser, XMLNode* node) = 0;
    /// Text or a CDATA section was appended to `node`'s character data (text that starts with
    /// a stray ']' is appended raw and not reported).
    virtual void onText(XMLParser& parser, XMLNode* node) = 0;
    /// An attribute was added to the current node.
    virtual void onAttribute(XMLParser& parser, const XMLAttr& attr) = 0;
};

/// Reads configuration-style XML into an XMLNode tree: processing instructions, comments, a
/// document type declaration (its internal subset skipped), CDATA sections, double-quoted
/// attributes, the five predefined entities and numeric character references. It neither
/// validates nor matches end tags against start tags, and stops at the root's end tag.
///
/// Syntax errors throw XMLRuntimeException; the tree built so far stays with the parser.
/// When a top-level element follows a finished one, the later element becomes the root and
/// the earlier tree is deleted at once. Nesting depth is not limited: the tree, its text
/// form and its destruction use no recursion (the formatted text of a deep tree grows with
/// the square of its depth, four blanks a level). One thread at a time.
class ZUL_API XMLParser {
  public:
    /// An empty parser.
    XMLParser();
    /// Constructs, then parse(text).
    explicit XMLParser(const istr& text);
    /// Constructs, then parse(in).
    explicit XMLParser(std::ifstream& in);

    ///@{

    /// Not copyable: a parser owns its tree.
    XMLParser(const XMLParser&) = delete;
    XMLParser& operator=(const XMLParser&) = delete;
    ///@}

    /// Deletes the root unless it was released.
    virtual ~XMLParser();

    /// Starts a new document: deletes the previous root (unless released), copies `text` and
    /// reads it to the root's end tag or the end of the text. Throws XMLRuntimeException.
    void parse(const istr& text);
    /// Collects the stream's remaining lines, each followed by "\n" (a file ending in a
    /// newline thus yields one extra "\n"), then parse()s them. A stream that cannot be read
    /// gives an empty document. Throws XMLRuntimeException.
    void parse(std::ifstream& in);
    /// Reads one token; false when parsing is over. Throws XMLRuntimeException on a syntax
    /// error.
    bool nextNode();

    /// The root, or null before any element.
    XMLNode* rootNode() const { return root_; }
    /// Hands the root over to the caller (null when there is none) and forgets it.
    XMLNode* release();
    /// Deletes the root.
    void clearNodes();
    /// The offset in the text of the token read last: after a syntax error, where the
    /// faulty token starts. 0 before any parse.
    size_t offset() const { return tokenStart_ == nullptr ? 0 : size_t(tokenStart_ - begin_); }
    /// `cb` is not owned and may be null.
    void setCallback(XMLParserCallback* cb) { callback_ = cb; }

    /// The first position in `s` that is not white space (tab, line feed, carriage return,
    /// space), or the view's end.
    static const char* skipWhitespace(const istr& s);
    /// The first position in `s` that is white space, or the view's end.
    static const char* skipTillWhitespace(const istr& s);
    /// True for tab, line feed, carriage return and space.
    static bool isWhiteSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }
    /// Entity declarations are not recorded: does nothing.
    void parseEntity(const char* begin, const char* end);

  private:
    void run();
    bool readDeclaration();
    bool readProcessing();
    bool readStartTag();
    bool tagEnd(const char* e, bool endTag);
    const char* readAttributes(const char* p);
    bool readText(bool decode);
    static void appendDecoded(String& out, const char* begin, const char* end);

    String text_;
    size_t size_;
    const char* begin_;
    const char* end_;
    const char* cursor_;
    const char* tokenStart_;
    bool inDtd_;
    XMLNode* current_;
    XMLNode* root_;
    XMLParserCallback* callback_;
};

/// Writes the root's str(true, 0) when there is a root.
ZUL_API std::ostream& operator<<(std::ostream& os, const XMLParser& p);

}  // namespace xml
}  // namespace zul
