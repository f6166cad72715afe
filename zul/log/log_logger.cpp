// zul::loggerImpl: switches and settings, the record cache, the "logger" flush thread and the
// rotated log file.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>
#include <zul/base/alloc.h>
#include <zul/cfg/config_file.h>
#include <zul/log/console.h>
#include <zul/log/log_dumper.h>
#include <zul/log/log_logger_impl.h>
#include <zul/pml/pml_stream.h>
#include <zul/util/util_func.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ostream>

namespace zul {

bool g__debugDefined = false;

namespace {

using Lock = Guard_T<Mutex>;

constexpr char kTraceVariable[] = "ZUL_TRACE_ON";
constexpr char kLogSuffix[] = ".log";
constexpr char kDebugLogSuffix[] = ".debug.log";
constexpr char kDebugSuffix[] = ".debug";
constexpr char kBackupSuffix[] = ".bak";
constexpr long long kFlushPeriodSeconds = 1;

// The log file of one batch: opened once in append mode (created when missing), with its
// size tracked here, so that the rotation check before each record does not ask the file for
// its position. Records go to the file straight from the cache, many per write call.
class BatchFile {
  public:
    explicit BatchFile(String const& name) : name_(name) { open(); }
    ~BatchFile() {
        flushPending();
        if (fd_ >= 0) ::close(fd_);
    }
    BatchFile(BatchFile const&) = delete;
    BatchFile& operator=(BatchFile const&) = delete;

    // Moves the file to its ".bak" name first when `addLen` more bytes would take it past
    // `limit` (a record of `limit` bytes or more rotates any non-empty file).
    void rotateFor(unsigned long limit, unsigned long addLen) {
        if (fd_ < 0 || size_ < 0) return;
        if (static_cast<unsigned long>(size_) <= limit - std::min(limit, addLen)) return;
        flushPending();
        ::close(fd_);
        fd_ = -1;
        String const backup = name_ + kBackupSuffix;
        if (std::rename(name_.c_str(), backup.c_str()) != 0) {
            // The same file goes on growing; every later record tries again.
            console::print("rename log file to " + backup + " failure: " + getLastErrorMsg() +
                           "\n");
            console::flush();
        }
        open();
    }

    // The record's bytes must stay in place until the next rotation or the end of the batch.
    void write(String const& record) {
        if (fd_ < 0 || record.empty()) return;
        iov_[pending_].iov_base = const_cast<char*>(record.data());
        iov_[pending_].iov_len = record.size();
        if (++pending_ == kMaxPending) flushPending();
        if (size_ >= 0) size_ += static_cast<long long>(record.size());
    }

  private:
    void open() {
        fd_ = ::open(name_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        size_ = -1;
        struct stat st;
        if (fd_ >= 0 && ::fstat(fd_, &st) == 0) size_ = st.st_size;
    }

    // Writes the gathered records; what cannot be written is lost with the batch.
    void flushPending() {
        struct iovec* v = iov_;
        int n = static_cast<int>(pending_);
        pending_ = 0;
        while (fd_ >= 0 && n > 0) {
            ssize_t done = ::writev(fd_, v, n);
            if (done < 0) {
                if (errno == EINTR) continue;
                return;
            }
            while (n > 0 && static_cast<size_t>(done) >= v->iov_len) {
                done -= static_cast<ssize_t>(v->iov_len);
                ++v;
                --n;
            }
            if (n > 0) {
                v->iov_base = static_cast<char*>(v->iov_base) + done;
                v->iov_len -= static_cast<size_t>(done);
            }
        }
    }

    static constexpr size_t kMaxPending = 512;  // records per write call (IOV_MAX is 1024)
    String const& name_;
    int fd_ = -1;
    long long size_ = -1;  // unknown below 0
    struct iovec iov_[kMaxPending];
    size_t pending_ = 0;
};

// "x.log" -> "x.debug.log"; anything else gets ".debug".
String debugNameFor(String const& name) {
    String const suffix(kLogSuffix);
    if (name.size() >= suffix.size() &&
        name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        return name.substr(0, name.size() - suffix.size()) + kDebugLogSuffix;
    }
    return name + kDebugSuffix;
}

// The entry of `name`, else of "default"; null when neither exists.
Bit const* msgEntry(std::map<String, Bit> const& m, String const& name) {
    auto it = m.find(name);
    if (it == m.end()) it = m.find(String("default"));
    return it == m.end() ? nullptr : &it->second;
}

}  // namespace

// ---- FlushLogThread -----------------------------------------------------------------------

loggerImpl::FlushLogThread::FlushLogThread(loggerImpl* lg)
    : SimpleThread(nullptr, "logger"), logger_(lg) {}

bool loggerImpl::FlushLogThread::onWait() {
    logger_->waitForPass(Time::seconds(kFlushPeriodSeconds));
    return true;
}

void loggerImpl::FlushLogThread::onWork() {
    logger_->onTimer();
}

void loggerImpl::FlushLogThread::onStop() {
    logger_->wakeFlusher();
}

// ---- construction and copying -------------------------------------------------------------

loggerImpl::loggerImpl() : consoleOn_(g__debugDefined), wakeCond_(wakeMutex_) {}

loggerImpl::loggerImpl(loggerImpl const& other) : logger(other), wakeCond_(wakeMutex_) {
    copyFrom(other);
}

loggerImpl& loggerImpl::operator=(loggerImpl const& other) {
    if (this != &other) copyFrom(other);
    return *this;
}

loggerImpl::~loggerImpl() {
    stop();
    flush();
}

void loggerImpl::copySettings(loggerImpl& to, loggerImpl const& from) {
    to.infoOn_ = from.infoOn_;
    to.debugOn_ = from.debugOn_;
    to.traceOn_ = from.traceOn_;
    to.dataLogOn_ = from.dataLogOn_;
    to.debugLogOn_ = from.debugLogOn_;
    to.traceLogOn_ = from.traceLogOn_;
    to.diagLogOn_ = from.diagLogOn_;
    to.cmdLogOn_ = from.cmdLogOn_;
    to.commLogOn_ = from.commLogOn_;
    to.hbLogOn_ = from.hbLogOn_;
    to.appLogOn_ = from.appLogOn_;
    to.appLogs_ = from.appLogs_;
    to.msgLogOn_ = from.msgLogOn_;
    to.msgLogs_ = from.msgLogs_;
    to.useLogfile_ = from.useLogfile_;
    to.filename_ = from.filename_;
    to.useDebugLogfile_ = from.useDebugLogfile_;
    to.filenameDebug_ = from.filenameDebug_;
    to.maxNumofMsg_ = from.maxNumofMsg_;
    to.maxCacheSize_ = from.maxCacheSize_;
    to.consoleOn_ = from.consoleOn_;
    to.mlcOn_ = from.mlcOn_;
    to.hook_.store(from.hook_.load());
    to.setId_i(from.id_);
    to.inited_ = from.inited_;
}

void loggerImpl::copyFrom(loggerImpl const& other) {
    // Taken in two steps (the two locks are never held together), then installed.
    loggerImpl tmp;  // never started: holds the copied values only
    {
        Lock lock(other.settingsMutex_);
        copySettings(tmp, other);
    }
    {
        Lock lock(other.cacheMutex_);
        tmp.cache_ = other.cache_;
        tmp.currSize_ = other.currSize_;
        tmp.cacheDebug_ = other.cacheDebug_;
        tmp.currSizeDebug_ = other.currSizeDebug_;
    }
    {
        Lock lock(settingsMutex_);
        copySettings(*this, tmp);
    }
    Lock lock(cacheMutex_);
    cache_.swap(tmp.cache_);
    currSize_ = tmp.currSize_;
    cacheDebug_.swap(tmp.cacheDebug_);
    currSizeDebug_ = tmp.currSizeDebug_;
    // What this logger held before is replaced, not written: the temporary must not flush it.
    tmp.cache_.clear();
    tmp.filename_.clear();
    tmp.consoleOn_ = false;
}

void loggerImpl::get(loggerImpl& other) const {
    other.copyFrom(*this);
}

void loggerImpl::set(loggerImpl const& other) {
    if (this != &other) copyFrom(other);
}

loggerImpl& loggerImpl::init(std::string const& id) {
    {
        Lock lock(settingsMutex_);
        if (inited_) return *this;
        inited_ = true;
        // Stored first, so that records written while the settings are read show it.
        setId_i(id);
    }
    try {
        reload();
    } catch (...) {
        // A configuration that cannot be read leaves the defaults; its reader recorded why.
    }
    return *this;
}

void loggerImpl::id(std::string const& id) {
    Lock lock(settingsMutex_);
    setId_i(id);
}

void loggerImpl::setId_i(std::string const& id) {
    id_ = id;
    std::string const* current = idView_.load(std::memory_order_relaxed);
    if (current != nullptr && *current == id) return;
    // Every record header shows the identifier: readers take a published copy without a lock.
    // Copies stay until the logger goes, since a reader may still hold the one it took.
    idVersions_.push_back(id);
    idView_.store(&idVersions_.back(), std::memory_order_release);
}

std::string loggerImpl::id() const {
    std::string const* view = idView_.load(std::memory_order_acquire);
    return view != nullptr ? *view : std::string();
}

void loggerImpl::recordHook(RecordHook* hook) {
    Lock lock(settingsMutex_);
    hook_.store(hook, std::memory_order_release);
}

// ---- settings -----------------------------------------------------------------------------

void loggerImpl::reload() {
    ConfigFile* cfg = ConfigFile::instance();
    if (cfg->empty()) return;
    pml::ntv::Unit const& log = cfg->mps()["log"];
    pml::stream in(log);
    codec(in);
}

void loggerImpl::reload(istr const& path) {
    ConfigFile::instance()->load(path);
    reload();
}

void loggerImpl::codec(pml::stream& s) {
    Lock lock(settingsMutex_);
    pml::bind(s, "infoOn", infoOn_);
    pml::bind(s, "debugOn", debugOn_);
    pml::bind(s, "traceOn", traceOn_);
    pml::bind(s, "dataLogOn", dataLogOn_);
    pml::bind(s, "debugLogOn", debugLogOn_);
    pml::bind(s, "traceLogOn", traceLogOn_);
    pml::bind(s, "diagLogOn", diagLogOn_);
    pml::bind(s, "cmdLogOn", cmdLogOn_);
    pml::bind(s, "commLogOn", commLogOn_);
    pml::bind(s, "hbLogOn", hbLogOn_);
    pml::bind(s, "appLogOn", appLogOn_);
    pml::bind(s, "appLogs", appLogs_);
    pml::bind(s, "msgLogOn", msgLogOn_);
    pml::bind(s, "msgLogs", msgLogs_);
    pml::bind(s, "useLogfile", useLogfile_);
    if (!s.isInputStream() || !s.isEmptyChild("filename")) pml::bind(s, "filename", filename_);
    pml::bind(s, "useDebugLogfile", useDebugLogfile_);
    if (!s.isInputStream() || !s.isEmptyChild("filenameDebug"))
        pml::bind(s, "filenameDebug", filenameDebug_);
    pml::bind(s, "maxNumofMsg", maxNumofMsg_);
    pml::bind(s, "maxCacheSize", maxCacheSize_);
    pml::bind(s, "consoleOn", consoleOn_);
    pml::bind(s, "mlcOn", mlcOn_);
}

void loggerImpl::setMaxCacheSize(unsigned long bytes) {
    maxCacheSize_ = bytes;
}
void loggerImpl::setMaxNumofMsg(unsigned long count) {
    maxNumofMsg_ = count;
}
void loggerImpl::infoOn(bool on) {
    infoOn_ = on;
}
bool loggerImpl::infoOn() const {
    return infoOn_;
}
void loggerImpl::debugOn(bool on) {
    debugOn_ = on;
}
bool loggerImpl::debugOn() const {
    return debugOn_;
}
void loggerImpl::traceOn(bool on) {
    if (on && getenv(kTraceVariable) != "on") return;
    traceOn_ = on;
}
bool loggerImpl::traceOn() const {
    return debugOn() && traceOn_;
}
bool loggerImpl::dataLogOn() const {
    return debugOn() && dataLogOn_;
}
bool loggerImpl::debugLogOn() const {
    return debugOn() && debugLogOn_;
}
bool loggerImpl::traceLogOn() const {
    return debugOn() && traceLogOn_;
}
bool loggerImpl::diagLogOn() const {
    return debugOn() && diagLogOn_;
}
bool loggerImpl::cmdLogOn() const {
    return debugOn() && cmdLogOn_;
}
bool loggerImpl::commLogOn() const {
    return debugOn() && commLogOn_;
}
bool loggerImpl::hbLogOn() const {
    return debugOn() && hbLogOn_;
}
void loggerImpl::appLogOn(bool on) {
    appLogOn_ = on;
}
bool loggerImpl::appLogOn() const {
    return appLogOn_;
}
void loggerImpl::logOn(String const& name, bool on) {
    Lock lock(settingsMutex_);
    appLogs_[name] = Bit(on);
}
bool loggerImpl::logOn(String const& name) const {
    if (!appLogOn()) return false;
    Lock lock(settingsMutex_);
    auto it = appLogs_.find(name);
    return it != appLogs_.end() && it->second.value;
}
bool loggerImpl::logOff(String const& name) const {
    if (!appLogOn()) return true;
    Lock lock(settingsMutex_);
    auto it = appLogs_.find(name);
    return it != appLogs_.end() && !it->second.value;
}
void loggerImpl::msgLogOn(bool on) {
    msgLogOn_ = on;
}
bool loggerImpl::msgLogOn() const {
    return debugOn() && msgLogOn_;
}
void loggerImpl::msgOn(String const& name, bool on) {
    Lock lock(settingsMutex_);
    msgLogs_[name] = Bit(on);
}
bool loggerImpl::msgOn(String const& name) const {
    if (!msgLogOn()) return false;
    Lock lock(settingsMutex_);
    Bit const* entry = msgEntry(msgLogs_, name);
    return entry != nullptr && entry->value;
}
bool loggerImpl::msgOff(String const& name) const {
    if (!msgLogOn()) return true;
    Lock lock(settingsMutex_);
    Bit const* entry = msgEntry(msgLogs_, name);
    return entry != nullptr && !entry->value;
}
void loggerImpl::useLogfile(bool on) {
    useLogfile_ = on;
}
bool loggerImpl::useLogfile() const {
    return useLogfile_;
}
void loggerImpl::filename(istr const& path) {
    Lock lock(settingsMutex_);
    filename_ = String(path);
    updateDebugFilename();
}
String loggerImpl::filename() const {
    Lock lock(settingsMutex_);
    return filename_;
}
void loggerImpl::useDebugLogfile(bool on) {
    useDebugLogfile_ = on;
}
bool loggerImpl::useDebugLogfile() const {
    return useDebugLogfile_;
}
void loggerImpl::debugFilename(istr const& path) {
    Lock lock(settingsMutex_);
    filenameDebug_ = String(path);
}
String loggerImpl::debugFilename() const {
    Lock lock(settingsMutex_);
    return filenameDebug_;
}
void loggerImpl::consoleOn(bool on) {
    consoleOn_ = on;
}
bool loggerImpl::consoleOn() const {
    return consoleOn_;
}
void loggerImpl::mlcOn(bool on) {
    mlcOn_ = on;
}
bool loggerImpl::mlcOn() const {
    return mlcOn_;
}

void loggerImpl::updateDebugFilename() {
    filenameDebug_ = debugNameFor(filename_);
}

// ---- writing ------------------------------------------------------------------------------

void loggerImpl::writeAndPrint(istr const& record) {
    write(record);
    if (consoleOn()) console::print(record.data, record.size);
}

void loggerImpl::write(istr const& record) {
    write(record.data, record.size);
}

void loggerImpl::write(char const* data, unsigned long size) {
    writeCache(data, size);
    writeCallback(istr(data, size));
}

void loggerImpl::writeCache(char const* data, unsigned long size) {
    bool wake = false;
    {
        Lock lock(cacheMutex_);
        if (spare_.empty()) {
            cache_.emplace_back(data != nullptr ? data : "", data != nullptr ? size : 0);
        } else {
            // A node (and the string's buffer) that held a record already written.
            cache_.splice(cache_.end(), spare_, spare_.begin());
            cache_.back().assign(data != nullptr ? data : "", data != nullptr ? size : 0);
        }
        if (cache_.size() >= maxNumofMsg_) {
            wake = true;
        } else {
            currSize_ += size;
            wake = currSize_ >= maxCacheSize_;
        }
    }
    if (wake) flush_i();
}

void loggerImpl::writeCacheDebug(istr const& record) {
    bool wake = false;
    {
        Lock lock(cacheMutex_);
        cacheDebug_.emplace_back(record);
        if (cacheDebug_.size() >= maxNumofMsg_) {
            wake = true;
        } else {
            currSizeDebug_ += record.size;
            wake = currSizeDebug_ >= maxCacheSize_;
        }
    }
    if (wake) flush_i();
}

void loggerImpl::writeCallback(istr const& record) {
    if (RecordHook* hook = hook_.load(std::memory_order_acquire)) hook->onRecord(record);
}

unsigned long loggerImpl::cachedRecords() const {
    Lock lock(cacheMutex_);
    return static_cast<unsigned long>(cache_.size());
}

// ---- flushing -----------------------------------------------------------------------------

void loggerImpl::flush() {
    if (flusherRunning_.load(std::memory_order_acquire))
        flush_i();
    else
        onTimer();
}

void loggerImpl::flush_i() {
    if (!flusherRunning_.load(std::memory_order_acquire)) return;
    // Free when a pass is already due: the flush thread will see this record too.
    if (due_.load(std::memory_order_relaxed) || due_.exchange(true, std::memory_order_acq_rel))
        return;
    wakeFlusher();
}

void loggerImpl::wakeFlusher() {
    Lock lock(wakeMutex_);
    wakeCond_.signal();
}

void loggerImpl::waitForPass(Time const& t) {
    Lock lock(wakeMutex_);
    // A request made while the last pass ran is still due: the next pass follows at once.
    if (!due_.load(std::memory_order_acquire) && flusherRunning_.load(std::memory_order_acquire))
        wakeCond_.timedWait(t);
    due_.store(false, std::memory_order_release);
}

void loggerImpl::onTimer(void*) {
    if (consoleOn()) console::flush();
    String const file = filename();
    if (file.empty()) return;
    Lock fileLock(fileMutex_);
    std::list<String> batch;
    std::list<String> debugBatch;
    {
        Lock lock(cacheMutex_);
        batch.swap(cache_);
        currSize_ = 0;
        debugBatch.swap(cacheDebug_);
        currSizeDebug_ = 0;
    }
    flushCache(batch, file);
    recycle(batch);
}

void loggerImpl::recycle(std::list<String>& written) {
    // The nodes of written records, with their string buffers, go back to the writers: a
    // record then costs no allocation on one thread and release on another. A bounded number
    // of small ones is kept; the others are released here.
    size_t room = 0;
    {
        Lock lock(cacheMutex_);
        room = spare_.size() < kSpareRecords ? kSpareRecords - spare_.size() : 0;
    }
    std::list<String> keep;
    while (room > 0 && !written.empty()) {
        if (written.front().capacity() <= kSpareRecordBytes) {
            keep.splice(keep.end(), written, written.begin());
            --room;
        } else {
            written.pop_front();
        }
    }
    Lock lock(cacheMutex_);
    spare_.splice(spare_.end(), keep);
}

void loggerImpl::flushCache(std::list<String>& records, String const& file) {
    if (records.empty() || file.empty()) return;
    BatchFile out(file);
    for (String const& r : records) {
        out.rotateFor(kMaxLogFileSize, static_cast<unsigned long>(r.size()));
        out.write(r);
    }
}

void loggerImpl::start() {
    flush();
    Lock lock(threadMutex_);
    if (flushThread_) return;
    Handle<FlushLogThread> h(
        allocate_push_maybe(allocate_no_mlc<FlushLogThread>(__FILE__, __LINE__, "start", this),
                            __FILE__, __LINE__, "start"));
    flusherRunning_.store(true, std::memory_order_release);
    h->startAndWait(0);
    flushThread_ = h;
}

bool loggerImpl::stop() {
    Lock lock(threadMutex_);
    if (!flushThread_) return true;
    flusherRunning_.store(false, std::memory_order_release);
    wakeFlusher();
    stopThread(flushThread_);
    return true;
}

void loggerImpl::close() {
    stop();
    flush();
}

// ---- dumping ------------------------------------------------------------------------------

void loggerImpl::dump(std::ostream& os) const {
    dumper d(os);
    dump(d);
}

void loggerImpl::dump(dumper& d) const {
    loggerImpl copy(*this);  // a consistent picture, taken under the two locks in turn
    dumper::_Entry entry(d, "zul::loggerImpl");
    auto field = [&d](char const* name, auto const& value) {
        d << indent << namestring(name) << value << endline;
    };
    field("infoOn_", static_cast<bool>(copy.infoOn_));
    field("debugOn_", static_cast<bool>(copy.debugOn_));
    field("traceOn_", static_cast<bool>(copy.traceOn_));
    field("dataLogOn_", static_cast<bool>(copy.dataLogOn_));
    field("debugLogOn_", static_cast<bool>(copy.debugLogOn_));
    field("traceLogOn_", static_cast<bool>(copy.traceLogOn_));
    field("diagLogOn_", static_cast<bool>(copy.diagLogOn_));
    field("cmdLogOn_", static_cast<bool>(copy.cmdLogOn_));
    field("commLogOn_", static_cast<bool>(copy.commLogOn_));
    field("hbLogOn_", static_cast<bool>(copy.hbLogOn_));
    field("appLogOn_", static_cast<bool>(copy.appLogOn_));
    field("appLogs_", copy.appLogs_);
    field("msgLogOn_", static_cast<bool>(copy.msgLogOn_));
    field("msgLogs_", copy.msgLogs_);
    field("useLogfile_", static_cast<bool>(copy.useLogfile_));
    field("filename_", copy.filename_);
    field("useDebugLogfile_", static_cast<bool>(copy.useDebugLogfile_));
    field("filenameDebug_", copy.filenameDebug_);
    field("maxNumofMsg_", static_cast<unsigned long>(copy.maxNumofMsg_));
    field("maxCacheSize_", static_cast<unsigned long>(copy.maxCacheSize_));
    field("consoleOn_", static_cast<bool>(copy.consoleOn_));
    field("mlcOn_", static_cast<bool>(copy.mlcOn_));
    field("cache_", copy.cache_);
    field("currSize_", copy.currSize_);
    field("cacheDebug_", copy.cacheDebug_);
    field("currSizeDebug_", copy.currSizeDebug_);
    field("id_", copy.id_);
    field("inited_", copy.inited_);
    // The copy's destructor must not write the copied records, nor flush the console.
    copy.filename(istr(""));
    copy.consoleOn_ = false;
}

}  // namespace zul
