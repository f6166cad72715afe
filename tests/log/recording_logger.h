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

class RecordingLogger : public zul::detail::SilentLogger {
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
    void infoOn(bool on) override { info_ = on; }
    bool infoOn() const override { return info_; }
    void debugOn(bool on) override { debug_ = on; }
    bool debugOn() const override { return debug_; }
    void traceOn(bool on) override { trace_ = on; }
    bool traceOn() const override { return debug_ && trace_; }
    std::string id() const override { return id_; }

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
