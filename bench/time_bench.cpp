// Date-time rendering: Time::toFullDateTime into a stack ostr against localtime_r + strftime
// + snprintf of the same text, in America/New_York. Heap allocations are counted per call.
#include <benchmark/benchmark.h>
#include <zul/base/base_type_time.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <new>

#include "counting_new.h"

namespace {

std::atomic<long long> g_allocations{0};

constexpr long long kStart = 1709647629123456LL;  // 2024-03-05 14:07:09.123456 UTC

// Runs `render(us, buf)` over times that advance by `step` microseconds per call.
template <class Render>
void run(benchmark::State& state, long long step, Render render) {
    char buf[64];
    long long us = kStart;
    const long long before = g_allocations.load();
    for (auto _ : state) {
        render(us, buf);
        benchmark::DoNotOptimize(buf);
        benchmark::ClobberMemory();
        us += step;
    }
    const double calls = static_cast<double>(state.iterations());
    state.counters["allocs_per_call"] = static_cast<double>(g_allocations.load() - before) / calls;
    state.SetItemsProcessed(state.iterations());
}

void zulRender(long long us, char* buf) {
    zul::Time(us).toFullDateTime(zul::ostr(buf, 64));
}

void peerRender(long long us, char* buf) {
    const time_t s = static_cast<time_t>(us / 1000000);
    std::tm tm;
    localtime_r(&s, &tm);
    const size_t n = std::strftime(buf, 64, "%Y-%m-%d %H:%M:%S", &tm);
    std::snprintf(buf + n, 64 - n, ".%06d", static_cast<int>(us % 1000000));
}

// A new second on every call (about 1.000123 s apart).
void FullDateTime_zul(benchmark::State& state) {
    run(state, 1000123, zulRender);
}
void FullDateTime_peer(benchmark::State& state) {
    run(state, 1000123, peerRender);
}
// Log-record density: many calls within each second (1.7 ms apart).
void FullDateTimeDense_zul(benchmark::State& state) {
    run(state, 1700, zulRender);
}
void FullDateTimeDense_peer(benchmark::State& state) {
    run(state, 1700, peerRender);
}

}  // namespace

namespace {

void* countedAlloc(std::size_t n) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(n == 0 ? 1 : n)) return p;
    throw std::bad_alloc();
}

void release(void* p) noexcept {
    std::free(p);
}

}  // namespace

// Every allocation of the program, the library's included, passes through here.
void* benchAllocate(std::size_t n) {
    return countedAlloc(n);
}
void benchRelease(void* p) noexcept {
    release(p);
}

BENCHMARK(FullDateTime_zul)->Name("TimeFullDateTime/zul");
BENCHMARK(FullDateTime_peer)->Name("TimeFullDateTime/peer");
BENCHMARK(FullDateTimeDense_zul)->Name("TimeFullDateTimeDense/zul");
BENCHMARK(FullDateTimeDense_peer)->Name("TimeFullDateTimeDense/peer");

int main(int argc, char** argv) {
    setenv("TZ", "America/New_York", 1);
    tzset();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
