// Reading value trees from PML text: zul::pml::File and the ntvFromPml / ntvFromValueString
// entry points, thin fronts over __NtvFromPml and __NtvFromValueString.
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_parser.h>
#include <zul/pml/pml_reader.h>

#include <fstream>
#include <istream>

namespace zul {
namespace pml {

bool File::open(std::ifstream& is) const {
    is.open(filename_.c_str(), std::ios::in);
    return !is.fail() && !is.bad();
}

bool File::open(std::ofstream& os) const {
    os.open(filename_.c_str(), std::ios::out);
    return !os.fail() && !os.bad();
}

namespace {

// One way to run a prepared parser per kind of source.

template <class CharT>
bool runParser(pmlParserBase<CharT>& parser, std::basic_istream<CharT>& is) {
    pmlLexerIstream<CharT> source(is);
    pmlLexer<pmlLexerIstream<CharT>> lexer(source);
    bool closed = false;
    return parser.__doParser(closed, lexer);
}

template <class CharT>
bool runParser(pmlParserBase<CharT>& parser, const CharT*& p) {
    static const CharT kEmpty[1] = {CharT()};
    const CharT* none = kEmpty;
    // A null pointer reads as empty text and stays null.
    pmlLexerLpctstr<CharT> source(p != nullptr ? p : none);
    pmlLexer<pmlLexerLpctstr<CharT>> lexer(source);
    bool closed = false;
    return parser.__doParser(closed, lexer);
}

template <class CharT>
bool runParser(pmlParserBase<CharT>& parser, const typename detail::PmlView<CharT>::type& text) {
    return parser.doParser(text);
}

template <class CharT>
bool runParser(pmlParserBase<CharT>& parser, const File& file) {
    return parser.doParser(file);
}

}  // namespace

/// Reads a whole node (name, type, content) from `source` into `unit`, cleared first.
template <class CharT, class Source>
bool __NtvFromPml(ntv::Unit& unit, Source& source) {
    unit.clear();
    pmlParserBase<CharT> parser(&unit, PasingName);
    return runParser<CharT>(parser, source);
}

/// Reads the content of a node from `source` into `unit`, cleared first; name and type stay
/// empty.
template <class CharT, class Source>
bool __NtvFromValueString(ntv::Unit& unit, Source& source) {
    unit.clear();
    pmlParserBase<CharT> parser(&unit, PasingValue);
    return runParser<CharT>(parser, source);
}

bool ntvFromPml(ntv::Unit& unit, std::istream& is) {
    return __NtvFromPml<char>(unit, is);
}
bool ntvFromPml(ntv::Unit& unit, const char*& p) {
    return __NtvFromPml<char>(unit, p);
}
bool ntvFromPml(ntv::Unit& unit, istr text) {
    return __NtvFromPml<char>(unit, text);
}
bool ntvFromPml(ntv::Unit& unit, std::wistream& is) {
    return __NtvFromPml<wchar_t>(unit, is);
}
bool ntvFromPml(ntv::Unit& unit, const wchar_t*& p) {
    return __NtvFromPml<wchar_t>(unit, p);
}
bool ntvFromPml(ntv::Unit& unit, iwstr text) {
    return __NtvFromPml<wchar_t>(unit, text);
}
bool ntvFromPml(ntv::Unit& unit, const File& file) {
    return __NtvFromPml<char>(unit, file);
}

bool ntvFromValueString(ntv::Unit& unit, std::istream& is) {
    return __NtvFromValueString<char>(unit, is);
}
bool ntvFromValueString(ntv::Unit& unit, const char*& p) {
    return __NtvFromValueString<char>(unit, p);
}
bool ntvFromValueString(ntv::Unit& unit, istr text) {
    return __NtvFromValueString<char>(unit, text);
}
bool ntvFromValueString(ntv::Unit& unit, std::wistream& is) {
    return __NtvFromValueString<wchar_t>(unit, is);
}
bool ntvFromValueString(ntv::Unit& unit, const wchar_t*& p) {
    return __NtvFromValueString<wchar_t>(unit, p);
}
bool ntvFromValueString(ntv::Unit& unit, iwstr text) {
    return __NtvFromValueString<wchar_t>(unit, text);
}
bool ntvFromValueString(ntv::Unit& unit, const File& file) {
    return __NtvFromValueString<char>(unit, file);
}

}  // namespace pml
}  // namespace zul
