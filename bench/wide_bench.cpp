// UTF-8 <-> wide text: zul's conversions against glibc's mbsrtowcs / wcsrtombs in a UTF-8
// locale, on the same mixed text (ASCII, 2- and 3-byte sequences), each producing a fresh
// std::wstring / std::string per call.
#include <benchmark/benchmark.h>
#include <zul/base/base_type_string.h>
#include <zul/base/base_type_wstring.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

namespace {

// Exactly 16 bytes: "café naïve €".
const std::string k16B = "caf\xC3\xA9 na\xC3\xAFve \xE2\x82\xAC";

// `bytes` of the mixed text, cut at a character boundary.
std::string mixedText(size_t bytes) {
    const std::string unit =
        "Gr\xC3\xBC\xC3\x9F"
        "e, caf\xC3\xA9 \xE2\x82\xAC 42 text; ";
    std::string s;
    while (s.size() + unit.size() <= bytes) s += unit;
    while (s.size() < bytes) s += 'x';
    return s;
}

std::wstring toWide(const std::string& s) {
    std::wstring w;
    zul::utf8ToWstring(s, w);
    return w;
}

void zulToWide(benchmark::State& state, const std::string& src) {
    for (auto _ : state) {
        std::wstring out;
        zul::utf8ToWstring(src, out);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * src.size()));
}

void peerToWide(benchmark::State& state, const std::string& src) {
    for (auto _ : state) {
        std::wstring out;
        out.resize(src.size());
        const char* p = src.c_str();
        std::mbstate_t st{};
        size_t n = std::mbsrtowcs(&out[0], &p, out.size(), &st);
        out.resize(n == static_cast<size_t>(-1) ? 0 : n);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * src.size()));
}

void zulToUtf8(benchmark::State& state, const std::wstring& src, size_t bytes) {
    for (auto _ : state) {
        zul::String out;
        zul::wstringToAnsi(src, out);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

void peerToUtf8(benchmark::State& state, const std::wstring& src, size_t bytes) {
    for (auto _ : state) {
        std::string out;
        out.resize(src.size() * MB_CUR_MAX);
        const wchar_t* p = src.c_str();
        std::mbstate_t st{};
        size_t n = std::wcsrtombs(&out[0], &p, out.size(), &st);
        out.resize(n == static_cast<size_t>(-1) ? 0 : n);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

}  // namespace

int main(int argc, char** argv) {
    if (std::setlocale(LC_ALL, "C.UTF-8") == nullptr) {
        std::fprintf(stderr, "no C.UTF-8 locale: the peer cannot decode UTF-8\n");
        return 1;
    }
    // Names as "<size><direction>/<side>": Utf8ToWide16B/zul and so on.
    auto reg = [](const char* size, const std::string& text) {
        std::wstring wide = toWide(text);
        std::string to = std::string("Utf8ToWide") + size;
        std::string from = std::string("WideToUtf8") + size;
        benchmark::RegisterBenchmark((to + "/zul").c_str(), zulToWide, text);
        benchmark::RegisterBenchmark((to + "/peer").c_str(), peerToWide, text);
        benchmark::RegisterBenchmark((from + "/zul").c_str(), zulToUtf8, wide, text.size());
        benchmark::RegisterBenchmark((from + "/peer").c_str(), peerToUtf8, wide, text.size());
    };
    reg("16B", k16B);
    reg("1KiB", mixedText(1024));
    reg("1MiB", mixedText(1024 * 1024));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
