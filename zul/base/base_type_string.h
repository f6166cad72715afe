// Text views and strings: istr, ostr, String (work in progress: being completed).
#pragma once

#include <zul/base/api.h>

#include <cstddef>
#include <cstring>
#include <string>

namespace zul {

/// Read-only, non-owning view of 8-bit text: size, then pointer (null is empty text).
struct ZUL_API istr {
    static constexpr size_t npos = static_cast<size_t>(-1);
    size_t size;
    const char* data;

    istr() : size(0), data(nullptr) {}
    istr(const char* p, size_t n = npos)
        : size(p == nullptr ? 0 : (n == npos ? std::strlen(p) : n)), data(p) {}
    istr(const std::string& s) : size(s.size()), data(s.data()) {}
};

/// Owning 8-bit (UTF-8) string; a standard string with the library's conversions.
class ZUL_API String : public std::string {
public:
    using std::string::string;
    String() = default;
    String(const std::string& s) : std::string(s) {}
    String(const istr& s) : std::string(s.data ? s.data : "", s.size) {}
};

}  // namespace zul
