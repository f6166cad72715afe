// Lifecycle threads: a start-and-stop round trip against a raw ACE spawn and join, the
// latency of stop() on a thread blocked in wait(), and the registry's per-record fast path.
#include <ace/Thread.h>
#include <benchmark/benchmark.h>
#include <zul/mt/thread.h>

#include <chrono>

namespace {

// Idles in wait() until stopped.
class Idle : public zul::SimpleThread {
  public:
    Idle() : SimpleThread(nullptr, "idle") {}

  protected:
    void onWork() override { wait(); }
};

void StartStop_zul(benchmark::State& state) {
    for (auto _ : state) {
        zul::Handle<Idle> t(new Idle);
        t->startAndWait(0);
        t->stop();
    }
    state.SetItemsProcessed(state.iterations());
}

ACE_THR_FUNC_RETURN peerBody(void*) {
    return 0;
}

void StartStop_peer(benchmark::State& state) {
    for (auto _ : state) {
        ACE_thread_t id;
        ACE_hthread_t handle;
        if (ACE_Thread::spawn(peerBody, nullptr, THR_NEW_LWP | THR_JOINABLE, &id, &handle) != 0) {
            state.SkipWithError("spawn failed");
            break;
        }
        ACE_Thread::join(handle);
    }
    state.SetItemsProcessed(state.iterations());
}

// From the call of stop() to its return, for a thread already blocked in wait().
void StopLatency(benchmark::State& state) {
    for (auto _ : state) {
        zul::Handle<Idle> t(new Idle);
        t->startAndWait(0);
        // Let the thread reach wait(): it only has to leave birth and enter onWork().
        zul::ThreadControl::sleep(zul::Time::milliSeconds(2));
        auto const t0 = std::chrono::steady_clock::now();
        t->stop();
        auto const t1 = std::chrono::steady_clock::now();
        state.SetIterationTime(std::chrono::duration<double>(t1 - t0).count());
    }
}

// The record of the calling thread, identity already built.
void CurrentFastPath(benchmark::State& state) {
    zul::SimpleThread::current();
    for (auto _ : state) benchmark::DoNotOptimize(&zul::SimpleThread::current());
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(StartStop_zul)->Name("StartStop/zul")->UseRealTime();
BENCHMARK(StartStop_peer)->Name("StartStop/peer")->UseRealTime();
BENCHMARK(StopLatency)->UseManualTime()->Iterations(200)->Unit(benchmark::kMicrosecond);
BENCHMARK(CurrentFastPath);

BENCHMARK_MAIN();
