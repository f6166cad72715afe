// zul::xml::XMLInStream, the reading object stream: parses a document or stands for an
// element of one, and reads each value back from the element's character data.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>
#include <zul/xml/XMLStreamBase.h>

#include <iosfwd>
#include <string>

namespace zul {

class Time;

namespace xml {

/// Reads values from an element. A missing element reads as empty text; reading never
/// throws for bad text. Plain targets are left as the text-to-value rule leaves them (an
/// empty text leaves them alone); volatile and wrapper targets always receive a value (0
/// for an empty text). Text written by XMLOutStream and read back without printing and
/// parsing in between is returned as stored, that is escaped.
class ZUL_API XMLInStream : virtual public XMLStreamBase {
  public:
    /// No element.
    XMLInStream();
    /// Parses `text` and owns its root. A syntax error writes one error record and leaves
    /// the stream without an element; other exceptions propagate.
    explicit XMLInStream(const istr& text);
    /// The same for the rest of a file stream.
    explicit XMLInStream(std::ifstream& in);
    /// Stands for the parent's child `name`, or XMLNode::null() when there is none; not owned:
    /// valid while the parent's element lives.
    XMLInStream(const istr& name, const XMLInStream& parent);
    /// Stands for `node`, not owned: valid while `node` lives.
    explicit XMLInStream(const XMLNode& node);

    /// The stream of the child `name` (XMLNode::null() when missing).
    XMLInStream operator[](const istr& name) const { return XMLInStream(name, *this); }
    /// The value of the attribute "__type__", or "" when absent.
    const String& type() const;

    ///@{

    /// The element's attribute, or XMLAttr::null().
    const XMLAttr& attr(const istr& name) const;
    const XMLAttr& operator()(const istr& name) const { return attr(name); }
    ///@}

    /// The element's child, or XMLNode::null().
    const XMLNode& child(const istr& name) const;

    /// Only "1" and "0" read as values.
    const XMLInStream& operator>>(bool& v) const;
    /// As for bool, into a temporary that starts at false: `v` always receives a value.
    const XMLInStream& operator>>(Bit& v) const;

    ///@{

    /// The first character that is not white space; an empty or blank text leaves `v` alone.
    const XMLInStream& operator>>(char& v) const;
    const XMLInStream& operator>>(unsigned char& v) const;
    ///@}

    ///@{

    /// By the text-to-value rule of zul::String (leading white space skipped, decimal, trailing
    /// text ignored): an empty text leaves `v` alone, bad text leaves what the rule stores.
    const XMLInStream& operator>>(short& v) const;
    const XMLInStream& operator>>(unsigned short& v) const;
    const XMLInStream& operator>>(int& v) const;
    const XMLInStream& operator>>(unsigned int& v) const;
    const XMLInStream& operator>>(long& v) const;
    const XMLInStream& operator>>(unsigned long& v) const;
    const XMLInStream& operator>>(long long& v) const;
    const XMLInStream& operator>>(unsigned long long& v) const;
    const XMLInStream& operator>>(float& v) const;
    const XMLInStream& operator>>(double& v) const;
    ///@}

    ///@{

    /// As for the plain type, into a temporary that starts at 0 and is then stored: `v`
    /// always receives a value (0 for an empty text).
    const XMLInStream& operator>>(volatile bool& v) const;
    const XMLInStream& operator>>(volatile char& v) const;
    const XMLInStream& operator>>(volatile unsigned char& v) const;
    const XMLInStream& operator>>(volatile short& v) const;
    const XMLInStream& operator>>(volatile unsigned short& v) const;
    const XMLInStream& operator>>(volatile int& v) const;
    const XMLInStream& operator>>(volatile unsigned int& v) const;
    const XMLInStream& operator>>(volatile long& v) const;
    const XMLInStream& operator>>(volatile unsigned long& v) const;
    const XMLInStream& operator>>(volatile long long& v) const;
    const XMLInStream& operator>>(volatile unsigned long long& v) const;
    const XMLInStream& operator>>(volatile float& v) const;
    const XMLInStream& operator>>(volatile double& v) const;
    const XMLInStream& operator>>(Short& v) const;
    const XMLInStream& operator>>(Ushort& v) const;
    const XMLInStream& operator>>(Long& v) const;
    const XMLInStream& operator>>(Ulong& v) const;
    const XMLInStream& operator>>(Longlong& v) const;
    ///@}

    /// Read as unsigned short, then its low 8 bits (0 for an empty text).
    const XMLInStream& operator>>(Byte& v) const;
    /// Exactly "\u" and four hexadecimal digits of either case; anything else gives 0.
    const XMLInStream& operator>>(Wchar& v) const;

    ///@{

    /// The whole text, as stored.
    const XMLInStream& operator>>(String& v) const;
    const XMLInStream& operator>>(std::string& v) const;
    ///@}

    /// Base64-decoded, then UTF-8 to wide; text that is not UTF-8 gives "".
    const XMLInStream& operator>>(std::wstring& v) const;
    /// Base64-decoded (characters outside the alphabet skipped); an empty text gives no bytes.
    const XMLInStream& operator>>(Bytes& v) const;
    /// The full date-time text; a text that does not parse leaves `v` unchanged.
    const XMLInStream& operator>>(Time& v) const;

  protected:
    /// Parses `text` (nothing read from a null `in`) and returns the root for the caller to
    /// own, or null after writing the error record of a syntax error.
    static XMLNode* parseDocument(const istr& text, std::ifstream* in);
    /// For XMLStream, which sets up the shared base itself: leaves the base untouched.
    explicit XMLInStream(BaseSetUp) {}

  private:
    template <class T>
    const XMLInStream& readInto(T& v) const;
    template <class T, class V>
    const XMLInStream& readZeroed(V& v) const;
};

}  // namespace xml
}  // namespace zul
