// The PML writers: the escaping rule for texts and names, the four layouts (COMPACT, SIMPLE,
// MIXED, FORMATTED) to a std::ostream or appended to a zul::String, and ntvToPml and family.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/pml/pml_show.h>

#include <cstddef>
#include <iosfwd>
#include <string>

namespace zul {
namespace pml {

namespace ntv {
class Unit;
}
class File;

/// True for the characters ( ) : * ^ and the two quote characters (char and wchar_t).
template <class CharT>
ZUL_API bool __isSpeacialChar(CharT c);

/// Escapes a text in place: when a character needs quoting (a special character, or bit 7
/// of its low byte set: any non-ASCII byte of UTF-8), every "^" and double quote gets a "^"
/// before it and the whole text is put in double quotes; otherwise it stays as it is.
template <class CharT>
ZUL_API void __escapeString(std::basic_string<CharT>& s);

/// Removes one pair of enclosing quotes (the same quote character, either kind, at both ends
/// of a text of at least two characters); the escapes inside are left alone.
template <class CharT>
ZUL_API void __unescapeString(std::basic_string<CharT>& s);

///@{

/// In-place escaping of a text value (see __escapeString).
ZUL_API void escapeString(zul::String& s);
ZUL_API void escapeString(std::wstring& s);
///@}

///@{

/// In-place removal of one pair of enclosing quotes (see __unescapeString).
ZUL_API void unescapeString(zul::String& s);
ZUL_API void unescapeString(std::wstring& s);
///@}

// The pieces of the writers, instantiated for CharT = char with Dest = std::ostream and
// zul::String (appended to).

/// Writes a name: every "^" and double quote gets a "^" before it, nothing else changes and
/// no quotes are put around it (the net effect of escaping, then unescaping, a copy).
template <class CharT, class Dest>
ZUL_API void __WriteName(Dest& dest, const std::basic_string<CharT>& name);

/// Writes ":" followed by the type, unchanged.
template <class CharT, class Dest>
ZUL_API void __WriteType(Dest& dest, const std::basic_string<CharT>& type);

/// Writes the path comment "(* path *) " (with the blank after it).
template <class CharT, class Dest>
ZUL_API void __WritePath(Dest& dest, const std::basic_string<CharT>& path);

/// Writes the indentation unit `n` times (nothing for n <= 0).
template <class CharT, class Dest>
ZUL_API void __WriteIndent(Dest& dest, int n, const CharT* unit);

/// Writes the separator, then the indentation unit `n` times.
template <class CharT, class Dest>
ZUL_API void __WriteLineSeparator(Dest& dest, int n, const CharT* unit, const CharT* separator);

namespace detail {

/// Writes a text value by the escaping rule straight to a stream (no copy of the text).
ZUL_API void pmlWriteValue(std::ostream& os, istr text);

}  // namespace detail

// The writer templates, instantiated for CharT = char with Dest = std::ostream and
// zul::String (a String destination is appended to). They walk the tree without recursion,
// so any depth is written within a fixed stack; they never fail and return true.

/// COMPACT: name, ":type", "(", the children or the escaped text, ")"; no blanks or breaks.
template <class CharT, class Dest>
ZUL_API bool __NtvToCompactPml(const ntv::Unit& unit, Dest& dest, ShowPattern pattern);

/// SIMPLE at `level`: a node that is a chain of single children goes out in COMPACT form
/// on one line, any other node opens a line per child; no line break after the last ")".
template <class CharT, class Dest>
ZUL_API bool __NtvToSimplePml(const ntv::Unit& unit, Dest& dest, int level, ShowPattern pattern,
                              const char* indent);

/// MIXED at `level`: named children follow one another on one line; only unnamed typed
/// children start new lines.
template <class CharT, class Dest>
ZUL_API bool __NtvToMixedPml(const ntv::Unit& unit, Dest& dest, int level, ShowPattern pattern,
                             const char* indent);

/// FORMATTED at `level`: SIMPLE with a path comment before every node when PATH is set.
/// `level` is raised for the children and lowered after them, so it ends unchanged.
template <class CharT, class Dest>
ZUL_API bool __NtvToFormattedPml(const ntv::Unit& unit, Dest& dest, int& level, ShowPattern pattern,
                                 const char* indent);

/// Writes `unit` in the layout `mode` at level 0 with the standard indentation; false (and
/// nothing written) for an unknown mode.
template <class Dest>
ZUL_API bool __NtvToPml(const ntv::Unit& unit, Dest& dest, ShowMode mode, ShowPattern pattern);

/// Opens `file` for writing (creating or emptying it) and writes `unit` into it; false when
/// the file cannot be opened or the mode is unknown.
ZUL_API bool __NtvToPml(const ntv::Unit& unit, const File& file, ShowMode mode,
                        ShowPattern pattern);

// ---- entry points: write `unit` to a stream, append it to a String, or write a file ----

///@{

/// The layout chosen by `mode` (COMPACT, SIMPLE, MIXED or FORMATTED); true, or false for any
/// other mode, which writes nothing (a File destination is still emptied). A String is
/// appended to; a File is created or emptied first, and false when it cannot be opened.
ZUL_API bool ntvToPml(const ntv::Unit& unit, std::ostream& dest, ShowMode mode,
                      ShowPattern pattern);
ZUL_API bool ntvToPml(const ntv::Unit& unit, zul::String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool ntvToPml(const ntv::Unit& unit, const File& dest, ShowMode mode, ShowPattern pattern);
///@}

///@{

/// ntvToPml with COMPACT: true, or false when a File destination cannot be opened.
ZUL_API bool ntvToCompactPml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern);
ZUL_API bool ntvToCompactPml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern);
ZUL_API bool ntvToCompactPml(const ntv::Unit& unit, const File& dest, ShowPattern pattern);
///@}

///@{

/// ntvToPml with SIMPLE: true, or false when a File destination cannot be opened.
ZUL_API bool ntvToSimplePml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern);
ZUL_API bool ntvToSimplePml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern);
ZUL_API bool ntvToSimplePml(const ntv::Unit& unit, const File& dest, ShowPattern pattern);
///@}

///@{

/// ntvToPml with MIXED: true, or false when a File destination cannot be opened.
ZUL_API bool ntvToMixedPml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern);
ZUL_API bool ntvToMixedPml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern);
ZUL_API bool ntvToMixedPml(const ntv::Unit& unit, const File& dest, ShowPattern pattern);
///@}

///@{

/// ntvToPml with FORMATTED: true, or false when a File destination cannot be opened.
ZUL_API bool ntvToFormattedPml(const ntv::Unit& unit, std::ostream& dest, ShowPattern pattern);
ZUL_API bool ntvToFormattedPml(const ntv::Unit& unit, zul::String& dest, ShowPattern pattern);
ZUL_API bool ntvToFormattedPml(const ntv::Unit& unit, const File& dest, ShowPattern pattern);
///@}

}  // namespace pml
}  // namespace zul
