// The logger against spdlog's synchronous rotating file sink (3 MiB, one backup): records per
// second to a file on disk with 1 and 4 threads, caller latency over bursts, and the resident
// size over a long run. Both write the same text with a date and thread header.
#include <benchmark/benchmark.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <stdlib.h>
#include <unistd.h>
#include <zul/log/log_logger_impl.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr char kText[] = "session 42 connected from 10.0.0.7 port 5060, codec PCMU, 20 ms frames";
constexpr int kBurst = 1000;

std::string folder() {
    static std::string const dir = [] {
        char tmpl[] = "/tmp/zul_log_bench_XXXXXX";
        return std::string(mkdtemp(tmpl));
    }();
    return dir;
}

zul::loggerImpl& zulLogger() {
    static zul::loggerImpl* lg = [] {
        auto* l = new zul::loggerImpl;
        l->filename(zul::istr(folder() + "/zul.log"));
        l->consoleOn(false);
        l->start();
        return l;
    }();
    return *lg;
}

spdlog::logger& peerLogger() {
    static std::shared_ptr<spdlog::logger> lg = [] {
        auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(folder() + "/peer.log",
                                                                           3145728, 1);
        auto l = std::make_shared<spdlog::logger>("peer", sink);
        l->set_pattern("%Y-%m-%d %H:%M:%S.%e <%t>[PEER][INFO] %v");
        return l;
    }();
    return *lg;
}

void zulWrite() {
    zul::writeInfoLog(zulLogger(), __FILE__, __LINE__, "bench", kText, "INFO");
}
void peerWrite() {
    peerLogger().info(kText);
}

// Until everything written so far is in the file.
void drain() {
    zulLogger().flush();
    while (zulLogger().cachedRecords() != 0) std::this_thread::yield();
}

template <void (*Write)(), bool Zul>
void writeBurst(benchmark::State& state) {
    for (auto _ : state) {
        for (int i = 0; i < kBurst; ++i) Write();
    }
    // The records reach the disk inside the measurement.
    if (Zul && state.thread_index() == 0) drain();
    state.SetItemsProcessed(state.iterations() * kBurst);
}

template <void (*Write)(), bool Zul>
void latency(benchmark::State& state) {
    std::vector<double> ns;
    ns.reserve(1 << 20);
    for (auto _ : state) {
        for (int i = 0; i < kBurst; ++i) {
            auto const t0 = std::chrono::steady_clock::now();
            Write();
            auto const t1 = std::chrono::steady_clock::now();
            ns.push_back(std::chrono::duration<double, std::nano>(t1 - t0).count());
        }
    }
    if (Zul) drain();
    std::sort(ns.begin(), ns.end());
    state.counters["p50_ns"] = ns[ns.size() / 2];
    state.counters["p99_ns"] = ns[ns.size() * 99 / 100];
    state.SetItemsProcessed(state.iterations() * kBurst);
}

long residentKb() {
    std::ifstream is("/proc/self/statm");
    long pages = 0, resident = 0;
    is >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

// Resident size after 1 and after 10 million records with the flush thread running.
void residentOverTenMillion(benchmark::State& state) {
    for (auto _ : state) {
        long at1 = 0;
        for (long i = 0; i < 10000000; ++i) {
            zulWrite();
            if (i == 1000000) drain(), at1 = residentKb();
        }
        drain();
        state.counters["rss_1M_kb"] = static_cast<double>(at1);
        state.counters["rss_10M_kb"] = static_cast<double>(residentKb());
    }
}

}  // namespace

BENCHMARK_TEMPLATE(writeBurst, zulWrite, true)->Name("log_write_1t/zul")->UseRealTime();
BENCHMARK_TEMPLATE(writeBurst, peerWrite, false)->Name("log_write_1t/peer")->UseRealTime();
BENCHMARK_TEMPLATE(writeBurst, zulWrite, true)->Name("log_write_4t/zul")->Threads(4)->UseRealTime();
BENCHMARK_TEMPLATE(writeBurst, peerWrite, false)
    ->Name("log_write_4t/peer")
    ->Threads(4)
    ->UseRealTime();
BENCHMARK_TEMPLATE(latency, zulWrite, true)->Name("log_latency/zul")->UseRealTime();
BENCHMARK_TEMPLATE(latency, peerWrite, false)->Name("log_latency/peer")->UseRealTime();
BENCHMARK(residentOverTenMillion)->Name("log_resident_10M")->Iterations(1)->UseRealTime();

BENCHMARK_MAIN();
