// Typed access to a value-tree node: scalars, wide text and bytes to and from the node's text.
#include <zul/base/base64.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_wstring.h>
#include <zul/pml/ntv_stringvalue.h>
#include <zul/pml/ntv_unit.h>
#include <zul/util/util_func.h>

namespace zul {
namespace pml {
namespace ntv {

namespace {

char const kUtf8Type[] = "utf8";
char const kBase64Type[] = "base64";

/// The text form of `v` by the library's value-to-text rule.
template <class T>
void storeNumber(Unit& u, const T& v) {
    String s;
    s += v;
    u.setValue(istr(s));
}

/// Reads the node's text into `v` by the library's text-to-value rule; `v` is untouched
/// unless that succeeds.
template <class T>
bool readNumber(const Unit& u, T& v) {
    const StringValue* sv = u.stringValue();
    if (sv == nullptr) return false;
    T tmp{};
    if (!zul::operator>>(sv->data(), tmp)) return false;
    v = tmp;
    return true;
}

/// The same for a volatile target: read into a plain temporary, copy on success.
template <class T>
bool readVolatile(const Unit& u, volatile T& v) {
    T tmp{};
    if (!u.operator>>(tmp)) return false;
    v = tmp;
    return true;
}

}  // namespace

// ---- insertion ----

void Unit::operator<<(bool v) {
    setValue(istr(v ? "1" : "0", 1));
}
void Unit::operator<<(Bit v) {
    *this << v.value;
}
void Unit::operator<<(char v) {
    setValue(istr(&v, 1));
}
void Unit::operator<<(unsigned char v) {
    *this << static_cast<char>(v);
}
void Unit::operator<<(short v) {
    storeNumber(*this, v);
}
void Unit::operator<<(unsigned short v) {
    storeNumber(*this, v);
}
void Unit::operator<<(int v) {
    storeNumber(*this, v);
}
void Unit::operator<<(unsigned int v) {
    storeNumber(*this, v);
}
void Unit::operator<<(long v) {
    storeNumber(*this, v);
}
void Unit::operator<<(unsigned long v) {
    storeNumber(*this, v);
}
void Unit::operator<<(long long v) {
    storeNumber(*this, v);
}
void Unit::operator<<(unsigned long long v) {
    storeNumber(*this, v);
}
void Unit::operator<<(Short v) {
    storeNumber(*this, v);
}
void Unit::operator<<(Ushort v) {
    storeNumber(*this, v);
}
void Unit::operator<<(Long v) {
    storeNumber(*this, v);
}
void Unit::operator<<(Ulong v) {
    storeNumber(*this, v);
}
void Unit::operator<<(Longlong v) {
    storeNumber(*this, v);
}
void Unit::operator<<(Byte v) {
    storeNumber(*this, static_cast<unsigned short>(v.value));
}
void Unit::operator<<(float v) {
    storeNumber(*this, v);
}
void Unit::operator<<(double v) {
    storeNumber(*this, v);
}

void Unit::operator<<(Wchar v) {
    const unsigned int code = static_cast<unsigned int>(v.value);
    const char text[6] = {'\\',
                          'u',
                          zul::HexToChar(static_cast<unsigned char>(code >> 12)),
                          zul::HexToChar(static_cast<unsigned char>(code >> 8)),
                          zul::HexToChar(static_cast<unsigned char>(code >> 4)),
                          zul::HexToChar(static_cast<unsigned char>(code))};
    setValue(istr(text, sizeof text));
}

void Unit::operator<<(istr v) {
    setValue(v);
}
void Unit::operator<<(const char* v) {
    setValue(istr(v));
}
void Unit::operator<<(const unsigned char* v) {
    setValue(istr(v));
}
void Unit::operator<<(const std::string& v) {
    setValue(istr(v));
}
void Unit::operator<<(const String& v) {
    setValue(istr(v));
}

void Unit::operator<<(iwstr v) {
    Bytes utf8;
    zul::wstringToUtf8(v, utf8);
    String text;
    Base64::encode(istr(utf8), text);
    setValue(istr(text));
    type(istr(kUtf8Type));
}

void Unit::operator<<(const wchar_t* v) {
    *this << iwstr(v);
}
void Unit::operator<<(const std::wstring& v) {
    *this << iwstr(v);
}

void Unit::operator<<(const Bytes& v) {
    type(istr(kBase64Type));
    String text;
    Base64::encode(istr(v), text);
    setValue(istr(text));
}

// ---- extraction ----

bool Unit::operator>>(bool& v) const {
    const StringValue* sv = stringValue();
    if (sv == nullptr) return false;
    if (sv->data() == "true") {
        v = true;
        return true;
    }
    if (sv->data() == "false") {
        v = false;
        return true;
    }
    return readNumber(*this, v);
}

bool Unit::operator>>(Bit& v) const {
    return *this >> v.value;
}
bool Unit::operator>>(char& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(unsigned char& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(short& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(unsigned short& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(int& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(unsigned int& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(long& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(unsigned long& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(long long& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(unsigned long long& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(float& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(double& v) const {
    return readNumber(*this, v);
}
bool Unit::operator>>(Short& v) const {
    return readNumber(*this, v.value);
}
bool Unit::operator>>(Ushort& v) const {
    return readNumber(*this, v.value);
}
bool Unit::operator>>(Long& v) const {
    return readNumber(*this, v.value);
}
bool Unit::operator>>(Ulong& v) const {
    return readNumber(*this, v.value);
}
bool Unit::operator>>(Longlong& v) const {
    return readNumber(*this, v.value);
}

bool Unit::operator>>(Byte& v) const {
    unsigned short wide = 0;
    if (!readNumber(*this, wide)) return false;
    v.value = static_cast<unsigned char>(wide & 0xFF);
    return true;
}

bool Unit::operator>>(volatile bool& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile char& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile unsigned char& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile short& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile unsigned short& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile int& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile unsigned int& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile long& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile unsigned long& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile long long& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile unsigned long long& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile float& v) const {
    return readVolatile(*this, v);
}
bool Unit::operator>>(volatile double& v) const {
    return readVolatile(*this, v);
}

bool Unit::operator>>(Wchar& v) const {
    v.value = 0;
    const StringValue* sv = stringValue();
    if (sv == nullptr) return false;
    const String& t = sv->data();
    if (t.size() != 6 || t[0] != '\\' || t[1] != 'u') return false;
    unsigned int code = 0;
    for (size_t i = 2; i < 6; ++i) {
        const unsigned char digit = zul::HexFromChar(t[i]);
        if (digit > 15) return false;
        code = (code << 4) | digit;
    }
    v.value = static_cast<wchar_t>(code);
    return true;
}

bool Unit::operator>>(String& v) const {
    const StringValue* sv = stringValue();
    if (sv == nullptr) return false;
    v = sv->data();
    return true;
}

bool Unit::operator>>(std::wstring& v) const {
    v.clear();
    const StringValue* sv = stringValue();
    if (sv == nullptr) return false;
    if (type_ == kUtf8Type) {
        Bytes utf8;
        Base64::decode(istr(sv->data()), utf8);
        zul::utf8ToWstring(istr(utf8), v);
    } else {
        zul::ansiToWstring(istr(sv->data()), v);
    }
    return true;
}

bool Unit::operator>>(Bytes& v) const {
    const StringValue* sv = stringValue();
    if (sv == nullptr) return false;
    Base64::decode(istr(sv->data()), v);
    return true;
}

}  // namespace ntv
}  // namespace pml
}  // namespace zul
