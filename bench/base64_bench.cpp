// Base64 throughput on 1 MiB: zul::Base64 against OpenSSL's EVP_EncodeBlock/EVP_DecodeBlock.
#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <zul/base/base64.h>

#include <random>
#include <string>
#include <vector>

namespace {

constexpr size_t kSize = 1 << 20;

std::string const& input() {
    static std::string const data = [] {
        std::mt19937 rng(1);
        std::string s(kSize, '\0');
        for (char& c : s) c = static_cast<char>(rng());
        return s;
    }();
    return data;
}

void Base64Encode_zul(benchmark::State& state) {
    zul::String out;
    for (auto _ : state) {
        zul::Base64::encode(zul::istr(input()), out);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void Base64Encode_peer(benchmark::State& state) {
    std::vector<unsigned char> out(4 * kSize / 3 + 4);
    auto in = reinterpret_cast<unsigned char const*>(input().data());
    for (auto _ : state) {
        int n = EVP_EncodeBlock(out.data(), in, static_cast<int>(kSize));
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

// Each decoder gets the text it reads natively: ours MIME lines, OpenSSL's one block.
void Base64Decode_zul(benchmark::State& state) {
    zul::String text;
    zul::Base64::encode(zul::istr(input()), text);
    for (auto _ : state) {
        zul::Bytes out;
        zul::Base64::decode(zul::istr(text), out);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void Base64Decode_peer(benchmark::State& state) {
    std::vector<unsigned char> text(4 * kSize / 3 + 4);
    int len = EVP_EncodeBlock(text.data(), reinterpret_cast<unsigned char const*>(input().data()),
                              static_cast<int>(kSize));
    for (auto _ : state) {
        std::vector<unsigned char> out(3 * static_cast<size_t>(len) / 4 + 1);
        int n = EVP_DecodeBlock(out.data(), text.data(), len);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

}  // namespace

BENCHMARK(Base64Encode_zul)->Name("Base64Encode1MiB/zul");
BENCHMARK(Base64Encode_peer)->Name("Base64Encode1MiB/peer");
BENCHMARK(Base64Decode_zul)->Name("Base64Decode1MiB/zul");
BENCHMARK(Base64Decode_peer)->Name("Base64Decode1MiB/peer");

BENCHMARK_MAIN();
