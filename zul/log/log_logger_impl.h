// zul::loggerImpl: the logger behind every identifier. Switches, a record cache, a background
// flush thread named "logger", and a log file rotated to ".bak" before it passes 3 MiB.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/log/log_logger.h>
#include <zul/mt/handle.h>
#include <zul/base/mutex.h>
#include <zul/mt/sync.h>
#include <zul/mt/thread.h>

#include <atomic>
#include <cstddef>
#include <iosfwd>
#include <list>
#include <map>
#include <string>

namespace zul {

/// The default of every new logger's console echo; set it before the first logger lookup.
ZUL_API extern bool g__debugDefined;

/// The logger. Any thread may write; writers only append to the cache. The file is written
/// in batches, with no lock that writers take, by the flush thread (after start()) or by the
/// thread that calls flush() while there is none.
///
/// Locks: the cache lock guards the caches and their byte counts; the settings lock guards
/// the settings, the maps, the file names, the identifier and codec(). The two are never held
/// together. The file lock serialises batches (a batch is taken from the cache and written
/// under it, so batches reach the file whole and in order) and is taken before the cache
/// lock, never after it.
class ZUL_API loggerImpl : public logger {
  public:
    /// The log file is moved to its ".bak" name before a record would take it past this.
    static constexpr unsigned long kMaxLogFileSize = 3145728;

    /// The receiver of every record written, after it is cached.
    class RecordHook {
      public:
        /// Called on the writing thread for each record, once it is cached, with no lock of
        /// the logger held; `record` is valid only during the call.
        virtual void onRecord(istr const& record) = 0;

      protected:
        /// The logger never deletes its hook.
        ~RecordHook() = default;
    };

    /// The flush thread: waits up to a second or until woken, then runs one flush pass.
    class ZUL_API FlushLogThread : public SimpleThread {
      public:
        /// A thread named "logger", with no owner, for `lg`, which must outlive it; made and
        /// started by start().
        explicit FlushLogThread(loggerImpl* lg);

      protected:
        /// Waits until a pass is asked for, the thread is stopped or a second passes; returns true.
        bool onWait() override;
        /// Runs one flush pass (onTimer()).
        void onWork() override;
        /// Wakes the waiting thread, so that stop() need not wait out the second.
        void onStop() override;

      private:
        loggerImpl* logger_;
    };

    /// Every setting at its default, the console echo from g__debugDefined, no file name, no
    /// identifier, no flush thread.
    loggerImpl();
    /// Copies the settings, both caches, the hook, the identifier and inited_; never the
    /// flush thread.
    loggerImpl(loggerImpl const& other);
    /// Takes the settings, both caches, the hook, the identifier and inited_ of `other`; the
    /// records this logger had cached are dropped unwritten, and its flush thread stays.
    loggerImpl& operator=(loggerImpl const& other);
    /// Stops the flush thread, then writes what is cached.
    virtual ~loggerImpl();

    /// On the first call only: stores `id`, then reads the settings from the configuration
    /// file (a configuration that cannot be read leaves the defaults). Later calls do nothing.
    /// Returns the logger.
    loggerImpl& init(std::string const& id);
    /// Stores the identifier.
    void id(std::string const& id);
    ///@{

    /// Copies into `other` / from `other` what operator= copies.
    void get(loggerImpl& other) const;
    void set(loggerImpl const& other);
    ///@}

    /// Installs the record hook (null removes it); the hook must outlive the logger's use.
    void recordHook(RecordHook* hook);

    // ---- the interface ----
    void close() override;
    void start() override;
    bool stop() override;
    void reload() override;
    void reload(istr const& path) override;
    void writeAndPrint(istr const& record) override;
    void write(istr const& record) override;
    void write(char const* data, unsigned long size) override;
    void flush() override;
    void setMaxCacheSize(unsigned long bytes) override;
    void setMaxNumofMsg(unsigned long count) override;
    void infoOn(bool on) override;
    bool infoOn() const override;
    void debugOn(bool on) override;
    bool debugOn() const override;
    void traceOn(bool on) override;
    bool traceOn() const override;
    bool dataLogOn() const override;
    bool debugLogOn() const override;
    bool traceLogOn() const override;
    bool diagLogOn() const override;
    bool cmdLogOn() const override;
    bool commLogOn() const override;
    bool hbLogOn() const override;
    void appLogOn(bool on) override;
    bool appLogOn() const override;
    void logOn(String const& name, bool on) override;
    bool logOn(String const& name) const override;
    bool logOff(String const& name) const override;
    void msgLogOn(bool on) override;
    bool msgLogOn() const override;
    void msgOn(String const& name, bool on) override;
    bool msgOn(String const& name) const override;
    bool msgOff(String const& name) const override;
    void useLogfile(bool on) override;
    bool useLogfile() const override;
    /// Sets the file and derives the debug file name ("x.log" -> "x.debug.log", else
    /// ".debug" appended).
    void filename(istr const& path) override;
    String filename() const override;
    void useDebugLogfile(bool on) override;
    bool useDebugLogfile() const override;
    void debugFilename(istr const& path) override;
    String debugFilename() const override;
    void consoleOn(bool on) override;
    bool consoleOn() const override;
    void mlcOn(bool on) override;
    bool mlcOn() const override;
    std::string id() const override;
    void codec(pml::stream& s) override;
    void dump(std::ostream& os) const override;
    /// Type "zul::loggerImpl", then every field from infoOn_ to inited_ but the hook and the
    /// flush thread, from a copy taken under the locks.
    void dump(dumper& d) const override;

    /// Caches a record in the debug cache (same limits); every flush pass drops it unwritten.
    void writeCacheDebug(istr const& record);
    /// Records waiting in the cache.
    unsigned long cachedRecords() const;
    /// Whether a flush thread exists.
    bool flushing() const { return flusherRunning_.load(std::memory_order_acquire); }

    /// One flush pass: console flush when echoing, then the cache appended to the file and the
    /// debug cache dropped. Without a file name the records stay cached. The argument is unused.
    void onTimer(void* = nullptr);
    /// Appends `records` to `file` (opened once, in append mode), rotating before a record
    /// that would take it past kMaxLogFileSize. A file that cannot be opened loses the batch;
    /// a failed rename is reported on the console and the same file grows on.
    static void flushCache(std::list<String>& records, String const& file);

  private:
    friend class FlushLogThread;

    void writeCache(char const* data, unsigned long size);
    void writeCallback(istr const& record);
    /// Asks the flush thread for a pass; nothing without one.
    void flush_i();
    /// The flush thread's wait: until a pass is asked for, the thread is stopped or `t` passes.
    void waitForPass(Time const& t);
    void wakeFlusher();
    void updateDebugFilename();
    void copyFrom(loggerImpl const& other);
    /// Every setting, the hook, the identifier and inited_ of `from` into `to` (the caller
    /// holds the settings locks it needs).
    static void copySettings(loggerImpl& to, loggerImpl const& from);
    /// Gives the nodes of written records back to the writers (bounded).
    void recycle(std::list<String>& written);
    /// Stores and publishes the identifier (the settings lock is held).
    void setId_i(std::string const& id);

    static constexpr size_t kSpareRecords = 16384;
    static constexpr size_t kSpareRecordBytes = 512;

    // The cache lock and what it guards.
    mutable Mutex cacheMutex_;
    // The settings lock and what it guards (the switches are also read without it).
    mutable Mutex settingsMutex_;
    volatile bool infoOn_ = true;
    volatile bool debugOn_ = true;
    volatile bool traceOn_ = false;
    volatile bool dataLogOn_ = false;
    volatile bool debugLogOn_ = false;
    volatile bool traceLogOn_ = false;
    volatile bool diagLogOn_ = false;
    volatile bool cmdLogOn_ = false;
    volatile bool commLogOn_ = false;
    volatile bool hbLogOn_ = false;
    volatile bool appLogOn_ = true;
    std::map<String, Bit> appLogs_;
    volatile bool msgLogOn_ = false;
    std::map<String, Bit> msgLogs_;
    volatile bool useLogfile_ = true;
    String filename_;
    volatile bool useDebugLogfile_ = true;
    String filenameDebug_;
    volatile unsigned long maxNumofMsg_ = 100;
    volatile unsigned long maxCacheSize_ = 32768;
    volatile bool consoleOn_;
    volatile bool mlcOn_ = false;
    std::list<String> cache_;
    unsigned long currSize_ = 0;
    std::list<String> cacheDebug_;
    unsigned long currSizeDebug_ = 0;
    std::atomic<RecordHook*> hook_{nullptr};
    Handle<FlushLogThread> flushThread_;
    std::string id_;
    bool inited_ = false;

    // Nodes of written records, reused by writers (guarded by the cache lock).
    std::list<String> spare_;
    // Every identifier this logger had; idView_ points at the current one.
    std::list<std::string> idVersions_;
    std::atomic<std::string const*> idView_{nullptr};

    // Flush thread control: a pass is due; the flush thread exists; its wait.
    std::atomic<bool> due_{false};
    std::atomic<bool> flusherRunning_{false};
    Mutex wakeMutex_;
    ConditionVariable<Mutex> wakeCond_;
    // Serialises batches (see the class comment).
    Mutex fileMutex_;
    // Serialises start() and stop(), which own the flush thread's handle.
    Mutex threadMutex_;
};

}  // namespace zul
