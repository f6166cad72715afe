// Parsing a configuration-like document of several MiB: zul's PML reader (pointer and
// stream sources) against Boost.PropertyTree's INFO reader and nlohmann::json on the same
// content, plus the peak resident size a parse adds, relative to the text.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <unistd.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_reader.h>

#include <boost/property_tree/info_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#if __has_include(<nlohmann/json.hpp>)
#include <nlohmann/json.hpp>
#define ZUL_BENCH_HAVE_JSON 1
#endif

namespace {

constexpr int kSections = 6000;

// The same document in the three notations.
struct Documents {
    std::string pml, info, json;
};

// Appends one section in all three notations; `last` drops the JSON separator.
void section(Documents& d, int i, bool last) {
    const std::string n = std::to_string(i);
    const std::string port = std::to_string(8000 + i % 1000);
    d.pml += "    (* service " + n + ": generated entry *)\n";
    d.pml += "    service_" + n + "(\n";
    d.pml += "        enabled:bool(1)\n";
    d.pml += "        name:string(\"Service " + n + ": primary (eu-west)\")\n";
    d.pml += "        port:int(" + port + ")\n";
    d.pml += "        ratio:double(0.75)\n";
    d.pml += "        tags(\n";
    d.pml += "            :s(alpha)\n";
    d.pml += "            :s('beta gamma')\n";
    d.pml += "            :s(delta)\n";
    d.pml += "        )\n";
    d.pml += "        limits(\n";
    d.pml += "            connections:int(1000)\n";
    d.pml += "            timeout:long(30000)\n";
    d.pml += "            backoff(\n";
    d.pml += "                initial:int(100)\n";
    d.pml += "                max:int(5000)\n";
    d.pml += "            )\n";
    d.pml += "        )\n";
    d.pml += "        path(\"/var/lib/zul/service_" + n + "/data\")\n";
    d.pml += "        note(\"say ^\"hi^\" to ^^ all\")\n";
    d.pml += "    )\n";

    d.info += "    ; service " + n + ": generated entry\n";
    d.info += "    service_" + n + "\n    {\n";
    d.info += "        enabled 1\n";
    d.info += "        name \"Service " + n + ": primary (eu-west)\"\n";
    d.info += "        port " + port + "\n";
    d.info += "        ratio 0.75\n";
    d.info += "        tags\n        {\n";
    d.info += "            s alpha\n";
    d.info += "            s \"beta gamma\"\n";
    d.info += "            s delta\n";
    d.info += "        }\n";
    d.info += "        limits\n        {\n";
    d.info += "            connections 1000\n";
    d.info += "            timeout 30000\n";
    d.info += "            backoff\n            {\n";
    d.info += "                initial 100\n";
    d.info += "                max 5000\n";
    d.info += "            }\n";
    d.info += "        }\n";
    d.info += "        path \"/var/lib/zul/service_" + n + "/data\"\n";
    d.info += "        note \"say \\\"hi\\\" to ^ all\"\n";
    d.info += "    }\n";

    d.json += "    \"service_" + n + "\": {\n";
    d.json += "        \"enabled\": 1,\n";
    d.json += "        \"name\": \"Service " + n + ": primary (eu-west)\",\n";
    d.json += "        \"port\": " + port + ",\n";
    d.json += "        \"ratio\": 0.75,\n";
    d.json += "        \"tags\": [\n";
    d.json += "            \"alpha\",\n";
    d.json += "            \"beta gamma\",\n";
    d.json += "            \"delta\"\n";
    d.json += "        ],\n";
    d.json += "        \"limits\": {\n";
    d.json += "            \"connections\": 1000,\n";
    d.json += "            \"timeout\": 30000,\n";
    d.json += "            \"backoff\": {\n";
    d.json += "                \"initial\": 100,\n";
    d.json += "                \"max\": 5000\n";
    d.json += "            }\n";
    d.json += "        },\n";
    d.json += "        \"path\": \"/var/lib/zul/service_" + n + "/data\",\n";
    d.json += "        \"note\": \"say \\\"hi\\\" to ^ all\"\n";
    d.json += last ? "    }\n" : "    },\n";
}

const Documents& docs() {
    static const Documents d = [] {
        Documents r;
        r.pml = "(* generated configuration *)\nconfig(\n";
        r.info = "; generated configuration\nconfig\n{\n";
        r.json = "{\n";
        for (int i = 0; i < kSections; ++i) section(r, i, i + 1 == kSections);
        r.pml += ")\n";
        r.info += "}\n";
        r.json += "}\n";
        return r;
    }();
    return d;
}

// Checks once that the three texts hold the same content, so that the cases compare alike.
bool sameContent() {
    zul::pml::ntv::Unit root;
    const char* p = docs().pml.c_str();
    if (!zul::pml::ntvFromPml(root, p)) return false;
    std::istringstream is(docs().info);
    boost::property_tree::ptree tree;
    boost::property_tree::read_info(is, tree);
    const auto& last = root["service_" + std::to_string(kSections - 1)];
    const auto& peer = tree.get_child("config.service_" + std::to_string(kSections - 1));
    return root.numofChildren() == static_cast<size_t>(kSections) &&
           tree.get_child("config").size() == static_cast<size_t>(kSections) &&
           last["note"].getStringValue() == zul::istr(peer.get<std::string>("note")) &&
           last["name"].getStringValue() == zul::istr(peer.get<std::string>("name"));
}

void PmlParse_zul(benchmark::State& state) {
    const std::string& text = docs().pml;
    if (!sameContent()) state.SkipWithError("documents differ");
    for (auto _ : state) {
        zul::pml::ntv::Unit root;
        const char* p = text.c_str();
        bool ok = zul::pml::ntvFromPml(root, p);
        benchmark::DoNotOptimize(ok);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void PmlParseStream_zul(benchmark::State& state) {
    const std::string& text = docs().pml;
    std::istringstream is(text);
    for (auto _ : state) {
        is.clear();
        is.seekg(0);
        zul::pml::ntv::Unit root;
        bool ok = zul::pml::ntvFromPml(root, is);
        benchmark::DoNotOptimize(ok);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

void PmlParse_peer(benchmark::State& state) {
    const std::string& text = docs().info;
    std::istringstream is(text);
    for (auto _ : state) {
        is.clear();
        is.seekg(0);
        boost::property_tree::ptree tree;
        boost::property_tree::read_info(is, tree);
        benchmark::DoNotOptimize(tree);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

#ifdef ZUL_BENCH_HAVE_JSON
void PmlParseJson_zul(benchmark::State& state) {
    PmlParse_zul(state);
}

void PmlParseJson_peer(benchmark::State& state) {
    const std::string& text = docs().json;
    for (auto _ : state) {
        nlohmann::json j = nlohmann::json::parse(text);
        benchmark::DoNotOptimize(j);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
#endif

// A field of /proc/self/status in KiB ("VmRSS", "VmHWM"); -1 when missing.
long statusKiB(const char* field) {
    std::ifstream is("/proc/self/status");
    std::string line;
    const size_t n = std::strlen(field);
    while (std::getline(is, line)) {
        if (line.compare(0, n, field) == 0 && line.size() > n && line[n] == ':') {
            return std::stol(line.substr(n + 1));
        }
    }
    return -1;
}

// The separate run behind the peak counters (this program started with --peak-rss=KIND):
// with the texts built, the resident size is taken as the base, the peak is reset, one
// text is parsed (the result kept alive) and the peak read back. Prints
// "<text bytes> <base KiB> <peak KiB>".
int peakRssRun(const std::string& kind) {
    const Documents& d = docs();
    std::ofstream("/proc/self/clear_refs") << "5";  // resets the peak (VmHWM, ru_maxrss)
    const long base = statusKiB("VmRSS");
    size_t bytes = 0;
    if (kind == "pml") {
        zul::pml::ntv::Unit root;
        const char* p = d.pml.c_str();
        zul::pml::ntvFromPml(root, p);
        bytes = d.pml.size();
        benchmark::DoNotOptimize(root);
    } else if (kind == "info") {
        std::istringstream is(d.info);
        boost::property_tree::ptree tree;
        boost::property_tree::read_info(is, tree);
        bytes = d.info.size();
        benchmark::DoNotOptimize(tree);
#ifdef ZUL_BENCH_HAVE_JSON
    } else if (kind == "json") {
        nlohmann::json j = nlohmann::json::parse(d.json);
        bytes = d.json.size();
        benchmark::DoNotOptimize(j);
#endif
    } else {
        return 2;
    }
    struct rusage ru;
    getrusage(RUSAGE_SELF, &ru);
    std::printf("%zu %ld %ld\n", bytes, base, static_cast<long>(ru.ru_maxrss));
    return 0;
}

// Runs peakRssRun in a new process of this program and reports the peak the parse added
// and the whole peak, both relative to the text size.
void peakRss(benchmark::State& state, const char* kind) {
    char self[4096];
    const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return state.SkipWithError("no /proc/self/exe");
    self[n] = '\0';
    for (auto _ : state) {
        const std::string cmd = std::string("'") + self + "' --peak-rss=" + kind;
        FILE* f = popen(cmd.c_str(), "r");
        if (f == nullptr) return state.SkipWithError("popen");
        size_t bytes = 0;
        long base = 0, peak = 0;
        const int got = std::fscanf(f, "%zu %ld %ld", &bytes, &base, &peak);
        if (pclose(f) != 0 || got != 3 || bytes == 0) return state.SkipWithError("peak run");
        state.counters["added_peak_over_text"] = (peak - base) * 1024.0 / bytes;
        state.counters["peak_over_text"] = peak * 1024.0 / bytes;
        state.counters["text_MiB"] = bytes / double(1 << 20);
    }
}

void PmlParsePeakRss(benchmark::State& state) {
    peakRss(state, "pml");
}
void InfoParsePeakRss(benchmark::State& state) {
    peakRss(state, "info");
}
#ifdef ZUL_BENCH_HAVE_JSON
void JsonParsePeakRss(benchmark::State& state) {
    peakRss(state, "json");
}
#endif

}  // namespace

BENCHMARK(PmlParse_zul)->Name("PmlParse/zul")->Unit(benchmark::kMillisecond);
BENCHMARK(PmlParse_peer)->Name("PmlParse/peer")->Unit(benchmark::kMillisecond);
BENCHMARK(PmlParseStream_zul)->Name("PmlParseStream/zul")->Unit(benchmark::kMillisecond);
#ifdef ZUL_BENCH_HAVE_JSON
BENCHMARK(PmlParseJson_zul)->Name("PmlParseJson/zul")->Unit(benchmark::kMillisecond);
BENCHMARK(PmlParseJson_peer)->Name("PmlParseJson/peer")->Unit(benchmark::kMillisecond);
BENCHMARK(JsonParsePeakRss)->Iterations(1)->Unit(benchmark::kMillisecond);
#endif
BENCHMARK(PmlParsePeakRss)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(InfoParsePeakRss)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.compare(0, 11, "--peak-rss=") == 0) return peakRssRun(arg.substr(11));
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
