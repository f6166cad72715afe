// Application paths on real folders (XDG_DATA_HOME and HOME pointed at temporary ones) and
// copying files into folders.
#include <gtest/gtest.h>
#include <zul/util/util_func.h>

#include "util/file_test_support.h"

namespace {

using namespace zul_test;

// One per-user folder for the whole process: the support path is cached on first use.
const TempFolder& userData() {
    static TempFolder data;
    static bool ready = [] {
        EXPECT_EQ(zul::platform::applicationName(), "zul_tests");
        setenv("XDG_DATA_HOME", (data.path + "/xdg/").c_str(), 1);
        zul::setApplicationName("App");
        return true;
    }();
    (void)ready;
    return data;
}

TEST(UtilPaths, FoldersComeFromTheEnvironment) {
    const std::string xdg = userData() / "xdg";
    EXPECT_EQ(zul::getApplicationConfigPath(), xdg);
    EXPECT_EQ(zul::getApplicationSupportPath(), xdg + "/App");
    EXPECT_TRUE(std::filesystem::is_regular_file(zul::getProgramDir() + "/zul_tests"));

    // Not absolute or unset: HOME's .local/share. The support path stays as first found.
    setenv("HOME", (userData() / "home//").c_str(), 1);
    for (const char* x : {"relative/dir", "", static_cast<const char*>(nullptr)}) {
        x ? setenv("XDG_DATA_HOME", x, 1) : unsetenv("XDG_DATA_HOME");
        EXPECT_EQ(zul::getApplicationConfigPath(), userData() / "home/.local/share") << !x;
    }
    EXPECT_EQ(zul::getApplicationSupportPath(), xdg + "/App");
    setenv("XDG_DATA_HOME", xdg.c_str(), 1);
}

TEST(UtilPaths, CertificateSearch) {
    const std::string cert = userData() / "xdg/App/cert/";
    ASSERT_EQ(zul::getApplicationSupportPath() + "/cert/", cert);
    EXPECT_EQ(zul::getCertFullPath(), cert);  // no folder yet
    std::filesystem::create_directories(cert + "b");
    std::filesystem::create_directories(cert + "a.pem");  // a folder, not a certificate
    put(cert + "client.crt", "x");
    EXPECT_EQ(zul::getCertFullPath(), cert);
    put(cert + "z.pem", "x");
    put(cert + "b/c.PEM", "x");
    EXPECT_EQ(zul::getCertFullPath(), cert + "b/c.PEM");  // depth first, names in order
    std::filesystem::remove(cert + "b/c.PEM");
    put(cert + "b/c.Pem", "x");
    EXPECT_EQ(zul::getCertFullPath(), cert + "z.pem");
}

TEST(UtilPaths, CopyFileToDirectory) {
    TempFolder t;
    const std::string src = put(t / "src.bin", std::string("bytes\0\xff", 7), 0640);
    std::filesystem::create_directory(t / "to");
    EXPECT_TRUE(zul::copyFileToDirectory(src, t / "to", "copy.bin"));
    EXPECT_EQ(slurp(t / "to/copy.bin"), slurp(src));
    EXPECT_EQ(modeOf(t / "to/copy.bin"), 0640u);
    put(src, "new");
    EXPECT_TRUE(zul::copyFileToDirectory(src, t / "to/", "copy.bin"));  // replaced
    EXPECT_EQ(slurp(t / "to/copy.bin"), "new");
    EXPECT_TRUE(zul::copyFileToDirectory(src, t / "to", "\xff"));  // not UTF-8: source's name
    EXPECT_EQ(slurp(t / "to/src.bin"), "new");

    struct Row {
        std::string source, dir, name;
    } bad[] = {
        {t / "missing", t / "to", "m"},
        {"", t / "to", "e"},
        {src, "", "e"},
        {src, t / "to", ""},
        {src, t / "nowhere", "n"},
        {t / "to", t / "to", "d"},
        {src + "\xff", t / "to", "u"},
        {src, t / "to" + "\xc0", "u"},
    };
    for (const Row& r : bad)
        EXPECT_FALSE(zul::copyFileToDirectory(r.source, r.dir, r.name)) << r.name;
    EXPECT_EQ(entries(t / "to"), 2);  // nothing written, no temporary file left
}

}  // namespace
