// The block allocator against the global operator new and delete (glibc's malloc): a batch
// of tree-node-sized blocks made and freed on one thread, and the same batch handed to a
// second thread that frees it. A freed batch of this size (1.3 MiB) lets glibc trim its heap,
// so the peer's rounds include faulting those pages in again (`perf stat -e page-faults`
// shows about 340 per round); where faults are cheap the gap is far smaller.
#include <benchmark/benchmark.h>
#include <zul/base/pool.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kBlock = 136;  // a value-tree node
constexpr std::size_t kBatch = 10000;

struct Pool {
    static void* get() { return zul::detail::poolAllocate(kBlock); }
    static void put(void* p) { zul::detail::poolRelease(p, kBlock); }
};
struct Heap {
    static void* get() { return ::operator new(kBlock); }
    static void put(void* p) { ::operator delete(p); }
};

template <class A>
void SameThread(benchmark::State& state) {
    std::vector<void*> blocks(kBatch);
    for (auto _ : state) {
        for (void*& p : blocks) p = A::get();
        benchmark::DoNotOptimize(blocks.data());
        for (void* p : blocks) A::put(p);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBatch));
}

// Batches made here are freed by one long-lived second thread, as when a tree built by a
// worker is destroyed elsewhere.
template <class A>
void OtherThreadFrees(benchmark::State& state) {
    std::mutex m;
    std::condition_variable cv;
    std::vector<void*> handed;
    bool done = false;
    std::thread freer([&] {
        std::unique_lock<std::mutex> lock(m);
        for (;;) {
            cv.wait(lock, [&] { return done || !handed.empty(); });
            if (handed.empty()) return;
            for (void* p : handed) A::put(p);
            handed.clear();
            cv.notify_all();
        }
    });
    std::vector<void*> blocks(kBatch);
    for (auto _ : state) {
        for (void*& p : blocks) p = A::get();
        std::unique_lock<std::mutex> lock(m);
        handed.swap(blocks);
        cv.notify_all();
        cv.wait(lock, [&] { return handed.empty(); });
        blocks.resize(kBatch);
    }
    {
        std::lock_guard<std::mutex> lock(m);
        done = true;
    }
    cv.notify_all();
    freer.join();
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kBatch));
}

}  // namespace

BENCHMARK(SameThread<Pool>)->Name("PoolSameThread/zul");
BENCHMARK(SameThread<Heap>)->Name("PoolSameThread/peer");
BENCHMARK(OtherThreadFrees<Pool>)->Name("PoolOtherThreadFrees/zul")->UseRealTime();
BENCHMARK(OtherThreadFrees<Heap>)->Name("PoolOtherThreadFrees/peer")->UseRealTime();

BENCHMARK_MAIN();
