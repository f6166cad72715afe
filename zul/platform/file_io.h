// Whole-file input and the all-at-once replacement of a file: a new file beside it, then a
// rename over it, so that readers see the old content or the new and a failure leaves it whole.
#pragma once

#include <zul/base/api.h>

#include <cstddef>
#include <string>

namespace zul {
namespace platform {

/// Reads the whole regular file `path` into `out` (replacing it) and its permission bits into
/// `mode`. With `forWriting` the file must also open for writing, as an update would. False
/// with errno set for a missing, unreadable or non-regular file (EISDIR for a folder).
ZUL_API bool readWholeFile(const std::string& path, bool forWriting, std::string& out,
                           unsigned& mode);

/// Writes all `size` bytes at `data` to the descriptor `fd`, resuming after interruptions and
/// short writes; false with errno set on an error.
ZUL_API bool writeAll(int fd, const char* data, size_t size);

/// Writes `size` bytes at `data` to `path`: a temporary file in the same folder gets the
/// bytes and the permission bits `mode`, is flushed to disk and renamed over `path` (an
/// existing file or link of that name is replaced). On failure the temporary file is
/// removed, `path` is untouched, and the result is false with errno telling why.
ZUL_API bool replaceFileAtomically(const std::string& path, const char* data, size_t size,
                                   unsigned mode);

}  // namespace platform
}  // namespace zul
