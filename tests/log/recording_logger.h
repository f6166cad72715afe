// A logger for tests: keeps every record it is given, in order, and lets a test set the
// switches. Installed as the library logger through ScopedLibraryLogger.
#pragma once

#include <zul/base/log_seam.h>
#include <zul/log/log_logger.h>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace zul_test {

class RecordingLogger : public zul::logger {
  public:
    explicit RecordingLogger(std::string id = "ZUL") : id_(std::move(id)) {}

    /// Every record written so far, in order.
    std::vector<std::string> records() const {
        std::lock_guard<std::mutex> g(m_);
        return records_;
    }
    /// The records that contain `needle`.
    std::vector<std::string> matching(std::string const& needle) const {
        std::vector<std::string> out;
        for (auto& r : records())
            if (r.find(needle) != std::string::npos) out.push_back(r);
        return out;
    }
    size_t count(std::string const& needle) const { return matching(needle).size(); }
    void clear() {
        std::lock_guard<std::mutex> g(m_);
        records_.clear();
    }
    int flushes() const {
        std::lock_guard<std::mutex> g(m_);
        return flushes_;
    }

    void close() override {}
    void start() override {}
    bool stop() override { return true; }
    void reload() override {}
    void reload(zul::istr const&) override {}
    void writeAndPrint(zul::istr const& r) override { write(r); }
    void write(zul::istr const& r) override { write(r.data, r.size); }
    void write(char const* data, unsigned long size) override {
        std::lock_guard<std::mutex> g(m_);
        records_.emplace_back(data ? data : "", data ? size : 0);
    }
    void flush() override {
        std::lock_guard<std::mutex> g(m_);
        ++flushes_;
    }
    void setMaxCacheSize(unsigned long) override {}
    void setMaxNumofMsg(unsigned long) override {}
    void infoOn(bool on) override { info_ = on; }
    bool infoOn() const override { return info_; }
    void debugOn(bool on) override { debug_ = on; }
    bool debugOn() const override { return debug_; }
    void traceOn(bool on) override { trace_ = on; }
    bool traceOn() const override { return debug_ && trace_; }
    bool dataLogOn() const override { return false; }
    bool debugLogOn() const override { return false; }
    bool traceLogOn() const override { return false; }
    bool diagLogOn() const override { return false; }
    bool cmdLogOn() const override { return false; }
    bool commLogOn() const override { return false; }
    bool hbLogOn() const override { return false; }
    void appLogOn(bool) override {}
    bool appLogOn() const override { return true; }
    void logOn(zul::String const&, bool) override {}
    bool logOn(zul::String const&) const override { return false; }
    bool logOff(zul::String const&) const override { return false; }
    void msgLogOn(bool) override {}
    bool msgLogOn() const override { return false; }
    void msgOn(zul::String const&, bool) override {}
    bool msgOn(zul::String const&) const override { return false; }
    bool msgOff(zul::String const&) const override { return false; }
    void useLogfile(bool) override {}
    bool useLogfile() const override { return false; }
    void filename(zul::istr const&) override {}
    zul::String filename() const override { return zul::String(); }
    void useDebugLogfile(bool) override {}
    bool useDebugLogfile() const override { return false; }
    void debugFilename(zul::istr const&) override {}
    zul::String debugFilename() const override { return zul::String(); }
    void consoleOn(bool) override {}
    bool consoleOn() const override { return false; }
    void mlcOn(bool) override {}
    bool mlcOn() const override { return false; }
    std::string id() const override { return id_; }
    void codec(zul::pml::stream&) override {}
    void dump(std::ostream&) const override {}
    void dump(zul::dumper&) const override {}

  private:
    mutable std::mutex m_;
    std::vector<std::string> records_;
    int flushes_ = 0;
    std::string id_;
    std::atomic<bool> info_{true};
    std::atomic<bool> debug_{true};
    std::atomic<bool> trace_{false};
};

/// Installs a RecordingLogger as the library logger for the life of this object.
class ScopedLibraryLogger {
  public:
    ScopedLibraryLogger() : previous_(zul::detail::setLibraryLogger(&logger_)) {}
    ~ScopedLibraryLogger() { zul::detail::setLibraryLogger(previous_); }
    ScopedLibraryLogger(ScopedLibraryLogger const&) = delete;
    ScopedLibraryLogger& operator=(ScopedLibraryLogger const&) = delete;

    RecordingLogger& operator*() { return logger_; }
    RecordingLogger* operator->() { return &logger_; }

  private:
    RecordingLogger logger_;
    zul::logger* previous_;
};

}  // namespace zul_test
