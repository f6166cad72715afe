// The single entry point through which library code writes error records that are not
// thrown (lookups that fail, warnings). It writes nothing until the log front end is wired.
#pragma once

#include <zul/base/api.h>

#include <string>

namespace zul {
namespace detail {

/// Writes an error record for the site `file`:`line` in `func` with the text `msg` and the
/// tag `tag` ("<ERROR>" or "<WARNING>"). Never throws.
ZUL_API void writeErrorRecord(char const* file, unsigned int line, char const* func,
                              std::string const& msg, char const* tag = "<ERROR>") noexcept;

}  // namespace detail
}  // namespace zul
