// The per-user folders a desktop platform gives an application, found the Linux way: the
// executable's folder through /proc/self/exe and the XDG data folder.
#pragma once

#include <zul/base/api.h>

#include <string>

namespace zul {

/// Sets the name of the application's own per-user folder (see getApplicationSupportPath()).
/// Without it the name is the executable's file name. Call it at start-up, before the first
/// path function: the application-support path is cached on first use.
ZUL_API void setApplicationName(const std::string& name);

namespace platform {

/// The folder of the running executable, without a trailing slash; empty when
/// /proc/self/exe cannot be read.
ZUL_API std::string resourceDir();

/// The per-user application-data folder: $XDG_DATA_HOME when it is absolute, otherwise
/// $HOME/.local/share (with the password database's home folder when HOME is unset or not
/// absolute). Without a trailing slash; empty when no home folder is known.
ZUL_API std::string userDataDir();

/// The name given to setApplicationName(), or the executable's file name.
ZUL_API std::string applicationName();

/// `dir` and `name` joined by one "/"; `dir` when `name` is empty.
ZUL_API std::string joinPath(const std::string& dir, const std::string& name);

}  // namespace platform
}  // namespace zul
