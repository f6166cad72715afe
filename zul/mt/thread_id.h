// Thread and process identifiers (zul::ThreadId, zul::ProcessId) and their text forms.
#pragma once

#include <pthread.h>
#include <unistd.h>
#include <zul/base/api.h>
#include <zul/base/base_type_string.h>

#include <cstdint>
#include <iosfwd>

namespace zul {

class dumper;

/// A platform thread identifier (pthread_t), handled as an unsigned 64-bit value. A distinct
/// type, so that its width-4 text form never applies to plain numbers.
enum class ThreadId : std::uint64_t {};
/// A platform process identifier (pid_t).
enum class ProcessId : std::int32_t {};

static_assert(sizeof(pthread_t) <= sizeof(std::uint64_t), "pthread_t must fit in 64 bits");

/// The identifier of the calling thread.
inline ThreadId currentThreadId() noexcept {
    return static_cast<ThreadId>(static_cast<std::uint64_t>(pthread_self()));
}
/// The identifier of the calling process.
inline ProcessId currentProcessId() noexcept {
    return static_cast<ProcessId>(getpid());
}
/// The pthread_t that `id` names.
inline pthread_t toPthread(ThreadId id) noexcept {
    return static_cast<pthread_t>(static_cast<std::uint64_t>(id));
}

/// Decimal, right-aligned in a field of width 4 (longer values are written whole).
ZUL_API std::ostream& operator<<(std::ostream& os, ThreadId const& id);
/// Decimal, right-aligned in a field of width 4 (longer values are written whole).
ZUL_API std::ostream& operator<<(std::ostream& os, ProcessId const& id);
/// The value as an unsigned decimal number.
ZUL_API dumper& operator<<(dumper& d, ThreadId const& id);

/// Appends the width-4 decimal form of a thread id.
template <>
ZUL_API String& String::operator+=(const ThreadId& v);
/// Appends the width-4 decimal form of a process id.
template <>
ZUL_API String& String::operator+=(const ProcessId& v);

}  // namespace zul
