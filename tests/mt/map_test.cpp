// mt::map: insertion on first use, erase counts, per-thread keys, the dump text.
#include <gtest/gtest.h>
#include <zul/log/log_dumper.h>
#include <zul/mt/map.h>

#include <string>
#include <thread>
#include <vector>

namespace {

TEST(MtMap, InsertsOnFirstUseAndErases) {
    zul::mt::map<int, std::string> m;
    std::string& v = m.unsafe_at(5);
    EXPECT_EQ(v, "");  // default value
    v = "five";
    for (int k = 0; k < 100; ++k) m.unsafe_at(k);  // nodes do not move
    EXPECT_EQ(&m.unsafe_at(5), &v);
    EXPECT_EQ(v, "five");
    EXPECT_EQ(m.size(), 100u);
    EXPECT_EQ(m.erase(5), 1u);
    EXPECT_EQ(m.erase(5), 0u);
    EXPECT_EQ(m.erase(1000), 0u);
    EXPECT_FALSE(m.contains(5));
    EXPECT_TRUE(m.contains(6));
}

TEST(MtMap, ThreadsUseTheirOwnKeysUnlocked) {
    constexpr int kThreads = 8;
    zul::mt::map<int, std::vector<int> > m;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&m, t] {
            for (int i = 0; i < 500; ++i) {
                m.unsafe_at(t).push_back(i);    // inserts beside the others' entries
                m.unsafe_at(t + 1000).clear();  // a key of its own, created and erased
                m.erase(t + 1000);
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(m.size(), static_cast<size_t>(kThreads));
    int total = 0;
    m.forEach([&](int, std::vector<int> const& v) { total += static_cast<int>(v.size()); });
    EXPECT_EQ(total, kThreads * 500);
}

template <class M>

std::string dumped(M const& m) {
    zul::dumper d;
    m.dump(d);
    return d.str();
}

TEST(MtMap, DumpsOneLinePerElement) {
    zul::mt::map<int, std::string> texts;
    EXPECT_EQ(dumped(texts), "@zul::mt::map {\n}");
    texts.unsafe_at(2) = "two";
    texts.unsafe_at(1) = "one";
    EXPECT_EQ(dumped(texts), "@zul::mt::map {\n    1 : \"one\"\n    2 : \"two\"\n}");
}

}  // namespace
