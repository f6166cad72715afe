// zul::xml::XMLOutStream, the writing object stream: each value goes into the element's
// character data as text, wide text and bytes as Base64 marked by "__type__".
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/xml/XMLStreamBase.h>

#include <string>

namespace zul {

class Time;

namespace xml {

/// Writes values into an element. Each operator<< replaces the character data (a second
/// one overwrites the first) and returns the stream; texts are stored with '<', '>' and '&'
/// escaped, read up to their first NUL. On a stream in reading mode (an XMLStream made for
/// reading) the character data stays as it is; operator[], type, attr and child, and the
/// "__type__" of wide text and bytes, are meant for writing streams only.
class ZUL_API XMLOutStream : virtual public XMLStreamBase {
  public:
    /// Owns a new element "root".
    XMLOutStream();
    /// Owns a new element `name`.
    explicit XMLOutStream(const istr& name);
    /// Stands for the child `name` of the parent's element (created when missing), not owned:
    /// valid while that element lives. A reading parent is not changed: the stream then owns
    /// a detached element `name`.
    XMLOutStream(const istr& name, XMLOutStream& parent);
    /// Stands for `node`, not owned: valid while `node` lives.
    explicit XMLOutStream(XMLNode& node);

    /// The stream of the child `name` (created when missing).
    XMLOutStream operator[](const istr& name) { return XMLOutStream(name, *this); }
    /// Appends a deep copy of `o`'s element (an empty one when `o` has none) as a child.
    /// Nothing on a reading stream.
    XMLOutStream& operator+=(const XMLOutStream& o);
    /// Sets the attribute "__type__" to `t`; nothing on a reading stream.
    void type(const istr& t);

    ///@{

    /// The element's attribute, created with an empty value when missing. On a reading stream
    /// (an XMLStream that reads) a private copy, empty when absent: the element read is never
    /// changed through it; look up on a constant stream to tell a missing attribute.
    XMLAttr& attr(const istr& name);
    XMLAttr& operator()(const istr& name) { return attr(name); }
    ///@}

    /// The element's child, created when missing. On a reading stream a private copy of the
    /// child (an empty element `name` when absent), as for attr().
    XMLNode& child(const istr& name);

    ///@{

    /// "1" or "0".
    XMLOutStream& operator<<(bool v);
    XMLOutStream& operator<<(Bit v);
    ///@}

    ///@{

    /// The byte itself, escaped; a NUL byte leaves the character data empty.
    XMLOutStream& operator<<(char v);
    XMLOutStream& operator<<(unsigned char v);
    ///@}

    ///@{

    /// Decimal.
    XMLOutStream& operator<<(short v);
    XMLOutStream& operator<<(unsigned short v);
    XMLOutStream& operator<<(int v);
    XMLOutStream& operator<<(unsigned int v);
    XMLOutStream& operator<<(long v);
    XMLOutStream& operator<<(unsigned long v);
    XMLOutStream& operator<<(long long v);
    XMLOutStream& operator<<(unsigned long long v);
    XMLOutStream& operator<<(Short v);
    XMLOutStream& operator<<(Ushort v);
    XMLOutStream& operator<<(Long v);
    XMLOutStream& operator<<(Ulong v);
    XMLOutStream& operator<<(Longlong v);
    ///@}

    /// The byte's numeric value in decimal.
    XMLOutStream& operator<<(Byte v);

    ///@{

    /// General notation, 6 significant digits.
    XMLOutStream& operator<<(float v);
    XMLOutStream& operator<<(double v);
    ///@}

    ///@{

    /// The text, escaped and read up to its first NUL; a null pointer gives "".
    XMLOutStream& operator<<(const istr& v);
    XMLOutStream& operator<<(const char* v);
    XMLOutStream& operator<<(const unsigned char* v);
    XMLOutStream& operator<<(const std::string& v);
    XMLOutStream& operator<<(const String& v);
    ///@}

    /// "\u" and four upper-case hexadecimal digits of the low 16 bits.
    XMLOutStream& operator<<(Wchar v);

    ///@{

    /// Base64 of the UTF-8 form (lines of 76 characters joined by "\r\n"); "__type__" becomes
    /// "utf8". A null pointer gives "".
    XMLOutStream& operator<<(const iwstr& v);
    XMLOutStream& operator<<(const wchar_t* v);
    XMLOutStream& operator<<(const std::wstring& v);
    ///@}

    /// Base64 of the bytes (lines as for wide text); "__type__" becomes "base64".
    XMLOutStream& operator<<(const Bytes& v);
    /// The full date-time text.
    XMLOutStream& operator<<(const Time& v);

  protected:
    /// For XMLStream, which sets up the shared base itself: leaves the base untouched.
    explicit XMLOutStream(BaseSetUp) {}

  private:
    template <class T>
    XMLOutStream& number(const T& v);
};

}  // namespace xml
}  // namespace zul
