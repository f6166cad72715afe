// The thread kit's hot paths against the standard library: uncontended lock and unlock,
// handle copy and destruction, and the singleton fast path.
#include <benchmark/benchmark.h>
#include <zul/mt/handle.h>
#include <zul/base/mutex.h>
#include <zul/mt/shared.h>
#include <zul/mt/sync.h>
#include <zul/util/singleton_T.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace {

void MutexLockUnlock_zul(benchmark::State& state) {
    zul::Mutex m;
    for (auto _ : state) {
        m.lock();
        benchmark::ClobberMemory();
        m.unlock();
    }
    state.SetItemsProcessed(state.iterations());
}

void MutexLockUnlock_peer(benchmark::State& state) {
    std::mutex m;
    for (auto _ : state) {
        m.lock();
        benchmark::ClobberMemory();
        m.unlock();
    }
    state.SetItemsProcessed(state.iterations());
}

// The guard over a monitor: lock, one notification, unlock (one signal posted at unlock).
void MonitorNotify_zul(benchmark::State& state) {
    zul::Monitor<zul::Mutex> mon;
    for (auto _ : state) {
        zul::Guard_T<zul::Monitor<zul::Mutex> > g(mon);
        mon.notify();
    }
    state.SetItemsProcessed(state.iterations());
}

void MonitorNotify_peer(benchmark::State& state) {
    std::mutex m;
    std::condition_variable cv;
    for (auto _ : state) {
        std::lock_guard<std::mutex> g(m);
        cv.notify_one();
    }
    state.SetItemsProcessed(state.iterations());
}

struct Counted : zul::Shared {
    int value = 1;
};

void HandleCopy_zul(benchmark::State& state) {
    zul::Handle<Counted> h(new Counted);
    for (auto _ : state) {
        zul::Handle<Counted> copy(h);
        benchmark::DoNotOptimize(copy.get());
    }
    state.SetItemsProcessed(state.iterations());
}

void HandleCopy_peer(benchmark::State& state) {
    auto h = std::make_shared<int>(1);
    for (auto _ : state) {
        std::shared_ptr<int> copy(h);
        benchmark::DoNotOptimize(copy.get());
    }
    state.SetItemsProcessed(state.iterations());
}

struct Lazy {
    int value = 3;
};

Lazy& localStatic() {
    static Lazy instance;
    return instance;
}

void SingletonInstance_zul(benchmark::State& state) {
    zul::Singleton_T<Lazy>::instance(__FILE__, __LINE__, "bench");
    for (auto _ : state) {
        Lazy* p = zul::Singleton_T<Lazy>::instance(__FILE__, __LINE__, "bench");
        benchmark::DoNotOptimize(p);
    }
    state.SetItemsProcessed(state.iterations());
}

void SingletonInstance_peer(benchmark::State& state) {
    for (auto _ : state) {
        Lazy* p = &localStatic();
        benchmark::DoNotOptimize(p);
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(MutexLockUnlock_zul)->Name("MutexLockUnlock/zul");
BENCHMARK(MutexLockUnlock_peer)->Name("MutexLockUnlock/peer");
BENCHMARK(MonitorNotify_zul)->Name("MonitorNotify/zul");
BENCHMARK(MonitorNotify_peer)->Name("MonitorNotify/peer");
BENCHMARK(HandleCopy_zul)->Name("HandleCopy/zul");
BENCHMARK(HandleCopy_peer)->Name("HandleCopy/peer");
BENCHMARK(SingletonInstance_zul)->Name("SingletonInstance/zul");
BENCHMARK(SingletonInstance_peer)->Name("SingletonInstance/peer");

// The library always runs in a multi-threaded process. Once a second thread has existed the
// standard library stops taking its single-thread shortcuts (plain increments in
// shared_ptr), so start one before measuring to compare thread-safe code with thread-safe
// code.
int main(int argc, char** argv) {
    std::thread([] {}).join();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
