// zul::Time, a signed count of microseconds used for points in time (from the Unix epoch,
// rendered in local time) and for durations; Time::Detail is its broken-down calendar form.
#pragma once

#include <sys/time.h>
#include <zul/base/api.h>
#include <zul/base/base_type_string.h>

#include <cstdint>
#include <ctime>
#include <iosfwd>

namespace zul {

/// A signed count of microseconds: a point in time (from the Unix epoch, rendered in local
/// time) or a duration. 0 stands for "no time" where a point is expected. A plain value;
/// arithmetic and comparison go through toMicroSeconds().
class ZUL_API Time {
  public:
    /// How now() reads the wall clock.
    enum Clock {
        /// Through ACE's time value; a failing read gives -1 s. What the library uses.
        Portable = 0,
        /// Through gettimeofday; a failing read throws ThreadSyscallException.
        Syscall = 1
    };

    /// The full date-time text: "2024-03-05 14:07:09.123456".
    static constexpr char const* kFullDateTimeFormat = "%04d-%02d-%02d %02d:%02d:%02d.%03d%03d";
    /// The date-time text with milliseconds only: "2024-03-05 14:07:09.123".
    static constexpr char const* kDateTimeFormat = "%04d-%02d-%02d %02d:%02d:%02d.%03d";

    /// Broken-down calendar form. Formats and scans always see the fields in declaration
    /// order: year, month, day, hour, minute, second, milliSecond, microSecond.
    struct ZUL_API Detail {
        int32_t year;         ///< full year, e.g. 2024
        int32_t month;        ///< 1-12
        int32_t day;          ///< 1-31
        int32_t hour;         ///< 0-23
        int32_t minute;       ///< 0-59
        int32_t second;       ///< 0-60
        int32_t milliSecond;  ///< milliseconds within the second
        int32_t microSecond;  ///< microseconds within the millisecond

        /// All fields 0.
        Detail()
            : year(0),
              month(0),
              day(0),
              hour(0),
              minute(0),
              second(0),
              milliSecond(0),
              microSecond(0) {}
        /// Local time of `t`. Sub-second fields are truncated toward zero, so a negative
        /// count with a fraction gives negative milliSecond/microSecond. Throws
        /// InvalidDataException when the calendar conversion fails.
        explicit Detail(const Time& t);
        /// Scans the first 64 characters of `text` with `format` (sscanf_s, fields in
        /// order); fields the format does not reach stay 0. Never throws.
        Detail(const istr& text, const char* format);

        /// The fields read as local time with the zone and daylight-saving flag local time
        /// had at the epoch, normalised by mktime; 0 when that template cannot be built.
        Time toTime() const;
        /// snprintf_s of the eight fields with `format` into `out`; its result.
        int toString(ostr out, const char* format) const;
    };

    ///@{

    /// `us` microseconds (0 by default).
    Time() : us_(0) {}
    Time(long long us) : us_(us) {}
    ///@}

    ///@{

    /// `s` seconds, `ms` milliseconds or `us` microseconds (the product is not checked for
    /// overflow).
    static Time seconds(long long s) { return Time(s * 1000000LL); }
    static Time milliSeconds(long long ms) { return Time(ms * 1000LL); }
    static Time microSeconds(long long us) { return Time(us); }
    ///@}

    /// The current wall-clock time. With Syscall a failing read throws
    /// ThreadSyscallException (with errno); with Portable it gives -1 s.
    static Time now(Clock clock = Portable);

    /// Truncated toward zero.
    long long toSeconds() const { return us_ / 1000000LL; }
    /// Truncated toward zero.
    long long toMilliSeconds() const { return us_ / 1000LL; }
    /// The count.
    long long toMicroSeconds() const { return us_; }
    ///@{

    /// The count in seconds, milliseconds or microseconds as a double, with its fraction.
    double toSecondsDouble() const { return static_cast<double>(us_) / 1e6; }
    double toMilliSecondsDouble() const { return static_cast<double>(us_) / 1000.0; }
    double toMicroSecondsDouble() const { return static_cast<double>(us_); }
    ///@}

    /// Seconds truncated toward zero, microseconds the remainder (same sign as the count).
    operator timeval() const;
    /// Blocks the calling thread for this duration (select without descriptors); returns at
    /// once for a duration that is not positive.
    void sleep() const;

    ///@{

    /// Clears `out`, then writes the full date-time text of the local time (the epoch for a
    /// Time of 0), or "<INVALID DATETIME(count)>" when the conversion fails; never throws for
    /// that. The ostr form allocates nothing; the others replace `out` or return the text.
    void toFullDateTime(ostr out) const;
    void toFullDateTime(String& out) const;
    String toFullDateTime() const;
    ///@}

    ///@{

    /// Like toFullDateTime with milliseconds only; a Time of 0 writes "<null>".
    void toDateTime(ostr out) const;
    void toDateTime(String& out) const;
    String toDateTime() const;
    ///@}

    /// snprintf_s into `out` of the eight Detail fields with `format`; its result. A failing
    /// calendar conversion throws InvalidDataException (recorded first).
    int format(ostr out, const char* format) const;
    ///@{

    /// The same through a 64-character stack buffer (longer texts are cut to 63 characters),
    /// copied into `out` or returned; throws as the ostr form does.
    int format(String& out, const char* format) const;
    String format(const char* format) const;
    ///@}

    /// Signed seconds with six decimals: "-1.500000".
    String toString() const;
    /// "[-][Dd ]HH:MM:SS[.mmm[uuu]]": "1d 01:01:01", "00:00:00.001500", "-00:01:01".
    String toDuration() const;

    /// Detail(text, format).toTime(); a null or empty `format` is the full date-time format.
    static Time fromString(const istr& text, const char* format = nullptr);

  private:
    long long us_;
};

/// Writes t.toDuration().
ZUL_API std::ostream& operator<<(std::ostream& os, const Time& t);

namespace detail {

/// The platform calls behind Time, replaceable so that tests can make them fail. A null
/// member (or a null argument to setTimeSource) means the real call.
struct TimeSource {
    /// Local calendar time of `seconds`; false on failure.
    bool (*localTime)(long long seconds, std::tm* out);
    /// gettimeofday; 0 on success, -1 with errno set on failure.
    int (*getTimeOfDay)(timeval* tv);
};

/// Installs `source` (copied) for all threads; null restores the real calls.
ZUL_API void setTimeSource(const TimeSource* source);

}  // namespace detail

}  // namespace zul
