// The logger interface (zul::logger) and the record front end: the functions that turn a
// failure, a notice or a trace step into one finished record and hand it to a logger.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>

#include <iosfwd>
#include <string>

namespace zul {

class dumper;
namespace pml {
class stream;
}

/// The sink for the records of one logging identifier. Loggers are never deleted through
/// this interface; they live as long as the process.
class ZUL_API logger {
  public:
    /// Stops the flush thread, then flushes on the calling thread.
    virtual void close() = 0;
    /// Flushes, then starts the flush thread and waits until it runs; while one runs, only
    /// flushes.
    virtual void start() = 0;
    /// Stops the flush thread, waiting for it to end, and releases it; returns true, also when
    /// there was none.
    virtual bool stop() = 0;
    /// Re-reads the settings from the "log" section of the loaded configuration; keys it lacks
    /// keep their values, and an empty configuration changes nothing. Raises
    /// zul::pml::DecodeException when the configuration, loaded here on first use, is malformed.
    virtual void reload() = 0;
    /// Loads the configuration file from `path`, then re-reads the settings as reload() does;
    /// a malformed file raises zul::pml::DecodeException and leaves the settings unchanged.
    virtual void reload(istr const& path) = 0;
    /// Writes a finished record, then echoes it to the console when consoleOn().
    virtual void writeAndPrint(istr const& record) = 0;
    ///@{

    /// Caches a copy of a finished record (which carries its own line end) for the file, then
    /// hands it to the record hook. Never writes the file: reaching setMaxNumofMsg() records
    /// or setMaxCacheSize() bytes only wakes the flush thread, when there is one.
    virtual void write(istr const& record) = 0;
    virtual void write(char const* data, unsigned long size) = 0;
    ///@}

    /// Wakes the flush thread, or writes the cache on the calling thread when there is none.
    virtual void flush() = 0;
    /// Sets how many cached bytes (default 32768) wake the flush thread.
    virtual void setMaxCacheSize(unsigned long bytes) = 0;
    /// Sets how many cached records (default 100) wake the flush thread.
    virtual void setMaxNumofMsg(unsigned long count) = 0;
    ///@{

    /// The information switch (default on), which gates the library's information records.
    virtual void infoOn(bool on) = 0;
    virtual bool infoOn() const = 0;
    ///@}

    ///@{

    /// The debug switch (default on); while it is off, traceOn(), msgLogOn() and the
    /// detail-log queries read false.
    virtual void debugOn(bool on) = 0;
    virtual bool debugOn() const = 0;
    ///@}

    /// Switching tracing on takes effect only while ZUL_TRACE_ON is "on".
    virtual void traceOn(bool on) = 0;
    /// debugOn() and the trace switch.
    virtual bool traceOn() const = 0;
    ///@{

    /// debugOn() and the detail-log switch of that name (default off), which only the
    /// configuration file sets.
    virtual bool dataLogOn() const = 0;
    virtual bool debugLogOn() const = 0;
    virtual bool traceLogOn() const = 0;
    virtual bool diagLogOn() const = 0;
    virtual bool cmdLogOn() const = 0;
    virtual bool commLogOn() const = 0;
    virtual bool hbLogOn() const = 0;
    ///@}

    ///@{

    /// The application-log switch (default on); while it is off, logOn() is false and logOff()
    /// true for every name.
    virtual void appLogOn(bool on) = 0;
    virtual bool appLogOn() const = 0;
    ///@}

    /// Switches the application log `name` on or off.
    virtual void logOn(String const& name, bool on) = 0;
    /// Whether the application log `name` is on; false while appLogOn() is false and for a
    /// name never switched.
    virtual bool logOn(String const& name) const = 0;
    /// Whether the application log `name` is off; true while appLogOn() is false, false for a
    /// name never switched.
    virtual bool logOff(String const& name) const = 0;
    /// Sets the message-log switch (default off).
    virtual void msgLogOn(bool on) = 0;
    /// debugOn() and the message-log switch.
    virtual bool msgLogOn() const = 0;
    /// Switches the message log `name` on or off; the name "default" stands for every name
    /// never switched.
    virtual void msgOn(String const& name, bool on) = 0;
    /// Whether the message log `name`, else "default", is on; false while msgLogOn() is false
    /// and when neither entry exists.
    virtual bool msgOn(String const& name) const = 0;
    /// Whether the message log `name`, else "default", is off; true while msgLogOn() is false,
    /// false when neither entry exists.
    virtual bool msgOff(String const& name) const = 0;
    ///@{

    /// The log-file switch (default on): kept, copied and configured, but records go to
    /// filename() whenever it is not empty.
    virtual void useLogfile(bool on) = 0;
    virtual bool useLogfile() const = 0;
    ///@}

    /// Sets the log file path and derives the debug file name; with an empty path records
    /// stay cached.
    virtual void filename(istr const& path) = 0;
    /// The log file path; empty until one is set or configured.
    virtual String filename() const = 0;
    ///@{

    /// The debug-file switch (default on): kept, copied and configured; no record is written
    /// to the debug file.
    virtual void useDebugLogfile(bool on) = 0;
    virtual bool useDebugLogfile() const = 0;
    ///@}

    /// Sets the debug file path; a later filename() derives it anew.
    virtual void debugFilename(istr const& path) = 0;
    /// The debug file path; empty until set, derived or configured.
    virtual String debugFilename() const = 0;
    ///@{

    /// The console echo: writeAndPrint() prints each record and every flush pass flushes the
    /// console while it is on (loggerImpl starts from zul::g__debugDefined).
    virtual void consoleOn(bool on) = 0;
    virtual bool consoleOn() const = 0;
    ///@}

    ///@{

    /// The leak-checker switch (default off): kept, copied and configured; the library
    /// consults it nowhere.
    virtual void mlcOn(bool on) = 0;
    virtual bool mlcOn() const = 0;
    ///@}

    /// The logging identifier.
    virtual std::string id() const = 0;
    /// Reads or writes every setting through a value-tree stream, by its direction.
    virtual void codec(pml::stream& s) = 0;
    /// Writes dump(dumper&) through a dumper with the standard layout over `os`.
    virtual void dump(std::ostream& os) const = 0;
    /// Writes the logger as an object: its type name, then its fields.
    virtual void dump(dumper& d) const = 0;

  protected:
    ///@{

    /// Only implementations make, copy and destroy a logger; the interface holds no data.
    logger() = default;
    logger(logger const&) = default;
    logger& operator=(logger const&) = default;
    ~logger() = default;
    ///@}
};

namespace detail {

/// A logger with every switch off that drops every record: stands in for the library logger
/// while none is installed, so that scopes needing a logger (trace frames) run before one
/// exists. Tests derive from it to keep records.
class SilentLogger : public logger {
  public:
    SilentLogger() = default;
    void close() override {}
    void start() override {}
    bool stop() override { return true; }
    void reload() override {}
    void reload(istr const&) override {}
    void writeAndPrint(istr const&) override {}
    void write(istr const&) override {}
    void write(char const*, unsigned long) override {}
    void flush() override {}
    void setMaxCacheSize(unsigned long) override {}
    void setMaxNumofMsg(unsigned long) override {}
    void infoOn(bool) override {}
    bool infoOn() const override { return false; }
    void debugOn(bool) override {}
    bool debugOn() const override { return false; }
    void traceOn(bool) override {}
    bool traceOn() const override { return false; }
    bool dataLogOn() const override { return false; }
    bool debugLogOn() const override { return false; }
    bool traceLogOn() const override { return false; }
    bool diagLogOn() const override { return false; }
    bool cmdLogOn() const override { return false; }
    bool commLogOn() const override { return false; }
    bool hbLogOn() const override { return false; }
    void appLogOn(bool) override {}
    bool appLogOn() const override { return false; }
    void logOn(String const&, bool) override {}
    bool logOn(String const&) const override { return false; }
    bool logOff(String const&) const override { return true; }
    void msgLogOn(bool) override {}
    bool msgLogOn() const override { return false; }
    void msgOn(String const&, bool) override {}
    bool msgOn(String const&) const override { return false; }
    bool msgOff(String const&) const override { return true; }
    void useLogfile(bool) override {}
    bool useLogfile() const override { return false; }
    void filename(istr const&) override {}
    String filename() const override { return String(); }
    void useDebugLogfile(bool) override {}
    bool useDebugLogfile() const override { return false; }
    void debugFilename(istr const&) override {}
    String debugFilename() const override { return String(); }
    void consoleOn(bool) override {}
    bool consoleOn() const override { return false; }
    void mlcOn(bool) override {}
    bool mlcOn() const override { return false; }
    std::string id() const override { return "ZUL"; }
    void codec(pml::stream&) override {}
    void dump(std::ostream&) const override {}
    void dump(dumper&) const override {}
};

}  // namespace detail

// The record front end. Every function builds its record in its own buffers and hands it
// whole to `lg.writeAndPrint`; none of them throws on its own account.

/// The framed block: header line with `title` (null: no header), `tag` with its underline,
/// `body`, `note` with its overline, closing line with `trailer` (null: none); then flush().
ZUL_API void writeLog(logger& lg, char const* title, char const* tag, char const* body,
                      char const* note, char const* trailer);
/// One line: the header text with `tag`, a blank and `msg`; then flush(). `file`, `line` and
/// `func` are not written; a null `msg` or `tag` counts as empty.
ZUL_API void writeInfoLog(logger& lg, char const* file, unsigned int line, char const* func,
                          char const* msg, char const* tag);
/// One 118-column line: "head text" at the left, `right` at the right, `fill` between. A line
/// that does not fit is written undecorated at full length. No flush() follows.
ZUL_API void writeEntryLog(logger& lg, char const* head, char const* text, char const* right,
                           char fill);
/// A framed block with tag `tag` ("<ERROR>" or "<WARNING>"), the cause, position and stack.
ZUL_API void writeErrorLog(logger& lg, char const* file, unsigned int line, char const* func,
                           char const* msg, char const* tag);
/// A framed "EXCEPTION" block for an exception caught with `what` as its description.
ZUL_API void writeExcptLog(logger& lg, char const* file, unsigned int line, char const* func,
                           char const* what);
/// A framed "ASSERT FAILURE" block for the condition `cond`.
ZUL_API void assertFailure(logger& lg, char const* cond, char const* file, unsigned int line,
                           char const* func, char const* willDo);
/// A framed "ENSURE FAILURE" block for the condition `cond`.
ZUL_API void ensureFailure(logger& lg, char const* cond, char const* file, unsigned int line,
                           char const* func, char const* willDo);
/// A framed "THROWING" block, written before a failure is thrown.
ZUL_API void exceptionThrown(logger& lg, char const* file, unsigned int line, char const* func,
                             char const* msg);

}  // namespace zul
