// zul::MemLeakChecker: records of live allocations made through the allocation helpers,
// keyed by address and labelled with the allocating site.
#pragma once

#include <zul/base/alloc.h>
#include <zul/base/api.h>
#include <zul/base/call_stack.h>
#include <zul/base/mutex.h>

#include <atomic>
#include <cstddef>
#include <iosfwd>
#include <map>

namespace zul {

/// The lock that guards the checker's records and its instance pointer.
using MemLeakMutex = Mutex;

/// Process-wide record of allocations made through the helpers of <zul/base/alloc.h>.
/// Records are kept only between start() and stop(); the checker itself is never recorded.
/// Its storage is never freed: stop() and destroy() empty it in place, so that a pointer
/// another thread read earlier stays usable.
class ZUL_API MemLeakChecker {
  public:
    /// The process-wide checker, created (stopped) on first use; never null on return.
    static MemLeakChecker*& instance() {
        if (__atomic_load_n(&g__inst, __ATOMIC_ACQUIRE) != nullptr) return g__inst;
        return create_i();
    }
    /// The mutex that guards the records and the instance pointer.
    static MemLeakMutex& mtxInstance();
    /// Discards the records without a report and stops the checker; no-op when absent.
    static void destroy();

    /// Starts keeping records.
    void start();
    /// Stops keeping records, writes the report as an information record when the library
    /// logger's infoOn() is true, and discards the records: instance() then gives a stopped
    /// checker without records.
    void stop();
    ///@{

    /// Turns on or off the echo of every record ("+++ ") and release ("--- ") on the console;
    /// the records themselves are kept either way.
    void dumpOn() { dumpOn_ = true; }
    void dumpOff() { dumpOn_ = false; }
    ///@}

    /// True between start() and stop().
    bool started() const { return started_; }
    /// True while records and releases are echoed on the console.
    bool dumping() const { return dumpOn_; }

    /// Records `p` as allocated at the site (replacing an older record); no-op when stopped.
    void push(void* p, char const* file, unsigned int line, char const* func);
    /// Removes the record of `p`. True when stopped or when `p` was recorded; false for a
    /// null or unknown `p` (an unknown one is also noticed on the console).
    bool pop(void* p, char const* file, unsigned int line, char const* func);

    ///@{

    /// Number of records held.
    std::size_t size() const;
    std::size_t count() const { return size(); }
    ///@}

    /// Number of records held for one allocating site.
    std::size_t count(Current const& site) const;

    /// The report through a standard dumper over `os`; returns `os`.
    std::ostream& dump(std::ostream& os) const;
    /// The report: the object "zul::MemLeakChecker" with the leaks counted per site, or a
    /// congratulation when there are none.
    void dump(zul::dumper& d) const;

  private:
    MemLeakChecker() = default;
    ~MemLeakChecker() = default;
    MemLeakChecker(MemLeakChecker const&) = delete;
    MemLeakChecker& operator=(MemLeakChecker const&) = delete;

    static MemLeakChecker*& create_i();
    /// Back to a fresh, stopped checker; the mutex must be held.
    void reset_i();

    std::map<void*, Current> records_;
    std::atomic<bool> started_{false};
    std::atomic<bool> dumpOn_{false};

    static MemLeakChecker* g__inst;
};

}  // namespace zul
