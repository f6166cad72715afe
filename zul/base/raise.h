// The raising convention in one place: a failure is recorded, then thrown.
//
//   ZUL_RAISE(InvalidDataException, "InvalidDataException", "bad digit");
//
// builds the message "InvalidDataException: bad digit", hands it with the raising site to
// the failure record seam and throws zul::InvalidDataException with the same site and text.
#pragma once

#include <zul/base/api.h>
#include <zul/base/record_position.h>

#include <string>

namespace zul {
namespace detail {

/// Records a failure that is about to be thrown: a framed "THROWING" record for the "ZUL"
/// logger (zul/base/log_seam.h). The single place where raising meets the log.
ZUL_API void recordThrown(char const* file, unsigned int line, char const* func,
                          std::string const& message);

/// Builds "token: text", records it and throws `E(file, line, func, message)`.
template <class E>
[[noreturn]] void raise(char const* file, unsigned int line, char const* func, char const* token,
                        char const* text) {
    std::string message(token ? token : "");
    message += ": ";
    message += text ? text : "";
    recordThrown(file, line, func, message);
    throw E(file, line, func, message.c_str());
}

}  // namespace detail
}  // namespace zul

/// Raises `zul::Class` from the current site with the message "Token: text".
#define ZUL_RAISE(Class, token, text) \
    ::zul::detail::raise<Class>(__FILE__, __LINE__, __func__, token, text)

/// Same as ZUL_RAISE, from a fixed position of the record format (a `RecordPosition` of
/// the file's `kRecordPositions` table) instead of the current site.
#define ZUL_RAISE_AT(Class, position, token, text) \
    ::zul::detail::raise<Class>((position).file, (position).line, (position).func, token, text)
