// ShowMode and ShowPattern: which layout the PML writers use and which parts of every node
// they write, with the text forms of both.
#pragma once

#include <zul/base/api.h>

#include <iosfwd>

namespace zul {
namespace pml {

/// The layout of written PML. Any other value is an unknown mode (ntvToPml gives false).
enum ShowMode : int {
    COMPACT = 1,    ///< one line, no blanks
    SIMPLE = 2,     ///< one line per node that is not a chain of single children
    MIXED = 3,      ///< named children on one line, unnamed typed children on their own lines
    FORMATTED = 4,  ///< as SIMPLE, optionally with a path comment before every node
};

/// Bit set of the parts of every node that are written; combine values with `|`.
enum ShowPattern : int {
    NONE = 0,   ///< only the parentheses and the structure
    VALUE = 1,  ///< the text of a text node
    TYPE = 2,   ///< ":" and the type, when the type is not empty
    NAME = 4,   ///< the name
    PATH = 8,   ///< a comment with the node's path (FORMATTED only)
};

/// The parts of both patterns.
constexpr ShowPattern operator|(ShowPattern a, ShowPattern b) {
    return static_cast<ShowPattern>(static_cast<int>(a) | static_cast<int>(b));
}
/// The parts common to both patterns.
constexpr ShowPattern operator&(ShowPattern a, ShowPattern b) {
    return static_cast<ShowPattern>(static_cast<int>(a) & static_cast<int>(b));
}
/// Adds the parts of `b` to `a`; returns `a`.
inline ShowPattern& operator|=(ShowPattern& a, ShowPattern b) {
    return a = a | b;
}

/// Writes "COMPACT", "SIMPLE", "MIXED", "FORMATTED", or "<UnknownShowMode>" for any other
/// value.
ZUL_API std::ostream& operator<<(std::ostream& os, const ShowMode& mode);

/// Writes the names of the set bits in the order PATH, NAME, TYPE, VALUE, separated by one
/// blank ("NAME TYPE VALUE" for 7), "NONE" for 0 and nothing for a value with only higher
/// bits set.
ZUL_API std::ostream& operator<<(std::ostream& os, const ShowPattern& pattern);

}  // namespace pml
}  // namespace zul
