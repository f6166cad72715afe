// zul::dumper: layout of objects and fields, the value writers and the quoted text form.
#include <zul/base/alloc.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_time.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/exception.h>
#include <zul/base/raise.h>
#include <zul/log/log_dumper.h>
#include <zul/util/util_func.h>

#include <ostream>
#include <sstream>
#include <string>

namespace zul {
namespace {

// A quoted text shows at most this many bytes, then how long it really was.
constexpr size_t kQuotedLimit = 256;

constexpr char kHexDigits[] = "0123456789ABCDEF";

std::ostream* makeOwnedStream() {
    std::ostringstream* os = allocate_no_mlc<std::ostringstream>(__FILE__, __LINE__, "dumper");
    return allocate_push_maybe(os, __FILE__, __LINE__, "dumper");
}

void writeText(std::ostream& os, istr const& s) {
    if (s.data != nullptr && s.size != 0) os.write(s.data, static_cast<std::streamsize>(s.size));
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Config

dumper::Config::Config()
    : compact_(false),
      lineSeparator_("\n"),
      indentSeparator_("    "),
      level_(0),
      eolSeparator_(""),
      beginTag_("{"),
      endTag_("}"),
      typeTag_(":"),
      nvSeparator_(" = "),
      valueSeparator_(", ") {}

dumper::Config::Config(bool compact, istr const& lineSeparator, istr const& indentSeparator,
                       unsigned int level, istr const& eolSeparator, istr const& beginTag,
                       istr const& endTag, istr const& typeTag, istr const& nvSeparator,
                       istr const& valueSeparator)
    : compact_(compact),
      lineSeparator_(lineSeparator),
      indentSeparator_(indentSeparator),
      level_(level),
      eolSeparator_(eolSeparator),
      beginTag_(beginTag),
      endTag_(endTag),
      typeTag_(typeTag),
      nvSeparator_(nvSeparator),
      valueSeparator_(valueSeparator) {}

void dumper::Config::dump(dumper& d) const {
    _Entry e(d, "zul::dumper::Config");
    d << zul::indent << namestring("compact_") << compact_ << zul::endline;
    d << zul::indent << namestring("lineSeparator_") << lineSeparator_ << zul::endline;
    d << zul::indent << namestring("indentSeparator_") << indentSeparator_ << zul::endline;
    d << zul::indent << namestring("level_") << level_ << zul::endline;
    d << zul::indent << namestring("eolSeparator_") << eolSeparator_ << zul::endline;
    d << zul::indent << namestring("beginTag_") << beginTag_ << zul::endline;
    d << zul::indent << namestring("endTag_") << endTag_ << zul::endline;
    d << zul::indent << namestring("typeTag_") << typeTag_ << zul::endline;
    d << zul::indent << namestring("nvSeparator_") << nvSeparator_ << zul::endline;
    d << zul::indent << namestring("valueSeparator_") << valueSeparator_ << zul::endline;
}

// ---------------------------------------------------------------------------------------
// Construction

dumper::dumper(bool compact, istr const& lineSeparator, istr const& indentSeparator,
               unsigned int level, istr const& eolSeparator, istr const& beginTag,
               istr const& endTag, istr const& typeTag, istr const& nvSeparator,
               istr const& valueSeparator)
    : dumper(Config(compact, lineSeparator, indentSeparator, level, eolSeparator, beginTag, endTag,
                    typeTag, nvSeparator, valueSeparator)) {}

dumper::dumper(std::ostream& os, bool compact, istr const& lineSeparator,
               istr const& indentSeparator, unsigned int level, istr const& eolSeparator,
               istr const& beginTag, istr const& endTag, istr const& typeTag,
               istr const& nvSeparator, istr const& valueSeparator)
    : dumper(os, Config(compact, lineSeparator, indentSeparator, level, eolSeparator, beginTag,
                        endTag, typeTag, nvSeparator, valueSeparator)) {}

dumper::dumper(Config const& cfg)
    : os_(makeOwnedStream()), owned_(true), first_(true), savedFirst_(true), cfg_(cfg) {}

dumper::dumper(std::ostream& os, Config const& cfg)
    : os_(&os), owned_(false), first_(true), savedFirst_(true), cfg_(cfg) {}

dumper::~dumper() {
    if (owned_) {
        destroy_pop_maybe(os_, __FILE__, __LINE__, "~dumper");
        destroy_no_mlc(os_, __FILE__, __LINE__, "~dumper");
    }
}

String dumper::str() const {
    if (!owned_) {
        ZUL_RAISE(UnsupportedFunctionException, "zul::UnsupportedFunctionException",
                  "zul::UnsupportedFunctionException");
    }
    return String(static_cast<std::ostringstream*>(os_)->str());
}

// ---------------------------------------------------------------------------------------
// Structure

void dumper::lineStart_i() {
    writeText(*os_, cfg_.lineSeparator_);
    for (unsigned int i = 0; i < cfg_.level_; ++i) writeText(*os_, cfg_.indentSeparator_);
}

dumper& dumper::enter(char const* name, char const* prefix) {
    if (cfg_.compact_) {
        writeText(*os_, cfg_.beginTag_);
    } else {
        if (name != nullptr && *name != '\0') {
            writeText(*os_, istr(prefix));
            *os_ << name << ' ';
        }
        writeText(*os_, cfg_.beginTag_);
        writeText(*os_, cfg_.eolSeparator_);
        ++cfg_.level_;
    }
    savedFirst_ = first_;
    first_ = true;
    return *this;
}

dumper& dumper::leave() {
    first_ = savedFirst_;
    if (cfg_.compact_) {
        writeText(*os_, cfg_.endTag_);
    } else {
        --cfg_.level_;
        lineStart_i();
        writeText(*os_, cfg_.endTag_);
        writeText(*os_, cfg_.eolSeparator_);
    }
    return *this;
}

dumper& dumper::indent() {
    if (!cfg_.compact_) {
        lineStart_i();
    } else if (!first_) {
        writeText(*os_, cfg_.valueSeparator_);
    } else {
        first_ = false;
    }
    return *this;
}

dumper& dumper::endline() {
    if (!cfg_.compact_) writeText(*os_, cfg_.eolSeparator_);
    return *this;
}

dumper& dumper::nl() {
    *os_ << '\n';
    os_->flush();
    return *this;
}

dumper& dumper::writeName(istr const& name, char const* sep) {
    if (cfg_.compact_ || name.size == 0) return *this;
    writeText(*os_, name);
    if (sep != nullptr) {
        *os_ << sep;
    } else {
        writeText(*os_, cfg_.nvSeparator_);
    }
    return *this;
}

dumper& dumper::raw(istr const& s) {
    writeText(*os_, s);
    return *this;
}

// ---------------------------------------------------------------------------------------
// Value writers

template <class T>
dumper& dumper::put_i(T const& v) {
    *os_ << v;
    return *this;
}

dumper& dumper::operator<<(bool v) {
    return raw(v ? "true" : "false");
}
dumper& dumper::operator<<(char v) {
    *os_ << '\'';
    Print(*os_, v);
    *os_ << '\'';
    return *this;
}
dumper& dumper::operator<<(unsigned char v) {
    return *this << static_cast<char>(v);
}
dumper& dumper::operator<<(short v) {
    return put_i(v);
}
dumper& dumper::operator<<(unsigned short v) {
    return put_i(v);
}
dumper& dumper::operator<<(int v) {
    return put_i(v);
}
dumper& dumper::operator<<(unsigned int v) {
    return put_i(v);
}
dumper& dumper::operator<<(long v) {
    return put_i(v);
}
dumper& dumper::operator<<(unsigned long v) {
    return put_i(v);
}
dumper& dumper::operator<<(long long v) {
    return put_i(v);
}
dumper& dumper::operator<<(unsigned long long v) {
    return put_i(v);
}
dumper& dumper::operator<<(float v) {
    return put_i(v);
}
dumper& dumper::operator<<(double v) {
    return put_i(v);
}
dumper& dumper::operator<<(void const* v) {
    return put_i(v);
}

dumper& dumper::operator<<(Bytes const& v) {
    return __write(istr(reinterpret_cast<char const*>(v.data()), v.size()));
}

dumper& dumper::operator<<(iwstr const& v) {
    if (v.data == nullptr || v.size == 0) return *this;
    *os_ << '"' << v << '"';
    return *this;
}
dumper& dumper::operator<<(wchar_t const* v) {
    return *this << iwstr(v);
}
dumper& dumper::operator<<(std::wstring const& v) {
    return *this << iwstr(v);
}

dumper& dumper::operator<<(Time const& v) {
    return __write(v.toDateTime());
}

dumper& dumper::write(bool v) {
    return put_i(v);
}
dumper& dumper::write(char v) {
    return put_i(v);
}
dumper& dumper::write(unsigned char v) {
    return put_i(v);
}
dumper& dumper::write(short v) {
    return put_i(v);
}
dumper& dumper::write(unsigned short v) {
    return put_i(v);
}
dumper& dumper::write(int v) {
    return put_i(v);
}
dumper& dumper::write(unsigned int v) {
    return put_i(v);
}
dumper& dumper::write(long v) {
    return put_i(v);
}
dumper& dumper::write(unsigned long v) {
    return put_i(v);
}
dumper& dumper::write(long long v) {
    return put_i(v);
}
dumper& dumper::write(unsigned long long v) {
    return put_i(v);
}
dumper& dumper::write(float v) {
    return put_i(v);
}
dumper& dumper::write(double v) {
    return put_i(v);
}
dumper& dumper::write(void const* v) {
    return put_i(v);
}

dumper& dumper::write(Bytes const& v) {
    return raw(istr(reinterpret_cast<char const*>(v.data()), v.size()));
}

dumper& dumper::write(iwstr const& v) {
    return raw(toAnsi(wstr(v)));
}
dumper& dumper::write(wchar_t const* v) {
    return write(iwstr(v));
}
dumper& dumper::write(std::wstring const& v) {
    return write(iwstr(v));
}

dumper& dumper::write(Time const& v) {
    return raw(v.toDateTime());
}

dumper& dumper::__write(istr const& s) {
    if (s.data == nullptr || s.size == 0) return *this;
    std::ostream& os = *os_;
    os << '"';
    size_t const shown = s.size < kQuotedLimit ? s.size : kQuotedLimit;
    bool inRun = false;
    for (size_t i = 0; i < shown; ++i) {
        char const c = s.data[i];
        if (c == '\n') {
            // A line break inside the text keeps the layout's indentation; an open
            // hexadecimal run carries on across it.
            lineStart_i();
        } else if (CharIsPrint(c)) {
            if (inRun) {
                os << '}';
                inRun = false;
            }
            os << c;
        } else {
            if (!inRun) {
                os << "\\x{";
                inRun = true;
            }
            unsigned char const b = static_cast<unsigned char>(c);
            os << kHexDigits[b >> 4] << kHexDigits[b & 15];
        }
    }
    if (inRun) os << '}';
    if (s.size > kQuotedLimit) os << "<omit data up to " << s.size << '>';
    os << '"';
    return *this;
}

void dumper::dump(dumper& d) const {
    String const text = str();
    _Entry e(d, "zul::dumper");
    d << zul::indent << namestring("str()") << text << zul::endline;
    d << zul::indent << namestring("owned_") << owned_ << zul::endline;
    d << zul::indent << namestring("first_") << first_ << zul::endline;
    d << zul::indent << namestring("savedFirst_") << savedFirst_ << zul::endline;
    d << zul::indent << namestring("cfg_") << cfg_ << zul::endline;
}

dumper& indent(dumper& d) {
    return d.indent();
}
dumper& endline(dumper& d) {
    return d.endline();
}
dumper& nl(dumper& d) {
    return d.nl();
}

}  // namespace zul
