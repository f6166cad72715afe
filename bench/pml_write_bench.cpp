// Writing a configuration-like tree of several MiB: zul's PML writers against the INFO writer
// of Boost.PropertyTree and nlohmann::json's dump on the equivalent trees.
//
// Every pair shares one byte count (the PML text of the zul side), so the ratio of the rates
// is the ratio of the times for the same tree. "PmlWrite" writes indented text on both sides
// (SIMPLE against INFO's indented layout); "PmlWriteJson" writes one line (COMPACT against a
// dump without indentation).
#include <benchmark/benchmark.h>
#include <zul/pml/ntv_unit.h>
#include <zul/pml/pml_writer.h>

#include <boost/property_tree/info_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>

namespace {

using zul::istr;
using zul::pml::ntv::Unit;
namespace pml = zul::pml;
using boost::property_tree::ptree;

constexpr int kSections = 12000;
const pml::ShowPattern kNTV = pml::NAME | pml::TYPE | pml::VALUE;

struct Trees {
    Unit pml;
    ptree info;
    nlohmann::json json;
    size_t simpleBytes = 0;
    size_t compactBytes = 0;
};

// One section: typed scalars, quoted texts, a list of unnamed typed tags and a nested list.
const Trees& trees() {
    static const Trees* t = [] {
        auto* tr = new Trees;
        tr->pml.name(istr("config"));
        tr->json = nlohmann::json::object();
        for (int i = 0; i < kSections; ++i) {
            const std::string key = "section" + std::to_string(i);
            const std::string host = "host-" + std::to_string(i) + ".example.org:8443";
            const std::string path = "C:/data/dir" + std::to_string(i % 97) + "/file.txt";
            const std::string port = std::to_string(1024 + i % 50000);
            const std::string desc = "say \"hi\" to ^" + std::to_string(i) + " (twice)";

            Unit* s = new Unit(istr(key));
            s->addChild("host", "", host.c_str());
            s->addChild("port", "int", port.c_str());
            s->addChild("enabled", "bool", i % 3 ? "1" : "0");
            s->addChild("ratio", "double", "0.75");
            s->addChild("path", "", path.c_str());
            s->addChild("description", "", desc.c_str());
            Unit* tags = s->at(istr("tags"));
            for (int k = 0; k < 4; ++k) {
                tags->addChild("", "s", ("tag" + std::to_string((i + k) % 13)).c_str());
            }
            Unit* limits = s->at(istr("limits"));
            limits->addChild("cpu", "int", std::to_string(1 + i % 16).c_str());
            limits->addChild("memory", "int", std::to_string(256 * (1 + i % 8)).c_str());
            limits->addChild("note", "", "plain words only");
            tr->pml.addChild(s);

            ptree ps;
            ps.push_back({"host", ptree(host)});
            ps.push_back({"port", ptree(port)});
            ps.push_back({"enabled", ptree(i % 3 ? "1" : "0")});
            ps.push_back({"ratio", ptree("0.75")});
            ps.push_back({"path", ptree(path)});
            ps.push_back({"description", ptree(desc)});
            ptree pt;
            for (int k = 0; k < 4; ++k)
                pt.push_back({"", ptree("tag" + std::to_string((i + k) % 13))});
            ps.push_back({"tags", pt});
            ptree pl;
            pl.push_back({"cpu", ptree(std::to_string(1 + i % 16))});
            pl.push_back({"memory", ptree(std::to_string(256 * (1 + i % 8)))});
            pl.push_back({"note", ptree("plain words only")});
            ps.push_back({"limits", pl});
            tr->info.push_back({key, ps});

            nlohmann::json js = nlohmann::json::object();
            js["host"] = host;
            js["port"] = 1024 + i % 50000;
            js["enabled"] = i % 3 != 0;
            js["ratio"] = 0.75;
            js["path"] = path;
            js["description"] = desc;
            js["tags"] = nlohmann::json::array();
            for (int k = 0; k < 4; ++k) js["tags"].push_back("tag" + std::to_string((i + k) % 13));
            js["limits"] = {
                {"cpu", 1 + i % 16}, {"memory", 256 * (1 + i % 8)}, {"note", "plain words only"}};
            tr->json[key] = std::move(js);
        }
        zul::String text;
        pml::ntvToSimplePml(tr->pml, text, kNTV);
        tr->simpleBytes = text.size();
        text.clear();
        pml::ntvToCompactPml(tr->pml, text, kNTV);
        tr->compactBytes = text.size();
        return tr;
    }();
    return *t;
}

// The main cases reuse their destination on both sides (a String cleared, a stream rewound,
// nlohmann's serializer over one std::string), so they measure the writers and not how the
// allocator hands out fresh megabytes. The "Fresh" cases build a new destination each time.

void PmlWrite_zul(benchmark::State& state) {
    const Trees& t = trees();
    zul::String out;
    for (auto _ : state) {
        out.clear();
        pml::ntvToSimplePml(t.pml, out, kNTV);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.simpleBytes));
    state.counters["MiB"] = static_cast<double>(t.simpleBytes) / (1 << 20);
}

void PmlWrite_peer(benchmark::State& state) {
    const Trees& t = trees();
    std::ostringstream out;
    for (auto _ : state) {
        out.seekp(0);
        boost::property_tree::write_info(out, t.info);
        benchmark::DoNotOptimize(out.tellp());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.simpleBytes));
}

void PmlWriteJson_zul(benchmark::State& state) {
    const Trees& t = trees();
    zul::String out;
    for (auto _ : state) {
        out.clear();
        pml::ntvToCompactPml(t.pml, out, kNTV);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.compactBytes));
    state.counters["MiB"] = static_cast<double>(t.compactBytes) / (1 << 20);
}

void PmlWriteJson_peer(benchmark::State& state) {
    const Trees& t = trees();
    std::string out;
    for (auto _ : state) {
        out.clear();
        // What dump() does, over a string that is kept.
        nlohmann::detail::serializer<nlohmann::json> s(
            nlohmann::detail::output_adapter<char, std::string>(out), ' ');
        s.dump(t.json, false, false, 0);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.compactBytes));
}

void PmlWriteFresh_zul(benchmark::State& state) {
    const Trees& t = trees();
    for (auto _ : state) {
        zul::String out;
        pml::ntvToSimplePml(t.pml, out, kNTV);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.simpleBytes));
}

void PmlWriteFresh_peer(benchmark::State& state) {
    const Trees& t = trees();
    for (auto _ : state) {
        std::ostringstream out;
        boost::property_tree::write_info(out, t.info);
        benchmark::DoNotOptimize(out.tellp());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.simpleBytes));
}

void PmlWriteJsonFresh_zul(benchmark::State& state) {
    const Trees& t = trees();
    for (auto _ : state) {
        zul::String out;
        pml::ntvToCompactPml(t.pml, out, kNTV);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.compactBytes));
}

void PmlWriteJsonFresh_peer(benchmark::State& state) {
    const Trees& t = trees();
    for (auto _ : state) {
        std::string out = t.json.dump();
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.compactBytes));
}

// The stream destination, for reference (no peer).
void PmlWriteStream(benchmark::State& state) {
    const Trees& t = trees();
    std::ostringstream out;
    for (auto _ : state) {
        out.seekp(0);
        pml::ntvToSimplePml(t.pml, out, kNTV);
        benchmark::DoNotOptimize(out.tellp());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * t.simpleBytes));
}

}  // namespace

#define ZUL_PML_BENCH(fn, name) BENCHMARK(fn)->Name(name)->Unit(benchmark::kMillisecond)
ZUL_PML_BENCH(PmlWrite_zul, "PmlWrite/zul");
ZUL_PML_BENCH(PmlWrite_peer, "PmlWrite/peer");
ZUL_PML_BENCH(PmlWriteJson_zul, "PmlWriteJson/zul");
ZUL_PML_BENCH(PmlWriteJson_peer, "PmlWriteJson/peer");
ZUL_PML_BENCH(PmlWriteFresh_zul, "PmlWriteFresh/zul");
ZUL_PML_BENCH(PmlWriteFresh_peer, "PmlWriteFresh/peer");
ZUL_PML_BENCH(PmlWriteJsonFresh_zul, "PmlWriteJsonFresh/zul");
ZUL_PML_BENCH(PmlWriteJsonFresh_peer, "PmlWriteJsonFresh/peer");
ZUL_PML_BENCH(PmlWriteStream, "PmlWriteStream/zul-ostream");

BENCHMARK_MAIN();
