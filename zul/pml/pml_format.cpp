// format (every source to every destination, through __FormatPML) and the pmlType family.
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_format.h>
#include <zul/pml/pml_reader.h>
#include <zul/pml/pml_writer.h>

#include <istream>
#include <ostream>

namespace zul {
namespace pml {

/// Reads the first node of `src` into a temporary root and writes it to `dest`.
template <class Source, class Dest>
bool __FormatPML(Source& src, Dest& dest, ShowMode mode, ShowPattern pattern) {
    ntv::Unit root;
    if (!ntvFromPml(root, src)) return false;
    return ntvToPml(root, dest, mode, pattern);
}

#define ZUL_PML_FORMAT(SourceArg, DestArg)                                         \
    bool format(SourceArg src, DestArg dest, ShowMode mode, ShowPattern pattern) { \
        return __FormatPML(src, dest, mode, pattern);                              \
    }

ZUL_PML_FORMAT(std::istream&, std::ostream&)
ZUL_PML_FORMAT(std::istream&, String&)
ZUL_PML_FORMAT(std::istream&, const File&)
ZUL_PML_FORMAT(std::wistream&, std::ostream&)
ZUL_PML_FORMAT(std::wistream&, String&)
ZUL_PML_FORMAT(std::wistream&, const File&)
ZUL_PML_FORMAT(const char*&, std::ostream&)
ZUL_PML_FORMAT(const char*&, String&)
ZUL_PML_FORMAT(const char*&, const File&)
ZUL_PML_FORMAT(const wchar_t*&, std::ostream&)
ZUL_PML_FORMAT(const wchar_t*&, String&)
ZUL_PML_FORMAT(const wchar_t*&, const File&)
ZUL_PML_FORMAT(istr, std::ostream&)
ZUL_PML_FORMAT(istr, String&)
ZUL_PML_FORMAT(istr, const File&)
ZUL_PML_FORMAT(iwstr, std::ostream&)
ZUL_PML_FORMAT(iwstr, String&)
ZUL_PML_FORMAT(iwstr, const File&)
ZUL_PML_FORMAT(const File&, std::ostream&)
ZUL_PML_FORMAT(const File&, String&)
ZUL_PML_FORMAT(const File&, const File&)

#undef ZUL_PML_FORMAT

pmlType::~pmlType() = default;

pmlString::~pmlString() = default;

bool pmlString::fromNTV(const ntv::Unit& unit, ShowMode mode, ShowPattern pattern) {
    ntvToPml(unit, data_, mode, pattern);
    return true;
}

bool pmlString::toNTV(ntv::Unit& unit) const {
    const char* p = data_.c_str();
    return ntvFromPml(unit, p);
}

pmlFile::~pmlFile() = default;

bool pmlFile::fromNTV(const ntv::Unit& unit, ShowMode mode, ShowPattern pattern) {
    return ntvToPml(unit, file_, mode, pattern);
}

bool pmlFile::toNTV(ntv::Unit& unit) const {
    return valueString_ ? ntvFromValueString(unit, file_) : ntvFromPml(unit, file_);
}

}  // namespace pml
}  // namespace zul
