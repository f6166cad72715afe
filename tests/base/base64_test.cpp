// Base64: RFC 4648 vectors, MIME line breaking, lenient decoding, round trips.
#include <gtest/gtest.h>
#include <zul/base/base64.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string text(zul::Bytes const& b) {
    return std::string(b.c_str(), b.size());
}

std::string encoded(std::string const& s) {
    zul::String out;
    zul::Base64::encode(zul::istr(s), out);
    return out;
}

std::string decoded(std::string const& s) {
    zul::Bytes out;
    zul::Base64::decode(zul::istr(s), out);
    return text(out);
}

// The decoding rules written out one character at a time, to check the fast decoder.
std::string referenceDecode(std::string const& in) {
    std::string kept;
    for (char c : in) {
        if (zul::Base64::isBase64(c) || c == '=') kept += c;
    }
    std::string out;
    for (size_t i = 0; i < kept.size(); i += 4) {
        char c[4];
        for (size_t j = 0; j < 4; ++j) c[j] = i + j < kept.size() ? kept[i + j] : 'A';
        unsigned d[4];
        for (size_t j = 0; j < 4; ++j) d[j] = zul::Base64::decode(c[j]);
        out += static_cast<char>((d[0] << 2) | (d[1] >> 4));
        if (c[2] != '=') out += static_cast<char>(((d[1] << 4) | (d[2] >> 2)) & 255);
        if (c[3] != '=') out += static_cast<char>(((d[2] << 6) | d[3]) & 255);
    }
    return out;
}

TEST(Base64, Rfc4648Vectors) {
    // clang-format off
    const std::pair<std::string, std::string> rows[] = {{"", ""}, {"f", "Zg=="}, {"fo", "Zm8="}, {"foo", "Zm9v"},
                        {"foob", "Zm9vYg=="}, {"fooba", "Zm9vYmE="}, {"foobar", "Zm9vYmFy"},
                        {"Man", "TWFu"}, {"M", "TQ=="}, {"Ma", "TWE="},
                        {std::string("\0\xff\xfe", 3), "AP/+"}};
    // clang-format on
    for (auto const& [plain, code] : rows) {
        EXPECT_EQ(encoded(plain), code) << plain;
        EXPECT_EQ(decoded(code), plain) << code;
        zul::String viaVector;
        zul::Base64::encode(std::vector<unsigned char>(plain.begin(), plain.end()), viaVector);
        EXPECT_EQ(viaVector, code);
    }
}

TEST(Base64, EmptyInputLeavesOutputsAlone) {
    zul::String out("keep");
    zul::Base64::encode(zul::istr(), out);
    zul::Base64::encode(std::vector<unsigned char>(), out);
    EXPECT_EQ(out, "keep");

    std::vector<unsigned char> v{1, 2};
    zul::Base64::decode(zul::istr(" \r\n*"), v);
    EXPECT_EQ(v, (std::vector<unsigned char>{1, 2}));
    zul::Base64::decode(zul::istr("TWFu"), v);
    EXPECT_EQ(v, (std::vector<unsigned char>{'M', 'a', 'n'}));

    zul::Bytes b(zul::istr("old"));
    zul::Base64::decode(zul::istr("!!\r\n"), b);
    EXPECT_EQ(b.size(), 0u);
}

TEST(Base64, LinesOf76JoinedByCrLf) {
    struct Row {
        size_t bytes;
        std::vector<size_t> lines;  // characters per line
    };
    Row const rows[] = {{1, {4}},        {56, {76}},         {57, {76}},         {58, {76, 4}},
                        {114, {76, 76}}, {115, {76, 76, 4}}, {171, {76, 76, 76}}};
    for (auto const& r : rows) {
        std::string const plain(r.bytes, '\x5a'), code = encoded(plain);
        std::vector<size_t> lines;
        for (size_t from = 0, at; from <= code.size(); from = at + 2) {
            at = std::min(code.find("\r\n", from), code.size());
            lines.push_back(at - from);
        }
        EXPECT_EQ(lines, r.lines) << r.bytes;
        EXPECT_EQ(decoded(code), plain);
    }
    EXPECT_EQ(encoded(std::string(57, '\0')), std::string(76, 'A'));
}

TEST(Base64, DecodingSkipsJunkAndCompletesWithA) {
    // clang-format off
    const std::pair<std::string, std::string> rows[] = {{"TW\r\nF u", "Man"}, {" T\tW-F*u\n", "Man"}, {"\x80\xffTWFu\x01", "Man"},
                        {"TQ", std::string("M\0\0", 3)}, {"TWE", std::string("Ma\0", 3)},
                        {"TQ==TWFu", "MMan"}, {"====", "\xff"},
                        {"TQ=u", "M\xee"}};  // "=" in the third place only drops one byte
    // clang-format on
    for (auto const& [code, plain] : rows) EXPECT_EQ(decoded(code), plain) << code;
}

TEST(Base64, CharacterTables) {
    struct Row {
        char c;
        unsigned char value;
        bool base64;
    };
    Row const rows[] = {{'A', 0, true},   {'Z', 25, true},  {'a', 26, true},   {'z', 51, true},
                        {'0', 52, true},  {'9', 61, true},  {'+', 62, true},   {'/', 63, true},
                        {'=', 63, false}, {'-', 63, false}, {'\0', 63, false}, {'\xc3', 63, false}};
    for (auto const& r : rows) {
        EXPECT_EQ(zul::Base64::decode(r.c), r.value) << r.c;
        EXPECT_EQ(zul::Base64::isBase64(r.c), r.base64) << r.c;
        if (r.base64) {
            EXPECT_EQ(zul::Base64::encode(r.value), r.c);
        }
    }
}

TEST(Base64, RoundTripsEveryByteAndManyLengths) {
    std::string all;
    for (int i = 0; i < 256; ++i) all += static_cast<char>(i);
    for (size_t n = 0; n <= all.size(); ++n) {
        std::string plain = all.substr(all.size() - n);
        EXPECT_EQ(decoded(encoded(plain)), plain) << n;
    }
    std::mt19937 rng(7);
    std::string big(100000, '\0');
    for (char& c : big) c = static_cast<char>(rng());
    EXPECT_EQ(decoded(encoded(big)), big);
}

TEST(Base64, FastDecoderMatchesTheRulesOnNoisyText) {
    std::mt19937 rng(11);
    std::string const pool = "ABCxyz019+/=== \r\n*\x80";
    for (int round = 0; round < 2000; ++round) {
        std::string in(rng() % 40, ' ');
        for (char& c : in) c = pool[rng() % pool.size()];
        EXPECT_EQ(decoded(in), referenceDecode(in)) << in;
    }
}

TEST(Base64, DecodeIntoBytesSizesLikeAResize) {
    zul::Bytes fresh;
    zul::Base64::decode(zul::istr("TWFu"), fresh);
    EXPECT_EQ(fresh.max_size(), 3u);  // max(2 * 0 + 2, 3)

    zul::Bytes roomy(100);
    unsigned char* before = roomy.data();
    zul::Base64::decode(zul::istr("TWFu"), roomy);
    EXPECT_EQ(roomy.data(), before);
    EXPECT_EQ(text(roomy), "Man");

    zul::Bytes tight(3);  // holds the result, though not the decoder's working bound
    before = tight.data();
    zul::Base64::decode(zul::istr("TWFu"), tight);
    EXPECT_EQ(tight.data(), before);
    EXPECT_EQ(tight.max_size(), 3u);
    EXPECT_EQ(text(tight), "Man");

    zul::Bytes small(zul::istr("x"));  // capacity 1: grows to max(4, 6)
    zul::Base64::decode(zul::istr("Zm9vYmFy"), small);
    EXPECT_EQ(small.max_size(), 6u);
    EXPECT_EQ(text(small), "foobar");

    zul::Bytes self(zul::istr("TWFuTWFu"));  // decoding its own bytes
    zul::Base64::decode(self, self);
    EXPECT_EQ(text(self), "ManMan");
}

}  // namespace
