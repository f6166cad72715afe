// zul::ConfigFile: finding, reading and dumping the configuration file.
#include <zul/base/log_seam.h>
#include <zul/cfg/config_file.h>
#include <zul/log/log_dumper.h>
#include <zul/util/singleton_T.h>
#include <zul/util/util_func.h>

#include <fstream>

namespace zul {
namespace {

constexpr char kFileVariable[] = "ECS_CLI_CFG_FILE";
constexpr char kDefaultFile[] = "p2p_config.pml";
constexpr unsigned long kDefaultCodepage = 936;

// Whether the first read of `path` succeeds (an empty file counts). A file that cannot be
// opened, and a name that opens but cannot be read (a directory), read as no file at all
// instead of as malformed text.
bool readable(istr path) {
    std::ifstream probe;
    if (!pml::File(path).open(probe)) return false;
    probe.peek();
    return !probe.bad();
}

}  // namespace

ConfigFile* ConfigFile::instance() {
    // Reading the file happens under the creation mutex: a malformed file's record is held
    // back until the mutex is released, since writing it may create a logger that reads the
    // configuration again on this thread.
    detail::RecordDeferral deferral;
    return Singleton_T<ConfigFile>::instance(__FILE__, __LINE__, "instance");
}

void ConfigFile::destroy() {
    Singleton_T<ConfigFile>::destroy();
}

unsigned long ConfigFile::codepage() {
    return instance()->codepage_.value;
}

ConfigFile::ConfigFile() : enable_(false), codepage_(kDefaultCodepage) {
    config_ = getenv(kFileVariable);
    load();
}

ConfigFile& ConfigFile::load(istr const& path) {
    config_ = String(path);
    return load();
}

ConfigFile& ConfigFile::load() {
    if (config_.empty()) config_ = kDefaultFile;
    if (readable(istr(config_)))
        mps_.from(istr(config_), pml::from_file());
    else
        mps_.unit().clear();
    enable_ = Bit(true);
    // The creating lookup: the tree holds both keys afterwards, empty when the file has none.
    mps_["enable"] >> enable_;
    mps_["codepage"] >> codepage_;
    return *this;
}

void ConfigFile::dump(dumper& d) const {
    dumper::_Entry entry(d, "zul::ConfigFile");
    d << indent << namestring("enable_") << enable_ << endline;
    d << indent << namestring("config_") << config_ << endline;
    d << indent << namestring("mps_") << mps_ << endline;
    d << indent << namestring("codepage_") << codepage_ << endline;
}

}  // namespace zul
