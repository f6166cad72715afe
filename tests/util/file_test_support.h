// Real files for the path and INI tests: a temporary folder removed afterwards, whole-file
// reads and writes.
#pragma once

#include <stdlib.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace zul_test {

struct TempFolder {
    std::string path = [] {
        char tmpl[] = "/tmp/zul_files_XXXXXX";
        return std::string(mkdtemp(tmpl));
    }();
    ~TempFolder() { std::filesystem::remove_all(path); }
    std::string operator/(const std::string& name) const { return path + "/" + name; }
};

inline std::string put(const std::string& path, const std::string& content, unsigned mode = 0644) {
    std::ofstream(path, std::ios::binary) << content;
    chmod(path.c_str(), mode);
    return path;
}

inline std::string slurp(const std::string& path) {
    std::ostringstream os;
    os << std::ifstream(path, std::ios::binary).rdbuf();
    return os.str();
}

inline unsigned modeOf(const std::string& path) {
    struct stat st {};
    return stat(path.c_str(), &st) == 0 ? st.st_mode & 07777 : 0;
}

inline long entries(const std::string& dir) {
    return std::distance(std::filesystem::directory_iterator(dir), {});
}

}  // namespace zul_test
