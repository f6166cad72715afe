// The reading XML object stream: parsing with a logged failure, and the text-to-value
// reading of every value type.
#include <zul/base/base64.h>
#include <zul/base/base_type_time.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/exception.h>
#include <zul/base/log_seam.h>
#include <zul/base/record_position.h>
#include <zul/platform/bounds_checked.h>
#include <zul/util/util_func.h>
#include <zul/xml/XMLInStream.h>
#include <zul/xml/XMLParser.h>

#include <fstream>
#include <sstream>

namespace zul {
namespace xml {

namespace {

const char kTypeAttr[] = "__type__";
// Where the record of a failed parse says it comes from: fixed by the record format.
constexpr detail::RecordPosition kParseFailed{__FILE__, 48, "parse"};

}  // namespace

XMLNode* XMLInStream::parseDocument(const istr& text, std::ifstream* in) {
    XMLParser parser;
    try {
        if (in != nullptr) {
            parser.parse(*in);
        } else {
            parser.parse(text);
        }
    } catch (const XMLRuntimeException& e) {
        std::ostringstream os;
        os << e;
        detail::writeErrorRecord(kParseFailed.file, kParseFailed.line, kParseFailed.func, os.str(),
                                 "<ERROR>");
        return nullptr;
    }
    return parser.release();
}

XMLInStream::XMLInStream() : XMLStreamBase(true, false, nullptr) {}

XMLInStream::XMLInStream(const istr& text)
    : XMLStreamBase(true, true, parseDocument(text, nullptr)) {}

XMLInStream::XMLInStream(std::ifstream& in)
    : XMLStreamBase(true, true, parseDocument(istr(), &in)) {}

XMLInStream::XMLInStream(const istr& name, const XMLInStream& parent)
    : XMLStreamBase(&parent.child(name), in_t()) {}

XMLInStream::XMLInStream(const XMLNode& node) : XMLStreamBase(&node, in_t()) {}

const String& XMLInStream::type() const {
    return node().attr(istr(kTypeAttr)).value();
}

const XMLAttr& XMLInStream::attr(const istr& name) const {
    return node().attr(name);
}

const XMLNode& XMLInStream::child(const istr& name) const {
    return node().child(name);
}

template <class T>
const XMLInStream& XMLInStream::readInto(T& v) const {
    zul::operator>>(cdata(), v);  // a failure shows only in what the rule left in `v`
    return *this;
}

template <class T, class V>
const XMLInStream& XMLInStream::readZeroed(V& v) const {
    T tmp = 0;
    zul::operator>>(cdata(), tmp);
    v = tmp;
    return *this;
}

const XMLInStream& XMLInStream::operator>>(bool& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(Bit& v) const {
    return readZeroed<bool>(v.value);
}
const XMLInStream& XMLInStream::operator>>(char& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(unsigned char& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(short& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(unsigned short& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(int& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(unsigned int& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(long& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(unsigned long& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(long long& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(unsigned long long& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(float& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(double& v) const {
    return readInto(v);
}
const XMLInStream& XMLInStream::operator>>(volatile bool& v) const {
    return readZeroed<bool>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile char& v) const {
    return readZeroed<char>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile unsigned char& v) const {
    return readZeroed<unsigned char>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile short& v) const {
    return readZeroed<short>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile unsigned short& v) const {
    return readZeroed<unsigned short>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile int& v) const {
    return readZeroed<int>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile unsigned int& v) const {
    return readZeroed<unsigned int>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile long& v) const {
    return readZeroed<long>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile unsigned long& v) const {
    return readZeroed<unsigned long>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile long long& v) const {
    return readZeroed<long long>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile unsigned long long& v) const {
    return readZeroed<unsigned long long>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile float& v) const {
    return readZeroed<float>(v);
}
const XMLInStream& XMLInStream::operator>>(volatile double& v) const {
    return readZeroed<double>(v);
}
const XMLInStream& XMLInStream::operator>>(Short& v) const {
    return readZeroed<short>(v.value);
}
const XMLInStream& XMLInStream::operator>>(Ushort& v) const {
    return readZeroed<unsigned short>(v.value);
}
const XMLInStream& XMLInStream::operator>>(Long& v) const {
    return readZeroed<long>(v.value);
}
const XMLInStream& XMLInStream::operator>>(Ulong& v) const {
    return readZeroed<unsigned long>(v.value);
}
const XMLInStream& XMLInStream::operator>>(Longlong& v) const {
    return readZeroed<long long>(v.value);
}

const XMLInStream& XMLInStream::operator>>(Byte& v) const {
    unsigned short wide = 0;
    zul::operator>>(cdata(), wide);
    v.value = static_cast<unsigned char>(wide & 0xFF);
    return *this;
}

const XMLInStream& XMLInStream::operator>>(Wchar& v) const {
    v.value = 0;
    const String& t = cdata();
    if (t.size() != 6 || t[0] != '\\' || t[1] != 'u') return *this;
    unsigned int code = 0;
    for (size_t i = 2; i < 6; ++i) {
        const unsigned char digit = HexFromChar(t[i]);
        if (digit > 15) return *this;
        code = (code << 4) | digit;
    }
    v.value = static_cast<wchar_t>(code);
    return *this;
}

const XMLInStream& XMLInStream::operator>>(String& v) const {
    v = cdata();
    return *this;
}

const XMLInStream& XMLInStream::operator>>(std::string& v) const {
    v = cdata();
    return *this;
}

const XMLInStream& XMLInStream::operator>>(std::wstring& v) const {
    Bytes utf8;
    Base64::decode(istr(cdata()), utf8);
    v.clear();
    utf8ToWstring(istr(utf8), v);
    return *this;
}

const XMLInStream& XMLInStream::operator>>(Bytes& v) const {
    Base64::decode(istr(cdata()), v);
    return *this;
}

const XMLInStream& XMLInStream::operator>>(Time& v) const {
    // fromString turns any text into some time: only a text that fills every field of the
    // full date-time format is taken, anything else leaves the target as it was.
    int f[8];
    if (sscanf_s(cdata().c_str(), Time::kFullDateTimeFormat, &f[0], &f[1], &f[2], &f[3], &f[4],
                 &f[5], &f[6], &f[7]) != 8)
        return *this;
    try {
        v = Time::fromString(istr(cdata()), Time::kFullDateTimeFormat);
    } catch (const Exception&) {
    }
    return *this;
}

}  // namespace xml
}  // namespace zul
