// Application paths and file copy: the resource folder, the per-user application-support
// and configuration folders, the certificate file, and copying a file into a folder.
#include <dirent.h>
#include <sys/stat.h>
#include <zul/base/base_type_wstring.h>
#include <zul/base/log_seam.h>
#include <ace/Guard_T.h>
#include <ace/Thread_Mutex.h>
#include <zul/platform/app_paths.h>
#include <zul/platform/file_io.h>
#include <zul/util/util_func.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace zul {
namespace {

constexpr char kCertFolder[] = "cert/";

// The two cached paths: filled by the first call that finds a non-empty path.
struct PathCache {
    ACE_Thread_Mutex lock;
    String programDir;
    String supportPath;
};

PathCache& cache() {
    static PathCache c;
    return c;
}

String cached(String PathCache::*slot, std::string (*compute)()) {
    PathCache& c = cache();
    ACE_Guard<ACE_Thread_Mutex> g(c.lock);
    if ((c.*slot).empty()) (c.*slot) = String(compute());
    return c.*slot;
}

std::string supportPath() {
    std::string dir = platform::userDataDir();
    return dir.empty() ? dir : platform::joinPath(dir, platform::applicationName());
}

bool hasPemExtension(const std::string& name) {
    std::string::size_type dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) return false;
    return name.compare(dot + 1, std::string::npos, "pem") == 0 ||
           name.compare(dot + 1, std::string::npos, "PEM") == 0;
}

// Depth first, entries of each folder in byte order, a folder's contents right after it;
// links to folders are not followed. Returns the path relative to `root`, or empty.
std::string findPem(const std::string& root, const std::string& rel) {
    DIR* d = ::opendir((root + rel).c_str());
    if (d == nullptr) return std::string();
    std::vector<std::string> names;
    while (struct dirent* e = ::readdir(d)) {
        if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) {
            names.push_back(e->d_name);
        }
    }
    ::closedir(d);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        std::string path = rel + name;
        struct stat st;
        if (::lstat((root + path).c_str(), &st) != 0) continue;
        if (S_ISDIR(st.st_mode)) {
            std::string found = findPem(root, path + "/");
            if (!found.empty()) return found;
        } else if (hasPemExtension(name) && ::stat((root + path).c_str(), &st) == 0 &&
                   S_ISREG(st.st_mode)) {
            return path;
        }
    }
    return std::string();
}

void recordFailure(const char* func, const std::string& what, int err) {
    detail::writeErrorRecord(__FILE__, __LINE__, func, what + ": " + std::strerror(err));
}

}  // namespace

String getProgramDir() {
    return cached(&PathCache::programDir, &platform::resourceDir);
}

String getApplicationSupportPath() {
    return cached(&PathCache::supportPath, &supportPath);
}

String getApplicationConfigPath() {
    return String(platform::userDataDir());
}

String getCertFullPath() {
    String support = getApplicationSupportPath();
    if (support.empty()) return support;
    std::string dir = support + "/" + kCertFolder;
    return String(dir + findPem(dir, std::string()));
}

bool copyFileToDirectory(const std::string& source, const std::string& directory,
                         const std::string& name) {
    if (source.empty() || directory.empty() || !detail::isUtf8(istr(source)) ||
        !detail::isUtf8(istr(directory))) {
        return false;
    }
    std::string fileName = name;
    if (!detail::isUtf8(istr(name))) {
        std::string s = source;
        while (s.size() > 1 && s.back() == '/') s.pop_back();
        fileName = s.substr(s.rfind('/') + 1);
    }
    std::string destination = platform::joinPath(directory, fileName);
    if (destination.empty()) return false;

    std::string content;
    unsigned mode = 0;
    if (!platform::readWholeFile(source, false, content, mode)) return false;
    // The copy takes the source's permission bits.
    if (!platform::replaceFileAtomically(destination, content.data(), content.size(),
                                         mode & 0777)) {
        recordFailure(__func__, "cannot write " + destination, errno);
        return false;
    }
    return true;
}

}  // namespace zul
