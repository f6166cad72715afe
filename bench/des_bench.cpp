// DES throughput on 1 MiB: zul::des3 against OpenSSL's DES_ecb_encrypt over the same blocks,
// each side building its key schedule once per pass.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <benchmark/benchmark.h>
#include <openssl/des.h>
#include <zul/base/des.h>

#include <random>
#include <string>
#include <vector>

namespace {

constexpr size_t kSize = 1 << 20;
const char kKey[] = "8bytekey";

std::string const& input() {
    static std::string const data = [] {
        std::mt19937 rng(1);
        std::string s(kSize, '\0');
        for (char& c : s) c = static_cast<char>(rng());
        return s;
    }();
    return data;
}

void run(benchmark::State& state, bool encrypt) {
    zul::Bytes out;
    for (auto _ : state) {
        if (encrypt) {
            zul::des3::encode(zul::istr(input()), out, zul::istr(kKey));
        } else {
            zul::des3::decode(zul::istr(input()), out, zul::istr(kKey));
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void runPeer(benchmark::State& state, int enc) {
    std::vector<unsigned char> out(kSize);
    auto in = reinterpret_cast<const unsigned char*>(input().data());
    for (auto _ : state) {
        DES_cblock key;
        std::copy(kKey, kKey + 8, key);
        DES_key_schedule ks;
        DES_set_key_unchecked(&key, &ks);
        for (size_t i = 0; i < kSize; i += 8) {
            DES_ecb_encrypt(reinterpret_cast<const_DES_cblock*>(const_cast<unsigned char*>(in + i)),
                            reinterpret_cast<DES_cblock*>(out.data() + i), &ks, enc);
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kSize));
}

void DesEncode_zul(benchmark::State& state) {
    run(state, true);
}
void DesEncode_peer(benchmark::State& state) {
    runPeer(state, DES_ENCRYPT);
}
void DesDecode_zul(benchmark::State& state) {
    run(state, false);
}
void DesDecode_peer(benchmark::State& state) {
    runPeer(state, DES_DECRYPT);
}

}  // namespace

BENCHMARK(DesEncode_zul)->Name("DesEncode1MiB/zul");
BENCHMARK(DesEncode_peer)->Name("DesEncode1MiB/peer");
BENCHMARK(DesDecode_zul)->Name("DesDecode1MiB/zul");
BENCHMARK(DesDecode_peer)->Name("DesDecode1MiB/peer");

BENCHMARK_MAIN();
