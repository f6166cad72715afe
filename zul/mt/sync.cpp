// The monotonic clock behind every time-out of the library: its readings, the deadlines of
// timed waits and the attributes that put a condition on that clock.
#include <zul/mt/sync.h>

#include <ctime>
#include <limits>

namespace zul {
namespace detail {
namespace {

constexpr long long kMicrosPerSecond = 1000000LL;

}  // namespace

Time monotonicNow() {
    timespec ts{};
    // CLOCK_MONOTONIC cannot fail on Linux with a valid buffer.
    ::clock_gettime(CLOCK_MONOTONIC, &ts);
    return Time(static_cast<long long>(ts.tv_sec) * kMicrosPerSecond + ts.tv_nsec / 1000);
}

MonotonicTime deadlineAfter(Time const& t) {
    long long const nowUs = monotonicNow().toMicroSeconds();
    long long const us = t.toMicroSeconds();
    long long const maxUs = std::numeric_limits<long long>::max();
    long long const at = us <= 0 ? nowUs : (us > maxUs - nowUs ? maxUs : nowUs + us);
    return MonotonicTime(static_cast<time_t>(at / kMicrosPerSecond),
                         static_cast<suseconds_t>(at % kMicrosPerSecond));
}

ACE_Condition_Attributes const& monotonicConditionAttributes() {
    // Conditions copy their attributes when made, so one object serves them all. Never
    // destroyed: conditions of process-wide objects may still be made at exit.
    static auto* const attributes = new ACE_Condition_Attributes_T<ACE_Monotonic_Time_Policy>();
    return *attributes;
}

}  // namespace detail
}  // namespace zul
