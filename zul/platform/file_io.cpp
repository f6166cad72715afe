// Whole-file reads, and replacing a file all at once through a temporary file in the same
// folder and a rename.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zul/platform/file_io.h>

#include <cerrno>
#include <vector>

namespace zul {
namespace platform {
bool writeAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool readWholeFile(const std::string& path, bool forWriting, std::string& out, unsigned& mode) {
    out.clear();
    int fd = ::open(path.c_str(), (forWriting ? O_RDWR : O_RDONLY) | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat st;
    bool ok = ::fstat(fd, &st) == 0;
    if (ok && !S_ISREG(st.st_mode)) {
        ok = false;
        errno = S_ISDIR(st.st_mode) ? EISDIR : EINVAL;
    }
    mode = ok ? static_cast<unsigned>(st.st_mode & 07777) : 0;
    char buf[65536];
    while (ok) {
        ssize_t n = ::read(fd, buf, sizeof buf);
        if (n > 0) {
            out.append(buf, static_cast<size_t>(n));
        } else if (n == 0) {
            break;
        } else if (errno != EINTR) {
            ok = false;
        }
    }
    int err = errno;
    ::close(fd);
    errno = err;
    return ok;
}

bool replaceFileAtomically(const std::string& path, const char* data, size_t size, unsigned mode) {
    if (path.empty()) {
        errno = ENOENT;
        return false;
    }
    // The temporary file sits in the target's folder, so the rename never crosses file
    // systems; a leading dot keeps it out of ordinary listings.
    std::string::size_type slash = path.rfind('/');
    std::string dir = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    std::string pattern = dir + "." + base + ".zul-XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    int fd = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0) return false;
    bool ok = writeAll(fd, data, size) && ::fchmod(fd, mode & 07777) == 0 && ::fsync(fd) == 0;
    int err = errno;
    if (::close(fd) != 0 && ok) {
        ok = false;
        err = errno;
    }
    if (ok && ::rename(name.data(), path.c_str()) != 0) {
        ok = false;
        err = errno;
    }
    if (!ok) {
        ::unlink(name.data());
        errno = err;
    }
    return ok;
}

}  // namespace platform
}  // namespace zul
