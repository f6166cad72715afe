// zul::Base64: table-driven encoding and decoding of Base64 text.
#include <zul/base/base64.h>
#include <zul/base/char_memory.h>

#include <array>
#include <cstdint>
#include <cstring>

namespace zul {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Line layout: 57 input bytes make one full line of 76 characters.
constexpr size_t kLineChars = 76;
constexpr size_t kLineBytes = 57;

// Every 12-bit input value as its two output characters, in memory order.
struct PairTable {
    std::array<std::uint16_t, 4096> v{};
    constexpr PairTable() {
        for (unsigned i = 0; i < 4096; ++i) {
            v[i] = static_cast<std::uint16_t>(static_cast<unsigned char>(kAlphabet[i >> 6]) |
                                              (static_cast<unsigned char>(kAlphabet[i & 63]) << 8));
        }
    }
};
constexpr PairTable kPairs;

// Marks a character that the four-character fast path cannot take (not in the alphabet,
// or "=").
constexpr std::uint32_t kNotFast = 0x01000000u;

constexpr int valueOf(unsigned c) {
    if (c >= 'A' && c <= 'Z') return static_cast<int>(c - 'A');
    if (c >= 'a' && c <= 'z') return static_cast<int>(c - 'a') + 26;
    if (c >= '0' && c <= '9') return static_cast<int>(c - '0') + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

// Per character: its value shifted into place for each position of a group, or kNotFast;
// the value decode(char) gives; and whether decoding keeps the character.
struct DecodeTables {
    std::array<std::uint32_t, 256> shifted[4]{};
    std::array<unsigned char, 256> value{};
    std::array<bool, 256> kept{};
    constexpr DecodeTables() {
        for (unsigned c = 0; c < 256; ++c) {
            int v = valueOf(c);
            for (unsigned pos = 0; pos < 4; ++pos) {
                shifted[pos][c] =
                    v < 0 ? kNotFast : static_cast<std::uint32_t>(v) << (18 - 6 * pos);
            }
            // decode(char) maps "/" and everything outside the alphabet to 63.
            value[c] = static_cast<unsigned char>(v < 0 ? 63 : v);
            kept[c] = v >= 0 || c == '=';
        }
    }
};
constexpr DecodeTables kDec;

inline void put4(char* o, std::uint32_t x) {
    std::uint32_t w = static_cast<std::uint32_t>(kPairs.v[x >> 12]) |
                      static_cast<std::uint32_t>(kPairs.v[x & 0xFFF]) << 16;
    std::memcpy(o, &w, 4);
}

inline std::uint32_t triple(unsigned char const* p) {
    return static_cast<std::uint32_t>(p[0]) << 16 | static_cast<std::uint32_t>(p[1]) << 8 | p[2];
}

void encodeInto(unsigned char const* in, size_t n, String& out) {
    size_t chars = 4 * ((n + 2) / 3);
    size_t total = chars + 2 * ((chars - 1) / kLineChars);
    out.clear();
    out.resize(total);
    char* o = &out[0];
    unsigned char const* end = in + n;
    // Full lines; each but one that ends the text is followed by "\r\n".
    while (static_cast<size_t>(end - in) >= kLineBytes) {
        for (size_t i = 0; i < kLineBytes; i += 3, o += 4) put4(o, triple(in + i));
        in += kLineBytes;
        if (in != end) {
            o[0] = '\r';
            o[1] = '\n';
            o += 2;
        }
    }
    for (; end - in >= 3; in += 3, o += 4) put4(o, triple(in));
    size_t rest = static_cast<size_t>(end - in);
    if (rest != 0) {
        std::uint32_t x = static_cast<std::uint32_t>(in[0]) << 16;
        if (rest == 2) x |= static_cast<std::uint32_t>(in[1]) << 8;
        o[0] = kAlphabet[x >> 18];
        o[1] = kAlphabet[(x >> 12) & 63];
        o[2] = rest == 2 ? kAlphabet[(x >> 6) & 63] : '=';
        o[3] = '=';
    }
}

// The most bytes a text of `n` characters can decode to, plus one byte of slack for the
// four-byte stores of the fast path.
inline size_t decodeBound(size_t n) {
    return 3 * ((n + 3) / 4) + 1;
}

// Decodes one group of four kept characters, honouring "=" in the last two places.
inline unsigned char* emitGroup(unsigned char const* g, unsigned char* o) {
    unsigned d0 = kDec.value[g[0]], d1 = kDec.value[g[1]];
    unsigned d2 = kDec.value[g[2]], d3 = kDec.value[g[3]];
    *o++ = static_cast<unsigned char>((d0 << 2) | (d1 >> 4));
    if (g[2] != '=') *o++ = static_cast<unsigned char>(((d1 << 4) | (d2 >> 2)) & 255);
    if (g[3] != '=') *o++ = static_cast<unsigned char>(((d2 << 6) | d3) & 255);
    return o;
}

// Decodes `n` characters into `out` (room for decodeBound(n)); returns the decoded length,
// which is 0 exactly when no character was kept.
size_t decodeInto(unsigned char const* in, size_t n, unsigned char* out) {
    unsigned char const* end = in + n;
    unsigned char* o = out;
    unsigned char group[4];
    unsigned k = 0;
    while (in != end) {
        // Fast path: four alphabet characters at a group boundary.
        while (k == 0 && end - in >= 4) {
            std::uint32_t x = kDec.shifted[0][in[0]] | kDec.shifted[1][in[1]] |
                              kDec.shifted[2][in[2]] | kDec.shifted[3][in[3]];
            if (x & kNotFast) break;
            std::uint32_t w = __builtin_bswap32(x << 8);
            std::memcpy(o, &w, 4);
            o += 3;
            in += 4;
        }
        if (in == end) break;
        unsigned char c = *in++;
        if (!kDec.kept[c]) continue;
        group[k++] = c;
        if (k == 4) {
            o = emitGroup(group, o);
            k = 0;
        }
    }
    if (k != 0) {
        while (k < 4) group[k++] = 'A';
        o = emitGroup(group, o);
    }
    return static_cast<size_t>(o - out);
}

}  // namespace

void Base64::encode(istr data, String& out) {
    if (data.data == nullptr || data.size == 0) return;
    encodeInto(reinterpret_cast<unsigned char const*>(data.data), data.size, out);
}

void Base64::encode(std::vector<unsigned char> const& data, String& out) {
    if (data.empty()) return;
    encodeInto(data.data(), data.size(), out);
}

char Base64::encode(unsigned char v) {
    return kAlphabet[v & 63];
}

void Base64::decode(istr text, Bytes& out) {
    auto in = reinterpret_cast<unsigned char const*>(text.data);
    size_t n = text.data == nullptr ? 0 : text.size;
    size_t bound = decodeBound(n);
    bool overlaps = n != 0 && out.holds_i(in);
    if (!overlaps && bound <= out.capacity_) {
        out.size_ = decodeInto(in, n, out.buffer_);
        return;
    }
    // Decode into a fresh buffer, then leave `out` as growing it to the decoded length
    // would: the old buffer when it is large enough, otherwise a capacity of
    // max(2 * capacity + 2, length), which the fresh buffer always covers.
    size_t grown = 2 * out.capacity_ + 2;
    Bytes fresh(bound > grown ? bound : grown);
    size_t len = decodeInto(in, n, fresh.buffer_);
    if (len <= out.capacity_) {
        MemCopy(out.buffer_, fresh.buffer_, len);
    } else {
        std::swap(out.buffer_, fresh.buffer_);
        out.capacity_ = grown > len ? grown : len;
    }
    out.size_ = len;
}

void Base64::decode(istr text, std::vector<unsigned char>& out) {
    size_t n = text.data == nullptr ? 0 : text.size;
    Bytes buf(decodeBound(n));
    size_t len = decodeInto(reinterpret_cast<unsigned char const*>(text.data), n, buf.buffer());
    if (len == 0) return;
    out.assign(buf.buffer(), buf.buffer() + len);
}

unsigned char Base64::decode(char c) {
    return kDec.value[static_cast<unsigned char>(c)];
}

bool Base64::isBase64(char c) {
    return valueOf(static_cast<unsigned char>(c)) >= 0;
}

}  // namespace zul
