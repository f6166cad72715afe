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
    /// An empty name.
    File() = default;
    /// Names the file `name` (empty for a null view); nothing is opened.
    explicit File(istr name) : filename_(name) {}
    /// Names the file `name` instead (empty for a null view); returns this.
    File& operator=(istr name) {
        filename_ = String(name);
        return *this;
    }

    /// The file name.
    const String& filename() const { return filename_; }

    /// Opens the file for reading (text mode); true when the stream is usable afterwards.
    bool open(std::ifstream& is) const;
    /// Opens the file for writing, creating or truncating it; true when the stream is usable.
    bool open(std::ofstream& os) const;

  private:
    String filename_;
};

///@{

/// Reads a whole node (name, optional type, content) into `unit`, cleared first; true when a
/// node (or nothing, for empty input) was read. A syntax error raises zul::pml::DecodeException
/// and leaves in `unit` what was read before it. Only the first node is read: a stream stays
/// positioned after it, a pointer `p` is advanced past it (null: empty text), a view is read
/// from a copy that a NUL inside it ends, and a file gives false when it cannot be opened.
/// Wide names, types and values are stored as 8-bit text (UTF-8).
ZUL_API bool ntvFromPml(ntv::Unit& unit, std::istream& is);
ZUL_API bool ntvFromPml(ntv::Unit& unit, const char*& p);
ZUL_API bool ntvFromPml(ntv::Unit& unit, istr text);
ZUL_API bool ntvFromPml(ntv::Unit& unit, std::wistream& is);
ZUL_API bool ntvFromPml(ntv::Unit& unit, const wchar_t*& p);
ZUL_API bool ntvFromPml(ntv::Unit& unit, iwstr text);
ZUL_API bool ntvFromPml(ntv::Unit& unit, const File& file);
///@}

///@{

/// Reads only the content of a node, the text between its parentheses, into `unit`, cleared
/// first. The node keeps an empty name and type; a plain text gives a text value (an empty
/// source an empty text), "a(1)b(2)" gives two children. Otherwise as ntvFromPml.
ZUL_API bool ntvFromValueString(ntv::Unit& unit, std::istream& is);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, const char*& p);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, istr text);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, std::wistream& is);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, const wchar_t*& p);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, iwstr text);
ZUL_API bool ntvFromValueString(ntv::Unit& unit, const File& file);
///@}

}  // namespace pml
}  // namespace zul
