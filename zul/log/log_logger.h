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
    /// Stops the flush thread, then flushes.
    virtual void close() = 0;
    /// Starts the flush thread (once), after a flush.
    virtual void start() = 0;
    /// Stops and releases the flush thread; true when no thread was left running.
    virtual bool stop() = 0;
    /// Re-reads the settings from the configuration file.
    virtual void reload() = 0;
    /// Loads the configuration file from `path`, then re-reads the settings.
    virtual void reload(istr const& path) = 0;
    /// Writes a finished record, then echoes it to the console when consoleOn().
    virtual void writeAndPrint(istr const& record) = 0;
    virtual void write(istr const& record) = 0;
    /// Caches a finished record for the file and hands it to the record hook.
    virtual void write(char const* data, unsigned long size) = 0;
    /// Wakes the flush thread, or writes the cache on the calling thread when there is none.
    virtual void flush() = 0;
    virtual void setMaxCacheSize(unsigned long bytes) = 0;
    virtual void setMaxNumofMsg(unsigned long count) = 0;
    virtual void infoOn(bool on) = 0;
    virtual bool infoOn() const = 0;
    virtual void debugOn(bool on) = 0;
    virtual bool debugOn() const = 0;
    /// Switching tracing on takes effect only while ZUL_TRACE_ON is "on".
    virtual void traceOn(bool on) = 0;
    /// debugOn() and the trace switch.
    virtual bool traceOn() const = 0;
    virtual bool dataLogOn() const = 0;
    virtual bool debugLogOn() const = 0;
    virtual bool traceLogOn() const = 0;
    virtual bool diagLogOn() const = 0;
    virtual bool cmdLogOn() const = 0;
    virtual bool commLogOn() const = 0;
    virtual bool hbLogOn() const = 0;
    virtual void appLogOn(bool on) = 0;
    virtual bool appLogOn() const = 0;
    virtual void logOn(String const& name, bool on) = 0;
    virtual bool logOn(String const& name) const = 0;
    virtual bool logOff(String const& name) const = 0;
    virtual void msgLogOn(bool on) = 0;
    virtual bool msgLogOn() const = 0;
    virtual void msgOn(String const& name, bool on) = 0;
    virtual bool msgOn(String const& name) const = 0;
    virtual bool msgOff(String const& name) const = 0;
    virtual void useLogfile(bool on) = 0;
    virtual bool useLogfile() const = 0;
    virtual void filename(istr const& path) = 0;
    virtual String filename() const = 0;
    virtual void useDebugLogfile(bool on) = 0;
    virtual bool useDebugLogfile() const = 0;
    virtual void debugFilename(istr const& path) = 0;
    virtual String debugFilename() const = 0;
    virtual void consoleOn(bool on) = 0;
    virtual bool consoleOn() const = 0;
    virtual void mlcOn(bool on) = 0;
    virtual bool mlcOn() const = 0;
    /// The logging identifier.
    virtual std::string id() const = 0;
    /// Reads or writes every setting through a value-tree stream, by its direction.
    virtual void codec(pml::stream& s) = 0;
    virtual void dump(std::ostream& os) const = 0;
    virtual void dump(dumper& d) const = 0;

  protected:
    logger() = default;
    logger(logger const&) = default;
    logger& operator=(logger const&) = default;
    ~logger() = default;
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
/// One line: the header text with `tag`, a blank and `msg`; then flush().
ZUL_API void writeInfoLog(logger& lg, char const* file, unsigned int line, char const* func,
                          char const* msg, char const* tag);
/// One 118-column line: "head text" at the left, `right` at the right, `fill` between.
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
