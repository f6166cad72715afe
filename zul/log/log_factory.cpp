// The logger factory: one logger per identifier, initialised under the map's mutex.
#include <zul/base/log_seam.h>
#include <zul/log/log_factory.h>
#include <zul/util/singleton_T.h>

namespace zul {

LoggerFactoryImpl* LoggerFactoryImpl::instance() {
    return Singleton_T<LoggerFactoryImpl>::instance(__FILE__, __LINE__, "instance");
}

logger& LoggerFactoryImpl::get(std::string const& id) {
    // A new logger reads the configuration under the map's mutex; records written meanwhile
    // on this thread (a malformed file) are delivered once the mutex is released.
    detail::RecordDeferral deferral;
    return locked(id, [&id](loggerImpl& lg) -> logger& { return lg.init(id); });
}

logger& logger_factory::instance(std::string const& id) {
    return LoggerFactoryImpl::instance()->get(id);
}

}  // namespace zul
