// Text forms of thread and process identifiers.
#include <zul/log/log_dumper.h>
#include <zul/mt/thread_id.h>

#include <cstdio>
#include <ostream>

namespace zul {
namespace {

// Width-4 right-aligned decimal without going through a stream.
void appendWidth4(String& s, long long v, bool isSigned) {
    char buf[32];
    int n = isSigned ? std::snprintf(buf, sizeof buf, "%4lld", v)
                     : std::snprintf(buf, sizeof buf, "%4llu", static_cast<unsigned long long>(v));
    s.append(buf, static_cast<size_t>(n));
}

}  // namespace

std::ostream& operator<<(std::ostream& os, ThreadId const& id) {
    String s;
    s += id;
    return os << s;
}

std::ostream& operator<<(std::ostream& os, ProcessId const& id) {
    String s;
    s += id;
    return os << s;
}

dumper& operator<<(dumper& d, ThreadId const& id) {
    return d << static_cast<unsigned long long>(static_cast<std::uint64_t>(id));
}

template <>
String& String::operator+=(const ThreadId& v) {
    appendWidth4(*this, static_cast<long long>(static_cast<std::uint64_t>(v)), false);
    return *this;
}

template <>
String& String::operator+=(const ProcessId& v) {
    appendWidth4(*this, static_cast<std::int32_t>(v), true);
    return *this;
}

}  // namespace zul
