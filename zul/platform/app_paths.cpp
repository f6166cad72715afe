// Per-user folders on Linux: the executable's folder, the XDG data folder and the
// application's name.
#include <pwd.h>
#include <unistd.h>
#include <ace/Guard_T.h>
#include <ace/Thread_Mutex.h>
#include <zul/platform/app_paths.h>

#include <cstdlib>
#include <vector>

namespace zul {
namespace {

constexpr char kSelfExe[] = "/proc/self/exe";
constexpr char kDataUnderHome[] = "/.local/share";

// The name the application chose; empty while it has not chosen one.
ACE_Thread_Mutex& nameLock() {
    static ACE_Thread_Mutex m;
    return m;
}
std::string& chosenName() {
    static std::string name;
    return name;
}

std::string executablePath() {
    std::vector<char> buf(256);
    for (;;) {
        ssize_t n = ::readlink(kSelfExe, buf.data(), buf.size());
        if (n < 0) return std::string();
        if (static_cast<size_t>(n) < buf.size()) return std::string(buf.data(), n);
        buf.resize(2 * buf.size());  // the link may have been cut: read it again
    }
}

bool isAbsolute(const char* p) {
    return p != nullptr && p[0] == '/';
}

// `p` without trailing slashes, except that "/" stays.
std::string withoutTrailingSlash(std::string p) {
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    return p;
}

std::string passwdHome() {
    struct passwd pw;
    struct passwd* found = nullptr;
    std::vector<char> buf(16384);
    if (::getpwuid_r(::getuid(), &pw, buf.data(), buf.size(), &found) != 0 || found == nullptr) {
        return std::string();
    }
    return isAbsolute(pw.pw_dir) ? std::string(pw.pw_dir) : std::string();
}

}  // namespace

void setApplicationName(const std::string& name) {
    ACE_Guard<ACE_Thread_Mutex> g(nameLock());
    chosenName() = name;
}

namespace platform {

std::string resourceDir() {
    std::string exe = executablePath();
    std::string::size_type slash = exe.rfind('/');
    if (slash == std::string::npos) return std::string();
    return slash == 0 ? std::string("/") : exe.substr(0, slash);
}

std::string userDataDir() {
    const char* xdg = std::getenv("XDG_DATA_HOME");
    if (isAbsolute(xdg)) return withoutTrailingSlash(xdg);
    const char* home = std::getenv("HOME");
    std::string base = isAbsolute(home) ? std::string(home) : passwdHome();
    if (base.empty()) return std::string();
    return withoutTrailingSlash(withoutTrailingSlash(base) + kDataUnderHome);
}

std::string applicationName() {
    {
        ACE_Guard<ACE_Thread_Mutex> g(nameLock());
        if (!chosenName().empty()) return chosenName();
    }
    std::string exe = executablePath();
    return exe.substr(exe.rfind('/') + 1);
}

std::string joinPath(const std::string& dir, const std::string& name) {
    if (name.empty()) return withoutTrailingSlash(dir);
    if (dir.empty()) return name;
    std::string joined = dir;
    while (!joined.empty() && joined.back() == '/') joined.pop_back();
    std::string::size_type start = name.find_first_not_of('/');
    if (start == std::string::npos) return joined.empty() ? std::string("/") : joined;
    return joined + "/" + name.substr(start);
}

}  // namespace platform
}  // namespace zul
