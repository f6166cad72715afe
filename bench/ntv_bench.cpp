// Value-tree benchmarks: building 1,000,000 text leaves under 1,000 named lists, name
// lookups in that tree, and the bytes the tree keeps per leaf: the heap bytes, counted by
// replacing the global allocation functions of this program, plus the library's block
// chunks in use. A JSON document is the peer.
#include <benchmark/benchmark.h>
#include <zul/base/pool.h>
#include <zul/pml/ntv_unit.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "counting_new.h"

#if __has_include(<nlohmann/json.hpp>)
#include <nlohmann/json.hpp>
#define NTV_BENCH_PEER 1
#endif

// ---- counting allocator: every block carries its size in a 16-byte header ----

namespace {

std::atomic<long long> g_liveBytes{0};
constexpr std::size_t kHeader = 16;

void* countedAlloc(std::size_t n) {
    void* raw = std::malloc(n + kHeader);
    if (raw == nullptr) throw std::bad_alloc();
    *static_cast<std::size_t*>(raw) = n;
    g_liveBytes.fetch_add(static_cast<long long>(n), std::memory_order_relaxed);
    return static_cast<char*>(raw) + kHeader;
}

void countedFree(void* p) noexcept {
    if (p == nullptr) return;
    void* raw = static_cast<char*>(p) - kHeader;
    g_liveBytes.fetch_sub(static_cast<long long>(*static_cast<std::size_t*>(raw)),
                          std::memory_order_relaxed);
    std::free(raw);
}

}  // namespace

// Every allocation of the program, the library's included, passes through here.
void* benchAllocate(std::size_t n) {
    return countedAlloc(n);
}
void benchRelease(void* p) noexcept {
    countedFree(p);
}

// ---- the workload ----

namespace {

using zul::istr;
using zul::pml::ntv::Unit;

constexpr int kLists = 1000;
constexpr int kLeavesPerList = 1000;
constexpr double kLeaves = double(kLists) * kLeavesPerList;

struct Names {
    std::vector<std::string> lists;
    std::vector<std::string> leaves;
    Names() {
        for (int i = 0; i < kLists; ++i) lists.push_back("list" + std::to_string(i));
        for (int i = 0; i < kLeavesPerList; ++i) leaves.push_back("k" + std::to_string(i));
    }
};

const Names& names() {
    static const Names n;
    return n;
}

/// Bytes held: live heap blocks and the library's chunks that hold blocks.
long long heldBytes() {
    const zul::detail::PoolStats s = zul::detail::poolStats();
    return g_liveBytes.load() +
           static_cast<long long>((s.chunks - s.spareChunks) * zul::detail::kPoolChunkBytes);
}

/// CPU time of the calling thread in nanoseconds (the machine may be shared).
double threadCpuNs() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e9 + double(t.tv_nsec);
}

void build(Unit& root) {
    const Names& n = names();
    for (const std::string& list : n.lists) {
        Unit* l = new Unit(istr(list));
        root.addChild(l);
        for (const std::string& leaf : n.leaves) l->addChild(istr(leaf), istr("value"));
    }
}

void NtvAddChild(benchmark::State& state) {
    names();
    double bytesPerLeaf = 0;
    double buildNs = 0;
    for (auto _ : state) {
        auto root = std::make_unique<Unit>();
        const long long before = heldBytes();
        const double start = threadCpuNs();
        build(*root);
        buildNs += threadCpuNs() - start;
        bytesPerLeaf = double(heldBytes() - before) / kLeaves;
        state.PauseTiming();
        root.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kLeaves));
    state.counters["ns_per_addChild"] = buildNs / (double(state.iterations()) * kLeaves);
    state.counters["bytes_per_leaf"] = bytesPerLeaf;
}
BENCHMARK(NtvAddChild)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void NtvFindByName(benchmark::State& state) {
    Unit root;
    build(root);
    const Names& n = names();
    std::mt19937 rng(42);
    constexpr int kProbes = 1 << 16;
    std::vector<std::pair<const std::string*, const std::string*>> probes;
    for (int i = 0; i < kProbes; ++i) {
        probes.emplace_back(&n.lists[rng() % kLists], &n.leaves[rng() % kLeavesPerList]);
    }
    const Unit& c = root;
    size_t found = 0;
    const double start = threadCpuNs();
    for (auto _ : state) {
        for (const auto& p : probes) {
            const Unit* list = c.at(istr(*p.first));
            const Unit* leaf = list->at(istr(*p.second));
            found += leaf != nullptr;
        }
    }
    benchmark::DoNotOptimize(found);
    // Two at(name) calls per probe: one among 1,000 lists, one among 1,000 leaves.
    state.SetItemsProcessed(state.iterations() * kProbes * 2);
    state.counters["ns_per_lookup"] =
        (threadCpuNs() - start) / (double(state.iterations()) * kProbes * 2);
}
BENCHMARK(NtvFindByName);

// The same lookups confined to one list of 1,000 leaves, whose index stays in cache: the
// cost of the lookup itself rather than of reaching memory.
void NtvFindByNameHot(benchmark::State& state) {
    Unit list;
    for (const std::string& leaf : names().leaves) list.addChild(istr(leaf), istr("value"));
    std::mt19937 rng(7);
    constexpr int kProbes = 1 << 12;
    std::vector<const std::string*> probes;
    for (int i = 0; i < kProbes; ++i) probes.push_back(&names().leaves[rng() % kLeavesPerList]);
    const Unit& c = list;
    size_t found = 0;
    const double start = threadCpuNs();
    for (auto _ : state) {
        for (const std::string* p : probes) found += c.at(istr(*p)) != nullptr;
    }
    benchmark::DoNotOptimize(found);
    state.SetItemsProcessed(state.iterations() * kProbes);
    state.counters["ns_per_lookup"] =
        (threadCpuNs() - start) / (double(state.iterations()) * kProbes);
}
BENCHMARK(NtvFindByNameHot)->Name("NtvFindByName/hot");

#ifdef NTV_BENCH_PEER
void NtvAddChildPeer(benchmark::State& state) {
    names();
    double bytesPerLeaf = 0;
    double buildNs = 0;
    for (auto _ : state) {
        auto root = std::make_unique<nlohmann::json>(nlohmann::json::object());
        const long long before = heldBytes();
        const double start = threadCpuNs();
        for (const std::string& list : names().lists) {
            nlohmann::json& l = (*root)[list];
            l = nlohmann::json::object();
            for (const std::string& leaf : names().leaves) l[leaf] = "value";
        }
        buildNs += threadCpuNs() - start;
        bytesPerLeaf = double(heldBytes() - before) / kLeaves;
        state.PauseTiming();
        root.reset();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kLeaves));
    state.counters["ns_per_addChild"] = buildNs / (double(state.iterations()) * kLeaves);
    state.counters["bytes_per_leaf"] = bytesPerLeaf;
}
BENCHMARK(NtvAddChildPeer)->Name("NtvAddChild/peer")->Unit(benchmark::kMillisecond)->MinTime(2.0);

void NtvFindByNamePeer(benchmark::State& state) {
    nlohmann::json root = nlohmann::json::object();
    for (const std::string& list : names().lists) {
        nlohmann::json& l = root[list];
        for (const std::string& leaf : names().leaves) l[leaf] = "value";
    }
    const Names& n = names();
    std::mt19937 rng(42);
    constexpr int kProbes = 1 << 16;
    std::vector<std::pair<const std::string*, const std::string*>> probes;
    for (int i = 0; i < kProbes; ++i) {
        probes.emplace_back(&n.lists[rng() % kLists], &n.leaves[rng() % kLeavesPerList]);
    }
    size_t found = 0;
    const double start = threadCpuNs();
    for (auto _ : state) {
        for (const auto& p : probes) {
            auto list = root.find(*p.first);
            found += list->find(*p.second) != list->end();
        }
    }
    benchmark::DoNotOptimize(found);
    state.SetItemsProcessed(state.iterations() * kProbes * 2);
    state.counters["ns_per_lookup"] =
        (threadCpuNs() - start) / (double(state.iterations()) * kProbes * 2);
}
BENCHMARK(NtvFindByNamePeer)->Name("NtvFindByName/peer");
#endif

}  // namespace

BENCHMARK_MAIN();
