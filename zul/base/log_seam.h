// The single place where library code hands its own records (information, errors that are
// not thrown, caught exceptions) to the library logger. Until a logger is installed the
// records are dropped; the logger factory installs the "ZUL" logger here when it lands.
#pragma once

#include <zul/base/api.h>

#include <string>

namespace zul {

class logger;

namespace detail {

/// The logger that takes the library's own records, or null while none is installed.
ZUL_API logger* libraryLogger() noexcept;
/// The library logger, or a silent one (every switch off, records dropped) while none is
/// installed. For scopes that need a logger whatever happens, such as trace frames.
ZUL_API logger& libraryLoggerRef() noexcept;
/// Installs `lg` as the library logger (null removes it); returns the one it replaces. The
/// logger must outlive every thread that may still write records.
ZUL_API logger* setLibraryLogger(logger* lg) noexcept;

/// The library logger's information switch; false while no logger is installed.
ZUL_API bool libraryInfoOn() noexcept;
/// The library logger's trace switch; false while no logger is installed.
ZUL_API bool libraryTraceOn() noexcept;

/// An information record with the tag "INFO". The caller tests libraryInfoOn() first.
ZUL_API void writeInfoRecord(char const* file, unsigned int line, char const* func,
                             std::string const& msg) noexcept;
/// Writes an error record for the site `file`:`line` in `func` with the text `msg` and the
/// tag `tag` ("<ERROR>" or "<WARNING>"), whatever the switches say.
ZUL_API void writeErrorRecord(char const* file, unsigned int line, char const* func,
                              std::string const& msg, char const* tag = "<ERROR>") noexcept;
/// An "EXCEPTION" record for an exception caught at the site, described by `what`.
ZUL_API void writeExcptRecord(char const* file, unsigned int line, char const* func,
                              std::string const& what) noexcept;
/// Asks the library logger to flush.
ZUL_API void flushLibraryLog() noexcept;

}  // namespace detail
}  // namespace zul
