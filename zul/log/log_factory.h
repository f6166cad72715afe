// The logger factory: one zul::loggerImpl per identifier for the life of the process,
// created and initialised from the configuration file on its first lookup.
#pragma once

#include <zul/base/api.h>
#include <zul/log/log_logger_impl.h>
#include <zul/mt/map.h>

#include <string>

namespace zul {

/// The map from identifier to logger, with its mutex. Loggers are never removed or moved, so
/// a reference to one stays valid for the life of the process.
class ZUL_API LoggerFactoryImpl : public mt::map<std::string, loggerImpl> {
  public:
    /// The factory, created on first use; never destroyed by the library.
    static LoggerFactoryImpl* instance();

    /// The logger of `id`, created and initialised (settings read from the configuration
    /// file's "log" section) on the first request. A configuration that cannot be read
    /// leaves the built-in defaults; the failure's record reaches the "ZUL" logger once the
    /// map's mutex is released.
    logger& get(std::string const& id);
};

/// Where every module gets its logger.
class ZUL_API logger_factory {
  public:
    /// LoggerFactoryImpl::instance()->get(id). Identifiers are compared as exact bytes; the
    /// logger belongs to the factory and lives as long as the process.
    static logger& instance(std::string const& id);
};

}  // namespace zul
