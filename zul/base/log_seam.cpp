// The library's record seam: every record of the library's own modules passes through here.
#include <zul/base/log_seam.h>
#include <zul/log/log_logger.h>

#include <atomic>

namespace zul {
namespace detail {
namespace {

std::atomic<logger*> g_libraryLogger{nullptr};

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
