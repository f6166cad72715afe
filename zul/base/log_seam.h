// The single place where library code hands its own records (information, errors that are
// not thrown, failures about to be thrown, caught exceptions) to the library logger: the
// logger of the identifier "ZUL" from zul::logger_factory. Declared here, below everything
// that writes records, and defined with the logger (zul/log/log_seam.cpp): the modules the
// logger is built from reach it without including it.
//
// Re-entry. Reading the configuration file for a new logger happens under the factory's map
// mutex (and, on first use, under the configuration's creation mutex). A record written
// there must not ask the factory for a logger again on the same thread. Such sections open a
// RecordDeferral: records written on that thread while one is open are framed at once (same
// text, time, thread and call stack) and delivered to the library logger when the outermost
// deferral closes, after the locks are released.
#pragma once

#include <zul/base/api.h>

#include <string>

namespace zul {

class logger;

namespace detail {

/// The logger that takes the library's own records: the test override when one is installed,
/// otherwise logger_factory::instance("ZUL"). Null while the calling thread defers records.
ZUL_API logger* libraryLogger() noexcept;
/// The library logger, or a silent one (every switch off, records dropped) while none can be
/// had. For scopes that need a logger whatever happens, such as trace frames.
ZUL_API logger& libraryLoggerRef() noexcept;
/// Installs `lg` in place of the factory's "ZUL" logger (null goes back to the factory);
/// returns the override it replaces. For tests and for programs, such as the zul tool, that
/// must write no log of their own accord. The logger must outlive every thread that may
/// still write records.
ZUL_API logger* setLibraryLogger(logger* lg) noexcept;

/// The library logger's information switch; false while the calling thread defers records.
ZUL_API bool libraryInfoOn() noexcept;
/// The library logger's trace switch; false while the calling thread defers records.
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
/// A "THROWING" record for a failure about to be thrown (the raising helper's record).
ZUL_API void writeThrownRecord(char const* file, unsigned int line, char const* func,
                               std::string const& msg) noexcept;
/// Asks the library logger to flush.
ZUL_API void flushLibraryLog() noexcept;

/// Prints `line` on the console (opening it on first use; straight to standard output while
/// this thread is creating it). For the leak checker's notices; never throws.
ZUL_API void writeConsoleLine(std::string const& line) noexcept;

/// While one is open on a thread, that thread's library records are held back and delivered
/// when the outermost one closes (see the top of this file). Scopes nest; destruction
/// never throws.
class ZUL_API RecordDeferral {
  public:
    RecordDeferral() noexcept;
    ~RecordDeferral();
    RecordDeferral(RecordDeferral const&) = delete;
    RecordDeferral& operator=(RecordDeferral const&) = delete;
};

/// While one is open on a thread, that thread's library records are dropped. For sections
/// that hold a lock the record writers need (the thread registry refreshing the time text a
/// record header shows) and whose failures are handled on the spot.
class ZUL_API RecordSuppression {
  public:
    RecordSuppression() noexcept;
    ~RecordSuppression();
    RecordSuppression(RecordSuppression const&) = delete;
    RecordSuppression& operator=(RecordSuppression const&) = delete;
};

}  // namespace detail
}  // namespace zul
