// zul::Time: clocks, the calendar form, the date-time and duration texts and their parsing.
// Local time comes from a per-thread cache of the current local hour, kept exact across
// zone changes (see LocalHourCache).
#include <ace/OS_NS_sys_time.h>
#include <ace/OS_NS_time.h>
#include <ace/Time_Value.h>
#include <sys/select.h>
#include <zul/base/base_type_time.h>
#include <zul/base/exception.h>
#include <zul/base/raise.h>
#include <zul/base/record_position.h>
#include <ace/Guard_T.h>
#include <ace/Thread_Mutex.h>
#include <zul/platform/bounds_checked.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ostream>

namespace zul {

namespace {

// Where the failures of this file say they come from: fixed by the record format.
struct RecordPositions {
    detail::RecordPosition detailFailed{__FILE__, 75, "Detail"};
    detail::RecordPosition nowFailed{__FILE__, 170, "now"};
};
constexpr RecordPositions kRecordPositions{};

constexpr long long kMicrosPerSecond = 1000000LL;
constexpr unsigned long long kMicrosPerDay = 86400000000ULL;
constexpr size_t kWorkBufferSize = 64;

std::atomic<bool (*)(long long, std::tm*)> g_localTimeHook{nullptr};
std::atomic<int (*)(timeval*)> g_clockHook{nullptr};

// Serialises the C library's zone state: tzset() rewrites it without a lock of its own that
// other threads could see, and localtime_r and mktime read it. Taken only on the slow paths
// (a new zone, a new hour, a text parsed back into a time).
ACE_Thread_Mutex& zoneMutex() {
    static ACE_Thread_Mutex m;
    return m;
}

bool platformLocalTime(long long seconds, std::tm* out) {
    const time_t t = static_cast<time_t>(seconds);
    ACE_Guard<ACE_Thread_Mutex> lock(zoneMutex());
    return ACE_OS::localtime_r(&t, out) != nullptr;
}

// ---------------------------------------------------------------------------------------
// Local time with a per-thread cache.
//
// localtime_r takes a process-wide lock and searches the zone's transitions on every call.
// Inside one local hour without a zone transition the broken-down time only differs in
// minutes and seconds, so each thread remembers the hour of its last conversion and derives
// the other seconds of it by arithmetic. An hour is only cached after both of its ends were
// converted by the C library and agree with that arithmetic (same UTC offset, minute 0
// second 0 at the start and minute 59 second 59 at the end), so a transition or a leap
// second inside it leaves it uncached. The cache is keyed by the TZ text it was filled
// under: when TZ differs, tzset() brings the C library to the new zone first, so results
// always follow the zone the program set.

constexpr size_t kZoneKeySize = 128;
constexpr long long kHourSeconds = 3600;

struct LocalHourCache {
    bool valid;
    bool zoneSet;             // TZ was present when the cache was filled
    char zone[kZoneKeySize];  // its text
    long long start;          // first second of the cached span
    long long length;         // seconds in the span (3600, or 1 near a transition)
    std::tm base;             // local time at `start`
};

// Zero-initialised plain data: no construction guard on access.
thread_local LocalHourCache t_hourCache;

bool sameZone(const LocalHourCache& c, const char* tz) {
    if (tz == nullptr) return !c.zoneSet;
    return c.zoneSet && std::strcmp(c.zone, tz) == 0;
}

// Makes the cache follow `tz`; false when the text is too long to key a cache.
bool rekey(LocalHourCache& c, const char* tz) {
    c.valid = false;
    {
        ACE_Guard<ACE_Thread_Mutex> lock(zoneMutex());
        ::tzset();
    }
    if (tz == nullptr) {
        c.zoneSet = false;
        c.zone[0] = '\0';
        return true;
    }
    const size_t n = std::strlen(tz);
    if (n >= kZoneKeySize) return false;
    c.zoneSet = true;
    memcpy_s(c.zone, n + 1, tz, n + 1);
    return true;
}

bool sameLocalHour(const std::tm& a, const std::tm& b) {
    return a.tm_year == b.tm_year && a.tm_yday == b.tm_yday && a.tm_hour == b.tm_hour &&
           a.tm_gmtoff == b.tm_gmtoff && a.tm_isdst == b.tm_isdst;
}

// Caches the span around `seconds`, whose local time is `tm`.
void fillHour(LocalHourCache& c, long long seconds, const std::tm& tm) {
    c.valid = true;
    c.start = seconds;
    c.length = 1;
    c.base = tm;
    if (tm.tm_sec > 59) return;  // a leap second: only itself
    const long long start = seconds - (tm.tm_min * 60LL + tm.tm_sec);
    std::tm first, last;
    if (!platformLocalTime(start, &first) || !platformLocalTime(start + kHourSeconds - 1, &last))
        return;
    if (!sameLocalHour(first, tm) || !sameLocalHour(last, tm)) return;
    if (first.tm_min != 0 || first.tm_sec != 0 || last.tm_min != 59 || last.tm_sec != 59) return;
    c.start = start;
    c.length = kHourSeconds;
    c.base = first;
}

bool localTime(long long seconds, std::tm* out) {
    if (auto hook = g_localTimeHook.load(std::memory_order_acquire)) return hook(seconds, out);
    LocalHourCache& c = t_hourCache;
    const char* tz = std::getenv("TZ");
    bool cacheable = true;
    if (!c.valid || !sameZone(c, tz)) {
        cacheable = rekey(c, tz);
    } else {
        const long long d = seconds - c.start;
        if (d >= 0 && d < c.length) {
            *out = c.base;
            out->tm_min = c.base.tm_min + static_cast<int>(d / 60);
            out->tm_sec = c.base.tm_sec + static_cast<int>(d % 60);
            return true;
        }
    }
    if (!platformLocalTime(seconds, out)) return false;
    if (cacheable) fillHour(c, seconds, *out);
    return true;
}

// ---------------------------------------------------------------------------------------
// Formatting

// Two decimal digits of 0-99.
inline char* put2(char* p, int v) {
    p[0] = static_cast<char>('0' + v / 10);
    p[1] = static_cast<char>('0' + v % 10);
    return p + 2;
}
inline char* put3(char* p, int v) {
    p[0] = static_cast<char>('0' + v / 100);
    return put2(p + 1, v % 100);
}

inline bool in(int v, int lo, int hi) {
    return v >= lo && v <= hi;
}

// The date-time text of `d` ("%04d-%02d-%02d %02d:%02d:%02d.%03d" and, with `micro`,
// "%03d" more) into `buf` (64 bytes); its length. Fields beyond fixed widths go to printf,
// so the text is always exactly what the format gives.
int writeDateTime(char* buf, const Time::Detail& d, bool micro) {
    if (!in(d.year, 0, 9999) || !in(d.month, 0, 99) || !in(d.day, 0, 99) || !in(d.hour, 0, 99) ||
        !in(d.minute, 0, 99) || !in(d.second, 0, 99) || !in(d.milliSecond, 0, 999) ||
        !in(d.microSecond, 0, 999)) {
        const char* fmt = micro ? Time::kFullDateTimeFormat : Time::kDateTimeFormat;
        const int n = d.toString(ostr(buf, kWorkBufferSize), fmt);
        return n < 0 ? 0 : static_cast<int>(std::strlen(buf));
    }
    char* p = put2(buf, d.year / 100);
    p = put2(p, d.year % 100);
    *p++ = '-';
    p = put2(p, d.month);
    *p++ = '-';
    p = put2(p, d.day);
    *p++ = ' ';
    p = put2(p, d.hour);
    *p++ = ':';
    p = put2(p, d.minute);
    *p++ = ':';
    p = put2(p, d.second);
    *p++ = '.';
    p = put3(p, d.milliSecond);
    if (micro) p = put3(p, d.microSecond);
    *p = '\0';
    return static_cast<int>(p - buf);
}

// "<INVALID DATETIME(count)>" into `buf` (64 bytes); its length.
int writeInvalid(char* buf, long long us) {
    const int n = snprintf_s(buf, kWorkBufferSize, "<INVALID DATETIME(%lld)>", us);
    return n < 0 ? 0 : n;
}

// The rendering shared by toFullDateTime and toDateTime, into a 64-byte `buf`.
int render(char* buf, const Time& t, bool micro) {
    try {
        const Time::Detail d(t);
        return writeDateTime(buf, d, micro);
    } catch (const InvalidDataException&) {
        return writeInvalid(buf, t.toMicroSeconds());
    }
}

constexpr char kNullText[] = "<null>";

// Saturating v - by, for the tm fields built from caller-supplied numbers.
int shifted(int v, int by) {
    const long long r = static_cast<long long>(v) - by;
    return r < INT_MIN ? INT_MIN : static_cast<int>(r);
}

unsigned long long magnitude(long long v) {
    return v < 0 ? 0ULL - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
}

}  // namespace

// ---------------------------------------------------------------------------------------
// Detail

Time::Detail::Detail(const Time& t) {
    const long long s = t.us_ / kMicrosPerSecond;
    std::tm tm;
    if (!localTime(s, &tm)) {
        ZUL_RAISE_AT(InvalidDataException, kRecordPositions.detailFailed, "InvalidDataException",
                     "InvalidDataException");
    }
    year = tm.tm_year + 1900;
    month = tm.tm_mon + 1;
    day = tm.tm_mday;
    hour = tm.tm_hour;
    minute = tm.tm_min;
    second = tm.tm_sec;
    const long long r = t.us_ - s * kMicrosPerSecond;
    milliSecond = static_cast<int32_t>(r / 1000);
    microSecond = static_cast<int32_t>(r - 1000LL * milliSecond);
}

Time::Detail::Detail(const istr& text, const char* format) : Detail() {
    char buf[kWorkBufferSize + 1];
    memset_s(buf, kWorkBufferSize, ' ', kWorkBufferSize);
    buf[kWorkBufferSize] = '\0';
    const size_t n = text.size < kWorkBufferSize ? text.size : kWorkBufferSize;
    if (n != 0) memcpy_s(buf, n, text.data, n);
    sscanf_s(buf, format, &year, &month, &day, &hour, &minute, &second, &milliSecond, &microSecond);
}

Time Time::Detail::toTime() const {
    std::tm tm;
    if (!localTime(0, &tm)) return Time(0);
    tm.tm_year = shifted(year, 1900);
    tm.tm_mon = shifted(month, 1);
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_sec = second;
    time_t m;
    {
        ACE_Guard<ACE_Thread_Mutex> lock(zoneMutex());
        m = ACE_OS::mktime(&tm);
    }
    // Wrapping arithmetic: absurd dates give absurd counts, never undefined behaviour.
    const unsigned long long us = static_cast<unsigned long long>(m) * 1000000ULL +
                                  static_cast<unsigned long long>(milliSecond * 1000LL) +
                                  static_cast<unsigned long long>(microSecond);
    return Time(static_cast<long long>(us));
}

int Time::Detail::toString(ostr out, const char* format) const {
    return snprintf_s(out.buffer, out.capacity, format, year, month, day, hour, minute, second,
                      milliSecond, microSecond);
}

// ---------------------------------------------------------------------------------------
// Clock

Time Time::now(Clock clock) {
    if (clock == Portable) {
        const ACE_Time_Value tv = ACE_OS::gettimeofday();
        return Time(static_cast<long long>(tv.sec()) * kMicrosPerSecond + tv.usec());
    }
    timeval tv;
    auto hook = g_clockHook.load(std::memory_order_acquire);
    const int rc = hook != nullptr ? hook(&tv) : ::gettimeofday(&tv, nullptr);
    if (rc != 0)
        throw ThreadSyscallException(kRecordPositions.nowFailed.file,
                                     kRecordPositions.nowFailed.line,
                                     kRecordPositions.nowFailed.func, errno);
    return Time(static_cast<long long>(tv.tv_sec) * kMicrosPerSecond + tv.tv_usec);
}

Time::operator timeval() const {
    timeval tv;
    tv.tv_sec = static_cast<time_t>(us_ / kMicrosPerSecond);
    tv.tv_usec = static_cast<suseconds_t>(us_ % kMicrosPerSecond);
    return tv;
}

void Time::sleep() const {
    if (us_ <= 0) return;
    timeval tv = *this;
    ::select(0, nullptr, nullptr, nullptr, &tv);
}

// ---------------------------------------------------------------------------------------
// Renderings

void Time::toFullDateTime(ostr out) const {
    out.clear();
    char buf[kWorkBufferSize];
    const int n = render(buf, *this, true);
    out.assign(buf, static_cast<size_t>(n));
}

void Time::toFullDateTime(String& out) const {
    char buf[kWorkBufferSize];
    const int n = render(buf, *this, true);
    out.assign(buf, static_cast<size_t>(n));
}

String Time::toFullDateTime() const {
    String s;
    toFullDateTime(s);
    return s;
}

void Time::toDateTime(ostr out) const {
    out.clear();
    if (us_ == 0) {
        out.assign(kNullText, sizeof kNullText - 1);
        return;
    }
    char buf[kWorkBufferSize];
    const int n = render(buf, *this, false);
    out.assign(buf, static_cast<size_t>(n));
}

void Time::toDateTime(String& out) const {
    if (us_ == 0) {
        out.assign(kNullText, sizeof kNullText - 1);
        return;
    }
    char buf[kWorkBufferSize];
    const int n = render(buf, *this, false);
    out.assign(buf, static_cast<size_t>(n));
}

String Time::toDateTime() const {
    String s;
    toDateTime(s);
    return s;
}

int Time::format(ostr out, const char* format) const {
    const Detail d(*this);
    return d.toString(out, format);
}

int Time::format(String& out, const char* format) const {
    char buf[kWorkBufferSize];
    buf[0] = '\0';
    const int n = this->format(ostr(buf, kWorkBufferSize), format);
    out.assign(buf);
    return n;
}

String Time::format(const char* format) const {
    String s;
    this->format(s, format);
    return s;
}

String Time::toString() const {
    const unsigned long long a = magnitude(us_);
    char buf[kWorkBufferSize];
    const int n = snprintf_s(buf, kWorkBufferSize, "%s%llu.%06llu", us_ < 0 ? "-" : "",
                             a / kMicrosPerSecond, a % kMicrosPerSecond);
    return String(buf, n < 0 ? 0 : static_cast<size_t>(n));
}

String Time::toDuration() const {
    const unsigned long long a = magnitude(us_);
    char buf[kWorkBufferSize];
    char* p = buf;
    if (us_ < 0) *p++ = '-';
    if (a >= kMicrosPerDay) {
        const int n = snprintf_s(p, kWorkBufferSize - (p - buf), "%llud ", a / kMicrosPerDay);
        p += n;
    }
    p = put2(p, static_cast<int>(a / 3600000000ULL % 24));
    *p++ = ':';
    p = put2(p, static_cast<int>(a / 60000000ULL % 60));
    *p++ = ':';
    p = put2(p, static_cast<int>(a / 1000000ULL % 60));
    const unsigned long long f = a % 1000000ULL;
    if (f != 0) {
        *p++ = '.';
        p = put3(p, static_cast<int>(f / 1000));
        if (f % 1000 != 0) p = put3(p, static_cast<int>(f % 1000));
    }
    return String(buf, static_cast<size_t>(p - buf));
}

Time Time::fromString(const istr& text, const char* format) {
    if (format == nullptr || *format == '\0') format = kFullDateTimeFormat;
    return Detail(text, format).toTime();
}

std::ostream& operator<<(std::ostream& os, const Time& t) {
    return os << t.toDuration();
}

namespace detail {

void setTimeSource(const TimeSource* source) {
    g_localTimeHook.store(source != nullptr ? source->localTime : nullptr,
                          std::memory_order_release);
    g_clockHook.store(source != nullptr ? source->getTimeOfDay : nullptr,
                      std::memory_order_release);
}

}  // namespace detail

}  // namespace zul
