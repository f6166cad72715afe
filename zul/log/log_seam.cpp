// The library's record seam (declared in zul/base/log_seam.h): every record of the library's
// own modules passes through here on its way to the "ZUL" logger.
#include <zul/base/log_seam.h>
#include <zul/log/console.h>
#include <zul/log/log_factory.h>
#include <zul/log/log_logger.h>

#include <atomic>
#include <string>
#include <vector>

namespace zul {
namespace detail {
namespace {

const std::string LOGGER_ID = "ZUL";

std::atomic<logger*> g_override{nullptr};
// The factory's "ZUL" logger once looked up; loggers live as long as the process.
std::atomic<logger*> g_zulLogger{nullptr};

SilentLogger g_silentLogger;

thread_local int t_deferDepth = 0;
thread_local int t_suppressDepth = 0;
thread_local std::vector<std::string> t_deferred;

// Stands in for the library logger while a thread defers: frames records exactly as the
// "ZUL" logger would and keeps them for later delivery.
class DeferringLogger : public SilentLogger {
  public:
    void writeAndPrint(istr const& record) override { write(record.data, record.size); }
    void write(istr const& record) override { write(record.data, record.size); }
    void write(char const* data, unsigned long size) override {
        t_deferred.emplace_back(data, size);
    }
    std::string id() const override { return LOGGER_ID; }
};
DeferringLogger g_deferringLogger;

// Records are best effort: a failure while writing one must never reach the code that
// reported it.
template <class F>
void guarded(F&& f) noexcept {
    try {
        f();
    } catch (...) {
    }
}

// Where a record goes now: the override, the deferral list, or the "ZUL" logger.
logger* recordSink() noexcept {
    if (t_suppressDepth > 0) return nullptr;
    if (logger* lg = g_override.load(std::memory_order_acquire)) return lg;
    if (t_deferDepth > 0) return &g_deferringLogger;
    return libraryLogger();
}

}  // namespace

logger* libraryLogger() noexcept {
    if (logger* lg = g_override.load(std::memory_order_acquire)) return lg;
    if (t_deferDepth > 0) return nullptr;
    logger* lg = g_zulLogger.load(std::memory_order_acquire);
    if (lg == nullptr) {
        guarded([&] { lg = &logger_factory::instance(LOGGER_ID); });
        if (lg != nullptr) g_zulLogger.store(lg, std::memory_order_release);
    }
    return lg;
}

logger& libraryLoggerRef() noexcept {
    logger* lg = libraryLogger();
    return lg ? *lg : g_silentLogger;
}

logger* setLibraryLogger(logger* lg) noexcept {
    return g_override.exchange(lg, std::memory_order_acq_rel);
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
    if (logger* lg = recordSink())
        guarded([&] { writeInfoLog(*lg, file, line, func, msg.c_str(), "INFO"); });
}

void writeErrorRecord(char const* file, unsigned int line, char const* func, std::string const& msg,
                      char const* tag) noexcept {
    if (logger* lg = recordSink())
        guarded([&] { writeErrorLog(*lg, file, line, func, msg.c_str(), tag); });
}

void writeExcptRecord(char const* file, unsigned int line, char const* func,
                      std::string const& what) noexcept {
    if (logger* lg = recordSink())
        guarded([&] { writeExcptLog(*lg, file, line, func, what.c_str()); });
}

void writeThrownRecord(char const* file, unsigned int line, char const* func,
                       std::string const& msg) noexcept {
    if (logger* lg = recordSink())
        guarded([&] { exceptionThrown(*lg, file, line, func, msg.c_str()); });
}

void writeConsoleLine(std::string const& line) noexcept {
    try {
        console::print(String(line));
    } catch (...) {
        // Printing a notice never throws on its caller's account.
    }
}

void flushLibraryLog() noexcept {
    if (logger* lg = libraryLogger()) guarded([&] { lg->flush(); });
}

RecordDeferral::RecordDeferral() noexcept {
    ++t_deferDepth;
}

RecordDeferral::~RecordDeferral() {
    if (--t_deferDepth != 0 || t_deferred.empty()) return;
    // Taken out first: looking up the logger may defer and deliver records of its own.
    std::vector<std::string> records;
    records.swap(t_deferred);
    guarded([&] {
        logger* lg = libraryLogger();
        if (lg == nullptr) return;
        for (std::string const& r : records) lg->writeAndPrint(istr(r.data(), r.size()));
        lg->flush();
    });
}

RecordSuppression::RecordSuppression() noexcept {
    ++t_suppressDepth;
}

RecordSuppression::~RecordSuppression() {
    --t_suppressDepth;
}

}  // namespace detail
}  // namespace zul
