// zul::des3: published known answers, OpenSSL as a differential peer, padding and key rules.
#define OPENSSL_SUPPRESS_DEPRECATED
#include <gtest/gtest.h>
#include <openssl/des.h>
#include <zul/base/des.h>

#include <random>
#include <string>

namespace {

std::string fromHex(const std::string& hex) {
    std::string s;
    for (size_t i = 0; i + 1 < hex.size(); i += 2) s += char(std::stoi(hex.substr(i, 2), 0, 16));
    return s;
}

template <bool (*Run)(const zul::istr&, zul::Bytes&, const zul::istr&)>
std::string crypt(const std::string& data, const std::string& key) {
    zul::Bytes out;
    EXPECT_TRUE(Run(zul::istr(data), out, zul::istr(key)));
    return std::string(out.c_str(), out.size());
}
const auto encode = crypt<&zul::des3::encode>;
const auto decode = crypt<&zul::des3::decode>;

// One block through the single-block step.
std::string block(unsigned char mode, const std::string& data, const std::string& key) {
    unsigned char b[8];
    std::copy(data.begin(), data.end(), b);
    zul::des3().QV_DES3_Encrypt(mode, b, reinterpret_cast<const unsigned char*>(key.data()));
    return std::string(reinterpret_cast<char*>(b), 8);
}

// The same single DES block from OpenSSL, over zero-padded data.
std::string peer(std::string data, const std::string& key, int enc) {
    DES_cblock k;
    std::copy(key.begin(), key.end(), k);
    DES_key_schedule ks;
    DES_set_key_unchecked(&k, &ks);
    data.resize((data.size() + 7) / 8 * 8, '\0');
    for (size_t i = 0; i < data.size(); i += 8) {
        DES_cblock in, out;
        std::copy(data.begin() + i, data.begin() + i + 8, in);
        DES_ecb_encrypt(&in, &out, &ks, enc);
        std::copy(out, out + 8, data.begin() + i);
    }
    return data;
}

TEST(Des, PublishedKnownAnswers) {
    struct Row {
        const char *key, *plain, *cipher;
    } rows[] = {
        // Variable plaintext under the key with only parity bits set.
        {"0101010101010101", "8000000000000000", "95F8A5E5DD31D900"},
        {"0101010101010101", "4000000000000000", "DD7F121CA5015619"},
        {"0101010101010101", "2000000000000000", "2E8653104F3834EA"},
        {"0101010101010101", "1000000000000000", "4BD388FF6CD81D4F"},
        {"0101010101010101", "0000000000000001", "166B40B44ABA4BD6"},
        // Variable key over the zero block.
        {"8001010101010101", "0000000000000000", "95A8D72813DAA94D"},
        {"4001010101010101", "0000000000000000", "0EEC1487DD8C26D5"},
        {"2001010101010101", "0000000000000000", "7AD16FFB79C45926"},
        {"0101010101010102", "0000000000000000", "869EFD7F9F265A09"},
        // The classic worked example, and a textbook key with every round subkey distinct.
        {"0123456789ABCDEF", "4E6F772069732074", "3FA40E8A984D4815"},
        {"133457799BBCDFF1", "0123456789ABCDEF", "85E813540F0AB405"},
    };
    for (const Row& r : rows) {
        const std::string key = fromHex(r.key), plain = fromHex(r.plain);
        const std::string cipher = fromHex(r.cipher);
        EXPECT_EQ(encode(plain, key), cipher) << r.key << " " << r.plain;
        EXPECT_EQ(decode(cipher, key), plain) << r.key << " " << r.cipher;
        EXPECT_EQ(block(zul::des3::ENCRYPT, plain, key), cipher) << r.key;
        EXPECT_EQ(block(zul::des3::DECRYPT, cipher, key), plain) << r.key;
    }
    const std::string now = "Now is the time for all ";
    EXPECT_EQ(encode(now, fromHex("0123456789ABCDEF")),
              fromHex("3FA40E8A984D48156A271787AB8883F9893D51EC4B563B53"));
}

TEST(Des, MatchesOpenSslOnRandomKeysAndData) {
    std::mt19937 rng(15);
    for (int round = 0; round < 200; ++round) {
        std::string key(8, '\0'), data(rng() % 100, '\0');
        for (char& c : key) c = static_cast<char>(rng());
        for (char& c : data) c = static_cast<char>(rng());
        const std::string cipher = encode(data, key);
        ASSERT_EQ(cipher, peer(data, key, DES_ENCRYPT)) << round;
        ASSERT_EQ(decode(cipher, key), peer(cipher, key, DES_DECRYPT)) << round;
        std::string padded = data;
        padded.resize(cipher.size(), '\0');
        ASSERT_EQ(decode(cipher, key), padded) << round;
    }
}

TEST(Des, PaddingAndKeyRules) {
    const std::string key = "k3y!K3Y?";
    // 5 bytes give one block; decryption keeps the three padding zeros.
    EXPECT_EQ(encode("hello", key).size(), 8u);
    EXPECT_EQ(decode(encode("hello", key), key), std::string("hello\0\0\0", 8));
    EXPECT_EQ(encode("12345678", key).size(), 8u);
    EXPECT_EQ(encode("123456789", key).size(), 16u);
    // Empty data gives empty output, also into a buffer that held something.
    zul::Bytes out(zul::istr("old content"));
    EXPECT_TRUE(zul::des3::encode(zul::istr(), out, zul::istr(key)));
    EXPECT_EQ(out.size(), 0u);
    // ECB: equal blocks, equal ciphertext.
    const std::string two = encode("ABCDEFGHABCDEFGH", key);
    EXPECT_EQ(two.substr(0, 8), two.substr(8));
    // Short keys are padded with zeros, long ones cut at 8 bytes.
    EXPECT_EQ(encode("data", "abc"), encode("data", std::string("abc\0\0\0\0\0", 8)));
    EXPECT_EQ(encode("data", ""), encode("data", std::string(8, '\0')));
    EXPECT_EQ(encode("data", "abcdefgh0123456789ABCDEF"), encode("data", "abcdefgh"));
    // The low bit of each key byte is DES parity and takes no part; the others all do.
    EXPECT_EQ(encode("data", "abcdefgh"), encode("data", "abcdefgi"));
    EXPECT_NE(encode("data", "abcdefgh"), encode("data", "abcdefgj"));
    // Data that lives in the output buffer itself.
    zul::Bytes inPlace(zul::istr("in place, ten+"));
    EXPECT_TRUE(zul::des3::encode(zul::istr(inPlace), inPlace, zul::istr(key)));
    EXPECT_EQ(std::string(inPlace.c_str(), inPlace.size()), encode("in place, ten+", key));
}

}  // namespace
