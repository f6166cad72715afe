// Reformatting PML text in one call (format, from any source to any destination) and the
// pmlType family, which pairs a value tree with a text store (a string or a file).
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>
#include <zul/pml/pml_reader.h>
#include <zul/pml/pml_show.h>

#include <iosfwd>

namespace zul {
namespace pml {

namespace ntv {
class Unit;
}

///@{

/// Reads the first node of the source (as ntvFromPml) and writes it to the destination in the
/// given layout (as ntvToPml), returning the writer's result. False, with nothing written,
/// when reading gives false; a decode error (zul::pml::DecodeException) passes out before
/// anything is written. The pointer sources advance past what was read.
ZUL_API bool format(std::istream& src, std::ostream& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(std::istream& src, String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(std::istream& src, const File& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(std::wistream& src, std::ostream& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(std::wistream& src, String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(std::wistream& src, const File& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const char*& src, std::ostream& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const char*& src, String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const char*& src, const File& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const wchar_t*& src, std::ostream& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const wchar_t*& src, String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const wchar_t*& src, const File& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(istr src, std::ostream& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(istr src, String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(istr src, const File& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(iwstr src, std::ostream& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(iwstr src, String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(iwstr src, const File& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const File& src, std::ostream& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const File& src, String& dest, ShowMode mode, ShowPattern pattern);
ZUL_API bool format(const File& src, const File& dest, ShowMode mode, ShowPattern pattern);
///@}

/// A value tree paired with a text store. The trees passed in belong to the caller.
class ZUL_API pmlType {
  public:
    /// Releases the store; the trees it filled stay with their owners.
    virtual ~pmlType();
    /// Writes `unit` into the store in the given layout.
    virtual bool fromNTV(const ntv::Unit& unit, ShowMode mode, ShowPattern pattern) = 0;
    /// Reads the store into `unit`.
    virtual bool toNTV(ntv::Unit& unit) const = 0;
};

/// A string as the store.
class ZUL_API pmlString : public pmlType {
  public:
    /// An empty store.
    pmlString() = default;
    /// A store holding a copy of `text` (empty for a null view).
    explicit pmlString(istr text) : data_(text) {}
    /// Releases the stored text.
    ~pmlString() override;

    ///@{

    /// The stored text.
    String& data() { return data_; }
    const String& data() const { return data_; }
    ///@}

    /// Appends the PML text of `unit` (earlier content stays in front); true.
    bool fromNTV(const ntv::Unit& unit, ShowMode mode, ShowPattern pattern) override;
    /// Reads the first node of the string (up to its first NUL) into `unit`.
    bool toNTV(ntv::Unit& unit) const override;

  private:
    String data_;
};

/// A file as the store; with `valueString` the file holds only a node's content.
class ZUL_API pmlFile : public pmlType {
  public:
    /// The file named `filename`; nothing is opened until a call needs it.
    pmlFile(istr filename, bool valueString) : file_(filename), valueString_(valueString) {}
    /// Leaves the file as it is.
    ~pmlFile() override;

    /// The file name.
    const File& file() const { return file_; }

    /// Writes `unit` to the file (created or emptied); false when it cannot be opened.
    bool fromNTV(const ntv::Unit& unit, ShowMode mode, ShowPattern pattern) override;
    /// ntvFromValueString or ntvFromPml of the file; false when it cannot be opened.
    bool toNTV(ntv::Unit& unit) const override;

  private:
    File file_;
    bool valueString_;
};

}  // namespace pml
}  // namespace zul
