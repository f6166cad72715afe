// XML on a configuration-like document of a few MiB (nested elements, attributes, entities,
// comments, text): zul's parser and text form against tinyxml2 and pugixml on the same
// text, and the peak resident size a parse adds, relative to the text.
#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <tinyxml2.h>
#include <unistd.h>
#include <zul/xml/XMLParser.h>
#include <zul/xml/XMLWriter.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <pugixml.hpp>
#include <sstream>
#include <string>

namespace {

constexpr int kSections = 8000;

const std::string& doc() {
    static const std::string d = [] {
        std::string r = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!-- generated -->\n";
        r += "<config version=\"2\">\n";
        for (int i = 0; i < kSections; ++i) {
            const std::string n = std::to_string(i);
            r += "    <!-- service " + n + " -->\n";
            r += "    <service id=\"" + n + "\" name=\"Service " + n +
                 ": primary &amp; backup\" enabled=\"true\">\n";
            r += "        <port>" + std::to_string(8000 + i % 1000) + "</port>\n";
            r += "        <ratio>0.75</ratio>\n";
            r += "        <tags><tag>alpha</tag><tag>beta gamma</tag><tag>delta</tag></tags>\n";
            r += "        <limits connections=\"1000\" timeout=\"30000\">\n";
            r += "            <backoff initial=\"100\" max=\"5000\"/>\n";
            r += "        </limits>\n";
            r += "        <path>/var/lib/zul/service_" + n + "/data</path>\n";
            r += "        <note>say &quot;hi&quot; to &lt;all&gt; &amp; more</note>\n";
            r += "    </service>\n";
        }
        return r + "</config>\n";
    }();
    return d;
}

void done(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * doc().size()));
}

// The three readers must see the same content, or the cases would not compare alike.
bool sameContent() {
    zul::xml::XMLParser z{zul::istr(doc())};
    tinyxml2::XMLDocument t;
    pugi::xml_document p;
    if (z.rootNode() == nullptr || t.Parse(doc().data(), doc().size()) != tinyxml2::XML_SUCCESS ||
        !p.load_buffer(doc().data(), doc().size()))
        return false;
    const zul::xml::XMLNode& last = z.rootNode()->child(size_t(kSections - 1));
    const auto* tl = t.RootElement()->LastChildElement("service");
    const auto pl = p.child("config").last_child();
    return z.rootNode()->numofChildren() == size_t(kSections) &&
           last.child("note").cdata() == tl->FirstChildElement("note")->GetText() &&
           last.attr("name").value() == pl.attribute("name").value();
}

void XmlParse_zul(benchmark::State& state) {
    if (!sameContent()) state.SkipWithError("documents differ");
    for (auto _ : state) {
        zul::xml::XMLParser p{zul::istr(doc())};
        benchmark::DoNotOptimize(p.rootNode());
    }
    done(state);
}

void XmlParse_tinyxml2(benchmark::State& state) {
    for (auto _ : state) {
        tinyxml2::XMLDocument d;
        benchmark::DoNotOptimize(d.Parse(doc().data(), doc().size()));
    }
    done(state);
}

void XmlParse_pugixml(benchmark::State& state) {
    for (auto _ : state) {
        pugi::xml_document d;
        benchmark::DoNotOptimize(d.load_buffer(doc().data(), doc().size()));
    }
    done(state);
}

void XmlWrite_zul(benchmark::State& state) {
    zul::xml::XMLParser p{zul::istr(doc())};
    for (auto _ : state) benchmark::DoNotOptimize(p.rootNode()->str(true, 0));
    done(state);
}

void XmlWriteEscaped_zul(benchmark::State& state) {
    zul::xml::XMLParser p{zul::istr(doc())};
    for (auto _ : state) benchmark::DoNotOptimize(zul::xml::toXml(*p.rootNode(), true));
    done(state);
}

void XmlWrite_tinyxml2(benchmark::State& state) {
    tinyxml2::XMLDocument d;
    d.Parse(doc().data(), doc().size());
    for (auto _ : state) {
        tinyxml2::XMLPrinter printer;
        d.Print(&printer);
        benchmark::DoNotOptimize(printer.CStr());
    }
    done(state);
}

void XmlWrite_pugixml(benchmark::State& state) {
    pugi::xml_document d;
    d.load_buffer(doc().data(), doc().size());
    for (auto _ : state) {
        std::ostringstream os;
        d.save(os, "    ");
        benchmark::DoNotOptimize(os.str());
    }
    done(state);
}

// A field of /proc/self/status in KiB ("VmRSS"); -1 when missing.
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
// with the text built, the resident size is the base, the peak is reset, the text is
// parsed (the result kept alive) and the peak read back. Prints "<bytes> <base> <peak>".
int peakRssRun(const std::string& kind) {
    const std::string& d = doc();
    std::ofstream("/proc/self/clear_refs") << "5";  // resets the peak (VmHWM, ru_maxrss)
    const long base = statusKiB("VmRSS");
    if (kind == "zul") {
        zul::xml::XMLParser p{zul::istr(d)};
        benchmark::DoNotOptimize(p.rootNode());
    } else if (kind == "tinyxml2") {
        tinyxml2::XMLDocument t;
        benchmark::DoNotOptimize(t.Parse(d.data(), d.size()));
    } else if (kind == "pugixml") {
        pugi::xml_document p;
        benchmark::DoNotOptimize(p.load_buffer(d.data(), d.size()));
    } else {
        return 2;
    }
    struct rusage ru;
    getrusage(RUSAGE_SELF, &ru);
    std::printf("%zu %ld %ld\n", d.size(), base, static_cast<long>(ru.ru_maxrss));
    return 0;
}

// Runs peakRssRun in a new process of this program; reports the peak the parse added
// relative to the text size.
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
        state.counters["text_MiB"] = bytes / double(1 << 20);
    }
}

}  // namespace

// Each case runs against both peers: "<case>/zul" and "<case>/peer" pairs for the ratio
// table, tinyxml2 first and pugixml in the "...Pugixml" cases.
BENCHMARK(XmlParse_zul)->Name("XmlParse/zul")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlParse_tinyxml2)->Name("XmlParse/peer")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlParse_zul)->Name("XmlParsePugixml/zul")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlParse_pugixml)->Name("XmlParsePugixml/peer")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlWrite_zul)->Name("XmlWrite/zul")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlWrite_tinyxml2)->Name("XmlWrite/peer")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlWrite_zul)->Name("XmlWritePugixml/zul")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlWrite_pugixml)->Name("XmlWritePugixml/peer")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlWriteEscaped_zul)->Name("XmlWriteEscaped/zul")->Unit(benchmark::kMillisecond);
BENCHMARK(XmlWrite_tinyxml2)->Name("XmlWriteEscaped/peer")->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(peakRss, zul, "zul")->Name("XmlParsePeakRss/zul")->Iterations(1);
BENCHMARK_CAPTURE(peakRss, tinyxml2, "tinyxml2")->Name("XmlParsePeakRss/tinyxml2")->Iterations(1);
BENCHMARK_CAPTURE(peakRss, pugixml, "pugixml")->Name("XmlParsePeakRss/pugixml")->Iterations(1);

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
