// The library's record seam: every record of the library's own modules passes through here.
#include <zul/base/log_seam.h>
#include <zul/log/log_logger.h>

#include <atomic>

namespace zul {
namespace detail {
namespace {

std::atomic<logger*> g_libraryLogger{nullptr};

// Stands in for the library logger while none is installed: every switch off, every record
// dropped. Lets scopes that need a logger (trace frames) run before one exists.
class SilentLogger final : public logger {
  public:
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

SilentLogger g_silentLogger;

// Records are best effort: a failure while writing one must never reach the code that
// reported it.
template <class F>
void guarded(F&& f) noexcept {
    try {
        f();
    } catch (...) {
    }
}

}  // namespace

logger* libraryLogger() noexcept {
    return g_libraryLogger.load(std::memory_order_acquire);
}

logger& libraryLoggerRef() noexcept {
    logger* lg = libraryLogger();
    return lg ? *lg : g_silentLogger;
}

logger* setLibraryLogger(logger* lg) noexcept {
    return g_libraryLogger.exchange(lg, std::memory_order_acq_rel);
}

bool libraryInfoOn() noexcept {
    logger* lg = libraryLogger();
    bool on = false;
    if (lg) guarded([&] { on = lg->infoOn(); });
    return on;
}

bool libraryTraceOn() noexcept {
    logger* lg = libraryLogger();
    bool on = false;
    if (lg) guarded([&] { on = lg->traceOn(); });
    return on;
}

void writeInfoRecord(char const* file, unsigned int line, char const* func,
                     std::string const& msg) noexcept {
    if (logger* lg = libraryLogger())
        guarded([&] { writeInfoLog(*lg, file, line, func, msg.c_str(), "INFO"); });
}

void writeErrorRecord(char const* file, unsigned int line, char const* func, std::string const& msg,
                      char const* tag) noexcept {
    if (logger* lg = libraryLogger())
        guarded([&] { writeErrorLog(*lg, file, line, func, msg.c_str(), tag); });
}

void writeExcptRecord(char const* file, unsigned int line, char const* func,
                      std::string const& what) noexcept {
    if (logger* lg = libraryLogger())
        guarded([&] { writeExcptLog(*lg, file, line, func, what.c_str()); });
}

void flushLibraryLog() noexcept {
    if (logger* lg = libraryLogger()) guarded([&] { lg->flush(); });
}

}  // namespace detail
}  // namespace zul
