// zul::dumper: the structured debug writer behind every dump(zul::dumper&), in an indented
// one-field-per-line form or a compact one-line form, and its container forms.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/mt/map.h>

#include <iosfwd>
#include <list>
#include <map>
#include <string>
#include <type_traits>
#include <utility>

namespace zul {

class Bytes;
class Time;
struct iwstr;
template <class T, class Container>
class stack;

class dumper;

namespace detail {

/// True when `T` has a member `dump(zul::dumper&) const`.
template <class T, class = void>
struct has_dumper_dump : std::false_type {};
template <class T>
struct has_dumper_dump<
    T, std::void_t<decltype(std::declval<T const&>().dump(std::declval<dumper&>()))> >
    : std::true_type {};

}  // namespace detail

/// Writes objects as typed, named fields. Indented form: "@Type {", one "name = value" line
/// per field, one level deeper per nested object, "}". Compact form: "{v1, v2, ...}".
/// One thread at a time; a dumper is made for one dump and dropped afterwards.
class ZUL_API dumper {
  public:
    /// Layout settings; the default-constructed value is the standard configuration.
    struct ZUL_API Config {
        bool compact_;            ///< true for the compact one-line form
        String lineSeparator_;    ///< starts every field line, and every newline in quoted text
        String indentSeparator_;  ///< written level_ times after lineSeparator_
        unsigned int level_;      ///< the nesting level; enter() and leave() move it (indented)
        String eolSeparator_;     ///< ends every field line and follows each tag (indented)
        String beginTag_;         ///< opens an object
        String endTag_;           ///< closes an object
        String typeTag_;          ///< carried and dumped; no writer uses it
        String nvSeparator_;      ///< between a field's name and value, unless writeName() gets one
        String valueSeparator_;   ///< between the values of one object (compact)

        /// Indented, "\n", four blanks, level 0, "", "{", "}", ":", " = ", ", ".
        Config();
        /// Every field from the argument of the same name.
        Config(bool compact, istr const& lineSeparator, istr const& indentSeparator,
               unsigned int level, istr const& eolSeparator, istr const& beginTag,
               istr const& endTag, istr const& typeTag, istr const& nvSeparator,
               istr const& valueSeparator);

        /// Writes type "zul::dumper::Config" and the ten fields in order.
        void dump(dumper& d) const;
    };

    /// Opens an object on construction and closes it on destruction, so a dump left by an
    /// exception still closes what it opened.
    class ZUL_API _Entry {
      public:
        /// Opens an object with d.enter(name, prefix); `d` must outlive the guard.
        _Entry(dumper& d, char const* name, char const* prefix = "@") : d_(d) {
            d_.enter(name, prefix);
        }
        /// Closes the object with leave().
        ~_Entry() { d_.leave(); }
        _Entry(_Entry const&) = delete;
        _Entry& operator=(_Entry const&) = delete;

      private:
        dumper& d_;
    };

    /// Writes into a text stream of its own (see str()); defaults give the standard layout.
    explicit dumper(bool compact = false, istr const& lineSeparator = "\n",
                    istr const& indentSeparator = "    ", unsigned int level = 0,
                    istr const& eolSeparator = "", istr const& beginTag = "{",
                    istr const& endTag = "}", istr const& typeTag = ":",
                    istr const& nvSeparator = " = ", istr const& valueSeparator = ", ");
    /// Writes into `os`, which must outlive the dumper.
    explicit dumper(std::ostream& os, bool compact = false, istr const& lineSeparator = "\n",
                    istr const& indentSeparator = "    ", unsigned int level = 0,
                    istr const& eolSeparator = "", istr const& beginTag = "{",
                    istr const& endTag = "}", istr const& typeTag = ":",
                    istr const& nvSeparator = " = ", istr const& valueSeparator = ", ");
    /// Writes into a text stream of its own (see str()) with the layout `cfg`.
    explicit dumper(Config const& cfg);
    /// Writes into `os`, which must outlive the dumper, with the layout `cfg`.
    dumper(std::ostream& os, Config const& cfg);
    /// Releases the stream the dumper owns; a caller's stream is left as it is.
    ~dumper();
    dumper(dumper const&) = delete;
    dumper& operator=(dumper const&) = delete;

    /// A copy of the text written so far. Raises zul::UnsupportedFunctionException
    /// "zul::UnsupportedFunctionException" (recorded first) when the dumper writes to a
    /// caller's stream.
    String str() const;
    /// The stream written to, the dumper's own or the caller's.
    std::ostream& internal_stream() { return *os_; }
    /// The current layout, with the current nesting level.
    Config const& cfg() const { return cfg_; }

    ///@{

    /// Reads or sets the Config field of the same name; a setter takes effect from the next
    /// write on and returns the dumper.
    bool compact() const { return cfg_.compact_; }
    dumper& compact(bool v) {
        cfg_.compact_ = v;
        return *this;
    }
    String const& lineSeparator() const { return cfg_.lineSeparator_; }
    dumper& lineSeparator(istr const& v) { return set_i(cfg_.lineSeparator_, v); }
    String const& indentSeparator() const { return cfg_.indentSeparator_; }
    dumper& indentSeparator(istr const& v) { return set_i(cfg_.indentSeparator_, v); }
    unsigned int level() const { return cfg_.level_; }
    dumper& level(unsigned int v) {
        cfg_.level_ = v;
        return *this;
    }
    String const& eolSeparator() const { return cfg_.eolSeparator_; }
    dumper& eolSeparator(istr const& v) { return set_i(cfg_.eolSeparator_, v); }
    String const& beginTag() const { return cfg_.beginTag_; }
    dumper& beginTag(istr const& v) { return set_i(cfg_.beginTag_, v); }
    String const& endTag() const { return cfg_.endTag_; }
    dumper& endTag(istr const& v) { return set_i(cfg_.endTag_, v); }
    String const& typeTag() const { return cfg_.typeTag_; }
    dumper& typeTag(istr const& v) { return set_i(cfg_.typeTag_, v); }
    String const& nvSeparator() const { return cfg_.nvSeparator_; }
    dumper& nvSeparator(istr const& v) { return set_i(cfg_.nvSeparator_, v); }
    String const& valueSeparator() const { return cfg_.valueSeparator_; }
    dumper& valueSeparator(istr const& v) { return set_i(cfg_.valueSeparator_, v); }
    ///@}

    // Structure.
    /// Opens an object: "prefix name {" indented (prefix and name only for a non-empty
    /// name), "{" compact.
    dumper& enter(char const* name, char const* prefix);
    /// Closes the object opened last.
    dumper& leave();
    /// Starts a field: the line start (indented) or the value separator (compact, not
    /// before the first value of an object).
    dumper& indent();
    /// Ends a field (indented: the end-of-line separator).
    dumper& endline();
    /// Writes a newline and flushes.
    dumper& nl();
    /// Writes `name` and `sep` (the name-value separator when null); nothing when compact
    /// or for an empty name.
    dumper& writeName(istr const& name, char const* sep = nullptr);
    /// Same as writeName().
    dumper& name(istr const& n, char const* sep = nullptr) { return writeName(n, sep); }
    /// Writes `s` unchanged.
    dumper& raw(istr const& s);

    // The formatted writers: texts quoted (see __write), characters in single quotes.
    /// "true" or "false".
    dumper& operator<<(bool v);
    ///@{

    /// The character in single quotes, as zul::Print writes it (control codes by name, other
    /// unprintable codes in octal).
    dumper& operator<<(char v);
    dumper& operator<<(unsigned char v);
    ///@}

    ///@{

    /// The stream's own form of the number or pointer.
    dumper& operator<<(short v);
    dumper& operator<<(unsigned short v);
    dumper& operator<<(int v);
    dumper& operator<<(unsigned int v);
    dumper& operator<<(long v);
    dumper& operator<<(unsigned long v);
    dumper& operator<<(long long v);
    dumper& operator<<(unsigned long long v);
    dumper& operator<<(float v);
    dumper& operator<<(double v);
    dumper& operator<<(void const* v);
    ///@}

    ///@{

    /// The quoted form of the text or bytes (see __write); null or empty writes nothing.
    dumper& operator<<(istr const& v) { return __write(v); }
    dumper& operator<<(char const* v) { return __write(istr(v)); }
    dumper& operator<<(unsigned char const* v) { return __write(istr(v)); }
    dumper& operator<<(String const& v) { return __write(istr(v)); }
    dumper& operator<<(std::string const& v) { return __write(istr(v)); }
    dumper& operator<<(Bytes const& v);
    ///@}

    ///@{

    /// Wide text in double quotes, in UTF-8; nothing at all when null or empty.
    dumper& operator<<(iwstr const& v);
    dumper& operator<<(wchar_t const* v);
    dumper& operator<<(std::wstring const& v);
    ///@}

    /// The date-time text (milliseconds), quoted.
    dumper& operator<<(Time const& v);
    ///@{

    /// Applies the adapter: a rawstring writes its text unchanged, a namestring a field name.
    dumper& operator<<(rawstring const& v) { return v(*this); }
    dumper& operator<<(namestring const& v) { return v(*this); }
    ///@}

    /// Manipulators: zul::indent, zul::endline, zul::nl.
    dumper& operator<<(dumper& (*f)(dumper&)) { return f(*this); }
    /// Any object with a dump(zul::dumper&) const member.
    template <class T, std::enable_if_t<detail::has_dumper_dump<T>::value, int> = 0>
    dumper& operator<<(T const& v) {
        v.dump(*this);
        return *this;
    }

    // The plain writers: text unchanged, bool as the stream writes it, characters as such.
    /// As the stream writes a bool: 1 or 0 unless the stream has std::boolalpha set.
    dumper& write(bool v);
    ///@{

    /// The character itself.
    dumper& write(char v);
    dumper& write(unsigned char v);
    ///@}

    ///@{

    /// The stream's own form of the number or pointer.
    dumper& write(short v);
    dumper& write(unsigned short v);
    dumper& write(int v);
    dumper& write(unsigned int v);
    dumper& write(long v);
    dumper& write(unsigned long v);
    dumper& write(long long v);
    dumper& write(unsigned long long v);
    dumper& write(float v);
    dumper& write(double v);
    dumper& write(void const* v);
    ///@}

    ///@{

    /// The text or bytes unchanged; null writes nothing.
    dumper& write(istr const& v) { return raw(v); }
    dumper& write(char const* v) { return raw(istr(v)); }
    dumper& write(unsigned char const* v) { return raw(istr(v)); }
    dumper& write(String const& v) { return raw(istr(v)); }
    dumper& write(std::string const& v) { return raw(istr(v)); }
    dumper& write(Bytes const& v);
    ///@}

    ///@{

    /// Wide text converted to UTF-8, unquoted.
    dumper& write(iwstr const& v);
    dumper& write(wchar_t const* v);
    dumper& write(std::wstring const& v);
    ///@}

    /// The date-time text (milliseconds) unchanged.
    dumper& write(Time const& v);
    /// Any object with a dump(zul::dumper&) const member.
    template <class T, std::enable_if_t<detail::has_dumper_dump<T>::value, int> = 0>
    dumper& write(T const& v) {
        v.dump(*this);
        return *this;
    }

    /// The quoted form of 8-bit text: nothing for empty text; otherwise a double quote, at
    /// most the first 256 bytes (newlines as the line start, unprintable bytes in "\x{..}"
    /// runs of upper-case hex), "<omit data up to n>" for a longer text, a double quote.
    dumper& __write(istr const& s);

    /// Writes type "zul::dumper" with str(), owned_, first_, savedFirst_ and cfg_; fails
    /// as str() does on a dumper over a caller's stream.
    void dump(dumper& d) const;

  private:
    dumper& set_i(String& field, istr const& v) {
        field = v;
        return *this;
    }
    void lineStart_i();
    template <class T>
    dumper& put_i(T const& v);

    std::ostream* os_;
    bool owned_;
    bool first_;
    bool savedFirst_;
    Config cfg_;
};

///@{

/// Forwarders to the members of the same name, for use as `d << zul::indent`.
ZUL_API dumper& indent(dumper& d);
ZUL_API dumper& endline(dumper& d);
ZUL_API dumper& nl(dumper& d);
///@}

namespace detail {

/// One container element on a line of its own.
template <class V>
void dumpElement(dumper& d, V const& v) {
    d.indent();
    d << v;
    d.endline();
}

/// One key and value pair on a line of its own: the key's text, " : ", the value.
template <class K, class V>
void dumpPair(dumper& d, K const& k, V const& v) {
    String key;
    key += k;
    d.indent();
    d.raw(key).raw(" : ");
    d << v;
    d.endline();
}

}  // namespace detail

template <class K, class V>
void mt::map<K, V>::dump(dumper& d) const {
    dumper::_Entry entry(d, "zul::mt::map");
    Guard_T<Mutex> lock(mutex_);
    for (auto const& kv : map_) detail::dumpPair(d, kv.first, kv.second);
}

/// A list as the object "zul::list", one element per line.
template <class T, class A>
dumper& operator<<(dumper& d, std::list<T, A> const& l) {
    dumper::_Entry e(d, "zul::list");
    for (auto const& v : l) detail::dumpElement(d, v);
    return d;
}

/// A map as the object "zul::map", one "key : value" per line.
template <class K, class V, class C, class A>
dumper& operator<<(dumper& d, std::map<K, V, C, A> const& m) {
    dumper::_Entry e(d, "zul::map");
    for (auto const& kv : m) detail::dumpPair(d, kv.first, kv.second);
    return d;
}

/// A multimap as the object "zul::multimap", one "key : value" per line.
template <class K, class V, class C, class A>
dumper& operator<<(dumper& d, std::multimap<K, V, C, A> const& m) {
    dumper::_Entry e(d, "zul::multimap");
    for (auto const& kv : m) detail::dumpPair(d, kv.first, kv.second);
    return d;
}

/// A stack as the object "zul::stack", one element per line from the bottom up.
template <class T, class Container>
dumper& operator<<(dumper& d, zul::stack<T, Container> const& s) {
    dumper::_Entry e(d, "zul::stack");
    for (auto const& v : s.container()) detail::dumpElement(d, v);
    return d;
}

}  // namespace zul
