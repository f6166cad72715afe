// Reading value trees from PML text: the file name type zul::pml::File and the entry points
// ntvFromPml (a whole node) and ntvFromValueString (the content of a node) for every source.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>

#include <fstream>
#include <iosfwd>

namespace zul {
namespace pml {

namespace ntv {
class Unit;
}

/// A file name used as a source or a destination of PML text. It only names the file: each
/// use opens and closes its own stream.
class ZUL_API File {
  public:
    File() = default;
    explicit File(istr name) : filename_(name) {}
    File& operator=(istr name) {
        filename_ = String(name);
        return *this;
    }

    const String& filename() const { return filename_; }

    /// Opens the file for reading (text mode); true when the stream is usable afterwards.
    bool open(std::ifstream& is) const;
    /// Opens the file for writing, creating or truncating it; true when the stream is usable.
    bool open(std::ofstream& os) const;

  private:
    String filename_;
};

// ---- ntvFromPml: the source holds a whole node (name, optional type, content). Each clears
// `unit` first and returns true when a node (or nothing, for empty input) was read; a syntax
// error raises zul::pml::DecodeException and leaves in `unit` what was read before it. Only
// the first node is read: the rest of the input is left unread.

/// Reads from the stream, which stays positioned after the first node.
ZUL_API bool ntvFromPml(ntv::Unit& unit, std::istream& is);
/// Reads from a NUL-terminated text and advances `p` past what was read (null: empty text).
ZUL_API bool ntvFromPml(ntv::Unit& unit, const char*& p);
/// Reads from a copy of `text`; a NUL inside it ends the text.
ZUL_API bool ntvFromPml(ntv::Unit& unit, istr text);
/// Reads wide text; names, types and values are stored as 8-bit text (UTF-8).
ZUL_API bool ntvFromPml(ntv::Unit& unit, std::wistream& is);
ZUL_API bool ntvFromPml(ntv::Unit& unit, const wchar_t*& p);
ZUL_API bool ntvFromPml(ntv::Unit& unit, iwstr text);
/// Reads the named file; false when it cannot be opened.
ZUL_API bool ntvFromPml(ntv::Unit& unit, const File& file);

// ---- ntvFromValueString: the source holds only the content of a node, the text between its
// parentheses. The node keeps an empty name and type; a plain text gives a text value (an
// empty source an empty text), "a(1)b(2)" gives two children. Otherwise as ntvFromPml.

ZUL_API bool ntvFromValueString(ntv::Unit& unit, std::istream& is);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, const char*& p);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, istr text);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, std::wistream& is);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, const wchar_t*& p);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, iwstr text);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, const File& file);

}  // namespace pml
}  // namespace zul
