// zul::des3: the published DES tables, the key schedule, the rounds and the ECB buffer loop
// with zero padding.
#include <zul/base/des.h>
#include <zul/platform/bounds_checked.h>
#include <zul/base/char_memory.h>

#include <array>
#include <string>

namespace zul {
namespace {

// ---- The published tables (bit 1 is the most significant bit of the first byte) ----------

constexpr unsigned char kIP[64] = {58, 50, 42, 34, 26, 18, 10, 2, 60, 52, 44, 36, 28, 20, 12, 4,
                                   62, 54, 46, 38, 30, 22, 14, 6, 64, 56, 48, 40, 32, 24, 16, 8,
                                   57, 49, 41, 33, 25, 17, 9,  1, 59, 51, 43, 35, 27, 19, 11, 3,
                                   61, 53, 45, 37, 29, 21, 13, 5, 63, 55, 47, 39, 31, 23, 15, 7};

constexpr unsigned char kFP[64] = {40, 8, 48, 16, 56, 24, 64, 32, 39, 7, 47, 15, 55, 23, 63, 31,
                                   38, 6, 46, 14, 54, 22, 62, 30, 37, 5, 45, 13, 53, 21, 61, 29,
                                   36, 4, 44, 12, 52, 20, 60, 28, 35, 3, 43, 11, 51, 19, 59, 27,
                                   34, 2, 42, 10, 50, 18, 58, 26, 33, 1, 41, 9,  49, 17, 57, 25};

constexpr unsigned char kPC1[56] = {57, 49, 41, 33, 25, 17, 9,  1,  58, 50, 42, 34, 26, 18,
                                    10, 2,  59, 51, 43, 35, 27, 19, 11, 3,  60, 52, 44, 36,
                                    63, 55, 47, 39, 31, 23, 15, 7,  62, 54, 46, 38, 30, 22,
                                    14, 6,  61, 53, 45, 37, 29, 21, 13, 5,  28, 20, 12, 4};

constexpr unsigned char kPC2[48] = {14, 17, 11, 24, 1,  5,  3,  28, 15, 6,  21, 10, 23, 19, 12, 4,
                                    26, 8,  16, 7,  27, 20, 13, 2,  41, 52, 31, 37, 47, 55, 30, 40,
                                    51, 45, 33, 48, 44, 49, 39, 56, 34, 53, 46, 42, 50, 36, 29, 32};

// Cumulative left rotations of the two key halves before each round.
constexpr unsigned char kRotations[16] = {1,  2,  4,  6,  8,  10, 12, 14,
                                          15, 17, 19, 21, 23, 25, 27, 28};

constexpr unsigned char kP[32] = {16, 7, 20, 21, 29, 12, 28, 17, 1,  15, 23, 26, 5,  18, 31, 10,
                                  2,  8, 24, 14, 32, 27, 3,  9,  19, 13, 30, 6,  22, 11, 4,  25};

constexpr unsigned char kS[8][64] = {
    {14, 4,  13, 1, 2,  15, 11, 8, 3, 10, 6, 12, 5,  9,  0,  7,  0,  15, 7,  4,  14, 2,
     13, 1,  10, 6, 12, 11, 9,  5, 3, 8,  4, 1,  14, 8,  13, 6,  2,  11, 15, 12, 9,  7,
     3,  10, 5,  0, 15, 12, 8,  2, 4, 9,  1, 7,  5,  11, 3,  14, 10, 0,  6,  13},
    {15, 1,  8,  14, 6,  11, 3,  4, 9,  7,  2, 13, 12, 0,  5,  10, 3,  13, 4,  7, 15, 2,
     8,  14, 12, 0,  1,  10, 6,  9, 11, 5,  0, 14, 7,  11, 10, 4,  13, 1,  5,  8, 12, 6,
     9,  3,  2,  15, 13, 8,  10, 1, 3,  15, 4, 2,  11, 6,  7,  12, 0,  5,  14, 9},
    {10, 0,  9,  14, 6, 3,  15, 5,  1,  13, 12, 7, 11, 4,  2,  8,  13, 7, 0,  9, 3, 4,
     6,  10, 2,  8,  5, 14, 12, 11, 15, 1,  13, 6, 4,  9,  8,  15, 3,  0, 11, 1, 2, 12,
     5,  10, 14, 7,  1, 10, 13, 0,  6,  9,  8,  7, 4,  15, 14, 3,  11, 5, 2,  12},
    {7, 13, 14, 3, 0, 6,  9, 10, 1,  2, 8,  5, 11, 12, 4,  15, 13, 8,  11, 5, 6, 15,
     0, 3,  4,  7, 2, 12, 1, 10, 14, 9, 10, 6, 9,  0,  12, 11, 7,  13, 15, 1, 3, 14,
     5, 2,  8,  4, 3, 15, 0, 6,  10, 1, 13, 8, 9,  4,  5,  11, 12, 7,  2,  14},
    {2,  12, 4, 1,  7,  10, 11, 6, 8, 5,  3, 15, 13, 0,  14, 9,  14, 11, 2,  12, 4,  7,
     13, 1,  5, 0,  15, 10, 3,  9, 8, 6,  4, 2,  1,  11, 10, 13, 7,  8,  15, 9,  12, 5,
     6,  3,  0, 14, 11, 8,  12, 7, 1, 14, 2, 13, 6,  15, 0,  9,  10, 4,  5,  3},
    {12, 1,  10, 15, 9,  2,  6, 8,  0, 13, 3,  4,  14, 7,  5, 11, 10, 15, 4, 2, 7, 12,
     9,  5,  6,  1,  13, 14, 0, 11, 3, 8,  9,  14, 15, 5,  2, 8,  12, 3,  7, 0, 4, 10,
     1,  13, 11, 6,  4,  3,  2, 12, 9, 5,  15, 10, 11, 14, 1, 7,  6,  0,  8, 13},
    {4, 11, 2,  14, 15, 0,  8,  13, 3, 12, 9,  7, 5,  10, 6,  1,  13, 0,  11, 7,  4, 9,
     1, 10, 14, 3,  5,  12, 2,  15, 8, 6,  1,  4, 11, 13, 12, 3,  7,  14, 10, 15, 6, 8,
     0, 5,  9,  2,  6,  11, 13, 8,  1, 4,  10, 7, 9,  5,  0,  15, 14, 2,  3,  12},
    {13, 2, 8,  4, 6, 15, 11, 1,  10, 9,  3, 14, 5,  0,  12, 7,  1,  15, 13, 8, 10, 3,
     7,  4, 12, 5, 6, 11, 0,  14, 9,  2,  7, 11, 4,  1,  9,  12, 14, 2,  0,  6, 10, 13,
     15, 3, 5,  8, 2, 1,  14, 7,  4,  10, 8, 13, 15, 12, 9,  0,  3,  5,  6,  11}};

// ---- Tables derived from the published ones at compile time -------------------------------

// A 64-bit permutation as 16 tables, one per input nibble (most significant first), each
// giving the output bits that nibble's value sets. 16 look-ups instead of 64 bit tests.
struct NibblePerm {
    std::array<std::uint64_t, 16> t[16]{};
    constexpr explicit NibblePerm(const unsigned char (&table)[64]) {
        for (unsigned out = 0; out < 64; ++out) {
            unsigned in = table[out] - 1u;
            for (unsigned v = 0; v < 16; ++v) {
                if (v & (8u >> (in % 4))) t[in / 4][v] |= std::uint64_t{1} << (63 - out);
            }
        }
    }
    std::uint64_t operator()(std::uint64_t x) const {
        std::uint64_t y = 0;
        for (unsigned n = 0; n < 16; ++n) y |= t[n][(x >> (60 - 4 * n)) & 15];
        return y;
    }
};
constexpr NibblePerm kInitialPerm(kIP);
constexpr NibblePerm kFinalPerm(kFP);

// S-box j followed by P, indexed by the 6-bit input b1..b6 (b1 the high bit): row b1b6,
// column b2..b5.
struct SPTables {
    std::array<std::uint32_t, 64> sp[8]{};
    constexpr SPTables() {
        for (unsigned j = 0; j < 8; ++j) {
            for (unsigned v = 0; v < 64; ++v) {
                unsigned row = ((v >> 4) & 2u) | (v & 1u);
                unsigned col = (v >> 1) & 15u;
                std::uint32_t s = static_cast<std::uint32_t>(kS[j][row * 16 + col]) << (28 - 4 * j);
                std::uint32_t p = 0;
                for (unsigned out = 0; out < 32; ++out) {
                    if (s & (std::uint32_t{1} << (32 - kP[out])))
                        p |= std::uint32_t{1} << (31 - out);
                }
                sp[j][v] = p;
            }
        }
    }
};
constexpr SPTables kSP;

inline std::uint32_t rotl(std::uint32_t x, unsigned n) {
    n &= 31;  // S-box 7 asks for a rotation by 33
    return n == 0 ? x : (x << n) | (x >> (32 - n));
}

// The expansion of R feeds S-box j with bits 4j..4j+5 (1-based, wrapping), which is the low
// six bits of R rotated left by 5 + 4j. Rotating once by 5 and once by 9 puts the inputs of
// S-boxes 0, 6, 4, 2 and 1, 7, 5, 3 at the bottom of each byte.
inline std::uint32_t expansion(std::uint32_t r, unsigned j) {
    return rotl(r, 5 + 4 * j) & 63u;
}

// The subkeys of one call packed to match those byte positions: two words per round.
struct PackedKeys {
    std::uint32_t a[16];
    std::uint32_t b[16];
};

PackedKeys pack(const unsigned char (&sub)[16][8]) {
    PackedKeys k;
    for (unsigned r = 0; r < 16; ++r) {
        const unsigned char* s = sub[r];
        k.a[r] =
            s[0] | std::uint32_t{s[6]} << 8 | std::uint32_t{s[4]} << 16 | std::uint32_t{s[2]} << 24;
        k.b[r] =
            s[1] | std::uint32_t{s[7]} << 8 | std::uint32_t{s[5]} << 16 | std::uint32_t{s[3]} << 24;
    }
    return k;
}

inline std::uint32_t feistel(std::uint32_t r, std::uint32_t ka, std::uint32_t kb) {
    std::uint32_t a = rotl(r, 5) ^ ka;
    std::uint32_t b = rotl(r, 9) ^ kb;
    return kSP.sp[0][a & 63] ^ kSP.sp[6][(a >> 8) & 63] ^ kSP.sp[4][(a >> 16) & 63] ^
           kSP.sp[2][(a >> 24) & 63] ^ kSP.sp[1][b & 63] ^ kSP.sp[7][(b >> 8) & 63] ^
           kSP.sp[5][(b >> 16) & 63] ^ kSP.sp[3][(b >> 24) & 63];
}

inline std::uint64_t load64(const unsigned char* p) {
    std::uint64_t x = 0;
    for (unsigned i = 0; i < 8; ++i) x = x << 8 | p[i];
    return x;
}

inline void store64(unsigned char* p, std::uint64_t x) {
    for (unsigned i = 0; i < 8; ++i) p[i] = static_cast<unsigned char>(x >> (56 - 8 * i));
}

// One block in place with keys packed once per call; the halves stay in registers.
inline void cryptBlock(const PackedKeys& k, unsigned char* block) {
    std::uint64_t x = kInitialPerm(load64(block));
    std::uint32_t l = static_cast<std::uint32_t>(x >> 32);
    std::uint32_t r = static_cast<std::uint32_t>(x);
    for (unsigned i = 0; i < 16; i += 2) {
        l ^= feistel(r, k.a[i], k.b[i]);
        r ^= feistel(l, k.a[i + 1], k.b[i + 1]);
    }
    store64(block, kFinalPerm(std::uint64_t{r} << 32 | l));
}

// Encrypts or decrypts with the key cut or padded to 8 bytes, in a fresh state.
void run(unsigned char mode, const istr& data, Bytes& out, const istr& key) {
    unsigned char k[8] = {};
    MemCopy(k, key.data, key.size < 8 ? key.size : 8);
    des3 state;
    state.QV_DES3_Encrypt(mode, data, out, k);
}

}  // namespace

des3::des3() {
    memset_s(this, sizeof *this, 0, sizeof *this);
}

bool des3::encode(const istr& data, Bytes& out, const istr& key) {
    run(ENCRYPT, data, out, key);
    return true;
}

bool des3::decode(const istr& data, Bytes& out, const istr& key) {
    run(DECRYPT, data, out, key);
    return true;
}

void des3::QV_DES3_Encrypt(unsigned char mode, const istr& data, Bytes& out,
                           const unsigned char* key) {
    mode_ = mode;
    MemCopy(key_, key, sizeof key_);
    QV_Pro_Key();
    const PackedKeys packed = pack(subkeys_);

    const size_t n = data.data == nullptr ? 0 : data.size;
    const size_t padded = (n + 7) / 8 * 8;
    // Data that lives in `out` itself must be saved before `out` is regrown.
    std::string saved;
    const char* src = data.data;
    const auto at = reinterpret_cast<std::uintptr_t>(src);
    const auto begin = reinterpret_cast<std::uintptr_t>(out.c_str());
    if (n != 0 && begin != 0 && at >= begin && at < begin + out.max_size()) {
        saved.assign(src, n);
        src = saved.data();
    }
    out.size(0);
    out.resize(padded);
    unsigned char* buf = out.buffer();
    MemCopy(buf, src, n);
    MemSet(buf + n, 0, padded - n);
    for (size_t off = 0; off < padded; off += 8) cryptBlock(packed, buf + off);
    out.size(padded);
}

void des3::QV_DES3_Encrypt(unsigned char mode, unsigned char* block, const unsigned char* key) {
    mode_ = mode;
    MemCopy(key_, key, sizeof key_);
    MemCopy(input_, block, sizeof input_);
    QV_MakeKey(true);
    MemCopy(block, output_, sizeof output_);
}

void des3::QV_MakeKey(bool withSchedule) {
    if (withSchedule) QV_Pro_Key();
    std::uint64_t x = kInitialPerm(load64(input_));
    left_ = x >> 32;
    right_ = x & 0xFFFFFFFFu;
    QV_Fction();
    store64(output_, kFinalPerm(left_ << 32 | right_));
}

void des3::QV_Pro_Key() {
    // The key's 64 bits, one per byte, so that the tables can select them by number.
    for (unsigned i = 0; i < 64; ++i) perm_[i] = (key_[i / 8] >> (7 - i % 8)) & 1u;
    for (unsigned round = 0; round < 16; ++round) {
        const unsigned shift = kRotations[round];
        for (unsigned j = 0; j < 8; ++j) {
            unsigned char v = 0;
            for (unsigned b = 0; b < 6; ++b) {
                // Bit of the rotated halves C and D (28 bits each) that PC-2 selects.
                unsigned pos = kPC2[6 * j + b] - 1u;
                unsigned half = pos < 28 ? 0 : 28;
                unsigned rotated = half + (pos - half + shift) % 28;
                v = static_cast<unsigned char>(v << 1 | perm_[kPC1[rotated] - 1u]);
            }
            subkeys_[round][j] = v;
        }
    }
    if (mode_ == DECRYPT) {
        for (unsigned i = 0; i < 8; ++i) {
            for (unsigned j = 0; j < 8; ++j) {
                unsigned char t = subkeys_[i][j];
                subkeys_[i][j] = subkeys_[15 - i][j];
                subkeys_[15 - i][j] = t;
            }
        }
    }
}

void des3::QV_Fction() {
    std::uint32_t l = static_cast<std::uint32_t>(left_);
    std::uint32_t r = static_cast<std::uint32_t>(right_);
    for (unsigned round = 0; round < 16; ++round) {
        std::uint32_t f = 0;
        for (unsigned j = 0; j < 8; ++j) {
            round_[j] = static_cast<unsigned char>(expansion(r, j) ^ subkeys_[round][j]);
            f ^= kSP.sp[j][round_[j]];
        }
        std::uint32_t t = l ^ f;
        l = r;
        r = t;
    }
    // Undo the swap of the last round.
    left_ = r;
    right_ = l;
}

}  // namespace zul
