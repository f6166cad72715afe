// The writing XML object stream: the text form of every value type.
#include <zul/base/base64.h>
#include <zul/base/base_type_time.h>
#include <zul/util/util_func.h>
#include <zul/xml/XMLOutStream.h>

namespace zul {
namespace xml {

namespace {

const char kTypeAttr[] = "__type__";
const char kUtf8Type[] = "utf8";
const char kBase64Type[] = "base64";
const char kRootName[] = "root";

}  // namespace

XMLOutStream::XMLOutStream() : XMLStreamBase(false, true, new XMLNode(istr(kRootName))) {}

XMLOutStream::XMLOutStream(const istr& name) : XMLStreamBase(false, true, new XMLNode(name)) {}

XMLOutStream::XMLOutStream(const istr& name, XMLOutStream& parent)
    : XMLStreamBase(childOf(parent, name)) {}

XMLOutStream::XMLOutStream(XMLNode& node) : XMLStreamBase(&node, out_t()) {}

XMLOutStream& XMLOutStream::operator+=(const XMLOutStream& o) {
    if (!inputting_) node()->append(o.XMLStreamBase::node());
    return *this;
}

void XMLOutStream::type(const istr& t) {
    if (!inputting_) node()->attr(istr(kTypeAttr)).value(t);
}

XMLAttr& XMLOutStream::attr(const istr& name) {
    if (!inputting_) return node()->attr(name);
    // A reading stream hands out a private copy of the attribute (empty when it is absent).
    XMLAttr& copy = scratch().attr(name);
    const XMLStreamBase& self = *this;
    copy.value(istr(self.node().attr(name).value()));
    return copy;
}

XMLNode& XMLOutStream::child(const istr& name) {
    if (!inputting_) return node()->child(name);
    // A reading stream hands out a private copy of the child (empty when it is absent).
    XMLNode& copy = scratch().child(name);
    const XMLStreamBase& self = *this;
    const XMLNode& read = self.node().child(name);
    if (read.isNull()) {
        copy = XMLNode(name);
    } else {
        copy = read;
    }
    return copy;
}

template <class T>
XMLOutStream& XMLOutStream::number(const T& v) {
    String text;
    text += v;
    cdata(istr(text));
    return *this;
}

XMLOutStream& XMLOutStream::operator<<(bool v) {
    cdata(istr(v ? "1" : "0", 1));
    return *this;
}
XMLOutStream& XMLOutStream::operator<<(Bit v) {
    return *this << v.value;
}
XMLOutStream& XMLOutStream::operator<<(char v) {
    cdata(istr(&v, 1));
    return *this;
}
XMLOutStream& XMLOutStream::operator<<(unsigned char v) {
    return *this << static_cast<char>(v);
}
XMLOutStream& XMLOutStream::operator<<(short v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(unsigned short v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(int v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(unsigned int v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(long v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(unsigned long v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(long long v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(unsigned long long v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(Short v) {
    return number(v.value);
}
XMLOutStream& XMLOutStream::operator<<(Ushort v) {
    return number(v.value);
}
XMLOutStream& XMLOutStream::operator<<(Long v) {
    return number(v.value);
}
XMLOutStream& XMLOutStream::operator<<(Ulong v) {
    return number(v.value);
}
XMLOutStream& XMLOutStream::operator<<(Longlong v) {
    return number(v.value);
}
XMLOutStream& XMLOutStream::operator<<(Byte v) {
    return number(static_cast<unsigned short>(v.value));
}
XMLOutStream& XMLOutStream::operator<<(float v) {
    return number(v);
}
XMLOutStream& XMLOutStream::operator<<(double v) {
    return number(v);
}

XMLOutStream& XMLOutStream::operator<<(const istr& v) {
    cdata(v);
    return *this;
}
XMLOutStream& XMLOutStream::operator<<(const char* v) {
    return *this << istr(v);
}
XMLOutStream& XMLOutStream::operator<<(const unsigned char* v) {
    return *this << istr(v);
}
XMLOutStream& XMLOutStream::operator<<(const std::string& v) {
    return *this << istr(v);
}
XMLOutStream& XMLOutStream::operator<<(const String& v) {
    return *this << istr(v);
}

XMLOutStream& XMLOutStream::operator<<(Wchar v) {
    const unsigned int code = static_cast<unsigned int>(v.value);
    const char text[6] = {'\\',
                          'u',
                          HexToChar(static_cast<unsigned char>((code >> 12) & 0xF)),
                          HexToChar(static_cast<unsigned char>((code >> 8) & 0xF)),
                          HexToChar(static_cast<unsigned char>((code >> 4) & 0xF)),
                          HexToChar(static_cast<unsigned char>(code & 0xF))};
    cdata(istr(text, sizeof text));
    return *this;
}

XMLOutStream& XMLOutStream::operator<<(const iwstr& v) {
    Bytes utf8;
    wstringToUtf8(v, utf8);
    String text;
    Base64::encode(istr(utf8), text);
    cdata(istr(text));
    type(istr(kUtf8Type));
    return *this;
}
XMLOutStream& XMLOutStream::operator<<(const wchar_t* v) {
    return *this << iwstr(v);
}
XMLOutStream& XMLOutStream::operator<<(const std::wstring& v) {
    return *this << iwstr(v);
}

XMLOutStream& XMLOutStream::operator<<(const Bytes& v) {
    String text;
    Base64::encode(istr(v), text);
    cdata(istr(text));
    type(istr(kBase64Type));
    return *this;
}

XMLOutStream& XMLOutStream::operator<<(const Time& v) {
    cdata(istr(v.toFullDateTime()));
    return *this;
}

}  // namespace xml
}  // namespace zul
