// zul::Time: units, the date-time texts under several zones and across daylight-saving
// changes, durations, parsing round trips, the failure paths and the value-tree wiring.
#include <gtest/gtest.h>
#include <zul/base/base_type_time.h>
#include <zul/base/exception.h>
#include <zul/pml/ntv_unit.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using zul::Time;

namespace {

// Sets TZ (and tzset) for the lifetime of the object, then restores what was there.
struct ScopedZone {
    explicit ScopedZone(const char* zone) : had(std::getenv("TZ") != nullptr) {
        if (had) old = std::getenv("TZ");
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ScopedZone() {
        had ? setenv("TZ", old.c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    bool had;
    std::string old;
};

// Makes the calendar conversion or the system clock fail until destroyed.
class FailingSource {
  public:
    FailingSource(bool calendar, bool clock) {
        zul::detail::TimeSource s{};
        if (calendar) s.localTime = [](long long, std::tm*) { return false; };
        if (clock)
            s.getTimeOfDay = [](timeval*) {
                errno = EFAULT;
                return -1;
            };
        zul::detail::setTimeSource(&s);
    }
    ~FailingSource() { zul::detail::setTimeSource(nullptr); }
};

// The full date-time text built by the C library alone.
std::string reference(long long seconds) {
    time_t t = static_cast<time_t>(seconds);
    std::tm tm;
    if (localtime_r(&t, &tm) == nullptr) return "?";
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d.000000", tm.tm_year + 1900,
                  tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return buf;
}

constexpr long long kSample = 1709647629123456LL;  // 2024-03-05 14:07:09.123456 UTC

TEST(Time, UnitsTruncateTowardZero) {
    EXPECT_EQ(Time::seconds(2).toMilliSeconds(), 2000);
    EXPECT_EQ(Time(-1500).toMilliSeconds(), -1);
    EXPECT_EQ(Time(-1999999).toSeconds(), -1);
    EXPECT_DOUBLE_EQ(Time(-2500).toMilliSecondsDouble(), -2.5);
    const long long rows[][3] = {{2500000, 2, 500000}, {-2500000, -2, -500000}, {-1, 0, -1}};
    for (auto [us, sec, usec] : rows) {
        const timeval tv = Time(us);
        EXPECT_EQ(tv.tv_sec, sec) << us;
        EXPECT_EQ(tv.tv_usec, usec) << us;
    }
}

TEST(Time, SecondsAndDurationTexts) {
    // clang-format off
    struct Row { long long us; const char* seconds; const char* duration; };
    const Row rows[] = {
        {0, "0.000000", "00:00:00"},
        {1, "0.000001", "00:00:00.000001"},
        {1500, "0.001500", "00:00:00.001500"},
        {2500000, "2.500000", "00:00:02.500"},
        {-1500000, "-1.500000", "-00:00:01.500"},
        {-500000, "-0.500000", "-00:00:00.500"},
        {-61000000, "-61.000000", "-00:01:01"},
        {86399999999, "86399.999999", "23:59:59.999999"},
        {86400000000, "86400.000000", "1d 00:00:00"},
        {90061000000, "90061.000000", "1d 01:01:01"},
        {-86400000001, "-86400.000001", "-1d 00:00:00.000001"},
        {LLONG_MAX, "9223372036854.775807", "106751991d 04:00:54.775807"},
        {LLONG_MIN, "-9223372036854.775808", "-106751991d 04:00:54.775808"},
    };
    // clang-format on
    for (const Row& r : rows) {
        EXPECT_EQ(Time(r.us).toString(), r.seconds) << r.us;
        EXPECT_EQ(Time(r.us).toDuration(), r.duration) << r.us;
        std::ostringstream os;
        os << Time(r.us);
        EXPECT_EQ(os.str(), r.duration) << r.us;
    }
}

TEST(Time, RenderingsInSeveralZones) {
    const char *utc = "UTC", *sh = "Asia/Shanghai", *ny = "America/New_York";
    // clang-format off
    struct Row { const char* zone; long long us; const char* full; const char* dateTime; };
    const Row rows[] = {
        {utc, 0, "1970-01-01 00:00:00.000000", "<null>"},
        {ny, 0, "1969-12-31 19:00:00.000000", "<null>"},

        {utc, kSample, "2024-03-05 14:07:09.123456", "2024-03-05 14:07:09.123"},
        {sh, kSample, "2024-03-05 22:07:09.123456", "2024-03-05 22:07:09.123"},
        {ny, kSample, "2024-03-05 09:07:09.123456", "2024-03-05 09:07:09.123"},
        // Daylight saving ends in New York (whole seconds across every change are compared
        // with the C library below).
        {ny, 1730613599999999, "2024-11-03 01:59:59.999999", "2024-11-03 01:59:59.999"},
        {ny, 1730613600000001, "2024-11-03 01:00:00.000001", "2024-11-03 01:00:00.000"},
        // Negative counts truncate toward zero, so fractions print as negative fields.
        {utc, -1500000, "1969-12-31 23:59:59.-500000", "1969-12-31 23:59:59.-500"},
        {utc, -1, "1970-01-01 00:00:00.000-01", "1970-01-01 00:00:00.000"},
        {sh, -2001001, "1970-01-01 07:59:58.-01-01", "1970-01-01 07:59:58.-01"},
        // Years past four digits widen the field.
        {utc, 253402300800000000, "10000-01-01 00:00:00.000000", "10000-01-01 00:00:00.000"},
        {utc, -62135596801000000, "0000-12-31 23:59:59.000000", "0000-12-31 23:59:59.000"},
    };
    // clang-format on
    for (const Row& r : rows) {
        ScopedZone zone(r.zone);
        const Time t(r.us);
        EXPECT_EQ(t.toFullDateTime(), r.full) << r.zone << " " << r.us;
        EXPECT_EQ(t.toDateTime(), r.dateTime) << r.zone << " " << r.us;
        zul::charray<63> buf;
        t.toDateTime(buf.out());
        EXPECT_STREQ(buf.c_str(), r.dateTime);
    }
}

// The per-thread hour cache must agree with the C library second by second, across
// transitions on the hour, on the half hour and across zone changes made with tzset.
TEST(Time, MatchesTheCLibraryAcrossTransitionsAndZoneChanges) {
    // clang-format off
    struct Span { long long from; int count; long long step; };
    const Span spans[] = {
        {1710050000, 8000, 1},        // New York spring forward
        {1730610000, 8000, 1},        // New York fall back
        {1712412000, 8000, 1},        // Lord Howe: back by 30 minutes (2024-04-07)
        {515520000, 8000, 1},         // Shanghai 1986
        {1700000000, 4000, 977},      // a long walk with odd steps
        {1730613600, 3, -3600},       // backwards over the repeated hour
        {-4000000000LL, 2000, 3607},  // before the first transitions (local mean time)
    };
    // clang-format on
    const char* zones[] = {
        "America/New_York", "Australia/Lord_Howe", "Asia/Shanghai", "Asia/Kathmandu", "UTC",
        "America/New_York"};
    for (const char* z : zones) {
        ScopedZone zone(z);
        for (const Span& s : spans) {
            for (int i = 0; i < s.count; ++i) {
                const long long sec = s.from + i * s.step;
                ASSERT_EQ(std::string(Time::seconds(sec).toFullDateTime()), reference(sec))
                    << z << " " << sec;
            }
        }
    }
}

TEST(Time, ThreadsConvertIndependently) {
    ScopedZone zone("America/New_York");
    std::vector<std::thread> threads;
    std::vector<int> mismatches(4, 0);
    for (int k = 0; k < 4; ++k) {
        threads.emplace_back([k, &mismatches] {
            for (long long i = 0; i < 5000; ++i) {
                const long long sec = 1730600000 + k * 1237 + i * 7;
                if (Time::seconds(sec).toFullDateTime() != reference(sec)) ++mismatches[k];
            }
        });
    }
    for (auto& t : threads) t.join();
    for (int m : mismatches) EXPECT_EQ(m, 0);
}

TEST(Time, OutputBuffersTruncateAndStayTerminated) {
    ScopedZone zone("UTC");
    char buf[11];
    Time(kSample).toFullDateTime(zul::ostr(buf, sizeof buf));
    EXPECT_STREQ(buf, "2024-03-05");
    Time().toDateTime(zul::ostr(buf, 4));
    EXPECT_STREQ(buf, "<nu");
    Time(kSample).toFullDateTime(zul::ostr());  // null buffer: nothing happens

    EXPECT_EQ(Time(kSample).format(zul::ostr(buf, sizeof buf), "%04d/%02d/%02d %02d"), 13);
    EXPECT_STREQ(buf, "2024/03/05");
    zul::String s;
    EXPECT_EQ(Time(kSample).format(s, "%02d.%02d.%04d"), 12);
    EXPECT_EQ(s, "2024.03.0005");  // fields are always passed in table order
    EXPECT_EQ(Time(kSample).format("%d|%d|%d|%d|%d|%d|%d|%d"), "2024|3|5|14|7|9|123|456");
}

TEST(Time, ParsingAndRoundTrips) {
    {
        ScopedZone zone("Asia/Shanghai");
        EXPECT_EQ(Time::fromString("2024-01-02", "%04d-%02d-%02d").toSeconds(), 1704124800);
        for (long long us : {kSample, 1LL, 515527199000000LL, -123456789LL * 1000000}) {
            const Time t(us);
            EXPECT_EQ(Time::fromString(t.toFullDateTime()).toMicroSeconds(), us);
            EXPECT_EQ(Time::fromString(t.toFullDateTime(), "").toMicroSeconds(), us);
        }
        // Missing fields stay 0: midnight, no fraction.
        EXPECT_EQ(Time::fromString("2024-01-02").toSeconds(), 1704124800);
        EXPECT_EQ(Time::fromString("2024-01-02 00:00:00.5").toMicroSeconds(),
                  1704124800LL * 1000000 + 5000);
        // mktime normalises impossible dates.
        EXPECT_EQ(Time::fromString("2024-02-30", "%04d-%02d-%02d").toSeconds(),
                  Time::fromString("2024-03-01", "%04d-%02d-%02d").toSeconds());
    }
    {
        // The zone flags come from the epoch: New York was on standard time then, so a
        // summer text reads one hour late while a winter one round-trips exactly.
        ScopedZone zone("America/New_York");
        EXPECT_EQ(Time::fromString(Time(kSample).toFullDateTime()).toMicroSeconds(), kSample);
        const long long summer = 1719849600LL * 1000000;  // 2024-07-01 12:00:00 EDT
        EXPECT_EQ(Time(summer).toFullDateTime(), "2024-07-01 12:00:00.000000");
        EXPECT_EQ(Time::fromString("2024-07-01 12:00:00.000000").toMicroSeconds(),
                  summer + 3600LL * 1000000);
    }
}

TEST(Time, ParseBufferHoldsSixtyFourCharacters) {
    const std::string date = "2024-03-05 14:07:09.123456";  // 26 characters
    // Leading blanks, then the year and fraction read from what still fits.
    const int rows[][3] = {{38, 2024, 456}, {39, 2024, 45}, {64, 0, 0}};
    for (auto [pad, year, microSecond] : rows) {
        const Time::Detail d(std::string(pad, ' ') + date, Time::kFullDateTimeFormat);
        EXPECT_EQ(d.year, year) << pad;
        EXPECT_EQ(d.microSecond, microSecond) << pad;
    }
    EXPECT_EQ(Time::Detail(zul::istr(), Time::kFullDateTimeFormat).year, 0);
    const Time::Detail partial("2024-03", Time::kFullDateTimeFormat);
    char buf[64];
    EXPECT_EQ(partial.toString(zul::ostr(buf, sizeof buf), Time::kDateTimeFormat), 23);
    EXPECT_STREQ(buf, "2024-03-00 00:00:00.000");
}

TEST(Time, CalendarFailure) {
    ScopedZone zone("UTC");
    FailingSource failing(true, false);
    try {
        Time::Detail d{Time(5)};
        FAIL() << "no exception";
    } catch (const zul::InvalidDataException& e) {
        EXPECT_STREQ(e.msg(), "InvalidDataException: InvalidDataException");
        EXPECT_STREQ(e.file(), "zul/base/base_type_time.cpp");
        EXPECT_EQ(e.line(), 75u);
        EXPECT_STREQ(e.func(), "Detail");
    }
    EXPECT_EQ(Time(kSample).toFullDateTime(), "<INVALID DATETIME(1709647629123456)>");
    EXPECT_EQ(Time(-7).toDateTime(), "<INVALID DATETIME(-7)>");
    EXPECT_EQ(Time().toDateTime(), "<null>");
    EXPECT_EQ(Time().toFullDateTime(), "<INVALID DATETIME(0)>");
    char buf[16];
    Time(kSample).toFullDateTime(zul::ostr(buf, sizeof buf));
    EXPECT_STREQ(buf, "<INVALID DATETI");
    EXPECT_THROW(Time(kSample).format("%d"), zul::InvalidDataException);
    EXPECT_EQ(Time::fromString("2024-03-05 14:07:09.123456").toMicroSeconds(), 0);
}

TEST(Time, ClocksAndSleep) {
    const long long before = static_cast<long long>(std::time(nullptr));
    const Time portable = Time::now();
    const Time syscall = Time::now(Time::Syscall);
    EXPECT_GE(portable.toSeconds(), before);
    EXPECT_LE(portable.toSeconds(), before + 5);
    EXPECT_GE(syscall.toMicroSeconds(), portable.toMicroSeconds());
    EXPECT_LT(syscall.toMicroSeconds() - portable.toMicroSeconds(), 5000000);

    FailingSource failing(false, true);
    EXPECT_GE(Time::now().toSeconds(), before);  // the portable clock is not affected
    try {
        Time::now(static_cast<Time::Clock>(7));  // any non-zero value reads gettimeofday
        FAIL() << "no exception";
    } catch (const zul::ThreadSyscallException& e) {
        EXPECT_EQ(e.error(), EFAULT);
        EXPECT_EQ(e.line(), 170u);
        EXPECT_STREQ(e.func(), "now");
        EXPECT_STREQ(e.file(), "zul/base/base_type_time.cpp");
    }

    using Clock = std::chrono::steady_clock;
    const auto t0 = Clock::now();
    Time::seconds(-5).sleep();
    Time::milliSeconds(30).sleep();
    EXPECT_GE(Clock::now() - t0, std::chrono::milliseconds(29));
}

TEST(Time, ValueTreeNodes) {
    using zul::pml::ntv::Unit;
    ScopedZone zone("Asia/Shanghai");
    Unit u;
    u << Time(kSample);
    EXPECT_EQ(zul::String(u.getStringValue()), "2024-03-05 22:07:09.123456");
    Time back;
    EXPECT_TRUE(u >> back);
    EXPECT_EQ(back.toMicroSeconds(), kSample);

    Unit list;
    list.initValueAsList();
    Time untouched(42);
    EXPECT_FALSE(list >> untouched);
    EXPECT_EQ(untouched.toMicroSeconds(), 42);
}

}  // namespace
