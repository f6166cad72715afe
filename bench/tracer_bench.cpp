// Cost of a traced scope with tracing off (goal: at most 150 ns per scope), alone and on 8
// threads at once, and of the tracer's bookkeeping floor: a plain thread-local vector of
// locations.
#include <benchmark/benchmark.h>
#include <zul/base/log_seam.h>
#include <zul/log/log_tracer.h>

#include <vector>

namespace {

void TraceEntryOff_zul(benchmark::State& state) {
    zul::logger& lg = zul::detail::libraryLoggerRef();  // no logger installed: tracing off
    for (auto _ : state) {
        zul::TraceEntry e(lg, __FILE__, __LINE__, "scope", 3, nullptr);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(TraceEntryOff_zul)->Name("TraceEntryOff/zul");

// The floor of any per-thread stack of locations: push and pop on a thread-local vector.
void TraceEntryOff_peer(benchmark::State& state) {
    struct Loc {
        char const* file;
        unsigned line;
        char const* func;
    };
    thread_local std::vector<Loc> stack;
    for (auto _ : state) {
        stack.push_back(Loc{__FILE__, __LINE__, "scope"});
        benchmark::ClobberMemory();
        stack.pop_back();
    }
}
BENCHMARK(TraceEntryOff_peer)->Name("TraceEntryOff/floor");

// Three nested scopes, as a library call inside an application call typically has.
void TraceEntryOffNested3_zul(benchmark::State& state) {
    zul::logger& lg = zul::detail::libraryLoggerRef();
    for (auto _ : state) {
        zul::TraceEntry a(lg, __FILE__, __LINE__, "a", 3, nullptr);
        zul::TraceEntry b(lg, __FILE__, __LINE__, "b", 3, nullptr);
        zul::TraceEntry c(lg, __FILE__, __LINE__, "c", 3, nullptr);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(TraceEntryOffNested3_zul)->Name("TraceEntryOffNested3/zul");

// The same scope on 1 and on 8 threads at once (goal: at most twice the one-thread cost
// per scope). "Time" is wall time per scope over all threads, "CPU" processor time per
// scope: on a machine with fewer cores than threads the wall figure only shows how many
// cores there are, while the CPU figure shows what a scope costs, contention included.
void TraceEntryOffThreads_zul(benchmark::State& state) {
    zul::logger& lg = zul::detail::libraryLoggerRef();
    for (auto _ : state) {
        zul::TraceEntry e(lg, __FILE__, __LINE__, "scope", 3, nullptr);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(TraceEntryOffThreads_zul)
    ->Name("TraceEntryOffThreads/zul")
    ->Threads(1)
    ->Threads(8)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
