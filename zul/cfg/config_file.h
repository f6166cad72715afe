// zul::ConfigFile: the process-wide PML configuration file, found through ECS_CLI_CFG_FILE or
// as "p2p_config.pml" in the current directory, read once on first use.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/pml/pml_stream.h>

namespace zul {

class dumper;

/// The application's configuration: the tree of one PML file, its "enable" switch and its
/// "codepage" number. Created and loaded on the first instance(), never destroyed at exit.
/// Not synchronised after creation: load(path) must not run while other threads read.
class ZUL_API ConfigFile {
  public:
    /// The configuration, created and loaded on first use. A malformed file raises
    /// zul::pml::DecodeException and leaves no instance behind, so the next call tries again.
    static ConfigFile* instance();
    /// Destroys the configuration; the next instance() creates and loads a new one.
    static void destroy();
    /// The "codepage" number of the configuration (936 unless the file sets it).
    static unsigned long codepage();

    /// Reads the file named by config() ("p2p_config.pml" when none is named; a relative
    /// name is taken from the current directory). A file that cannot be opened gives an empty
    /// tree; a malformed one raises zul::pml::DecodeException with the tree holding what was
    /// read before the error. Afterwards the tree always has the keys "enable" and "codepage".
    ConfigFile& load();
    /// Names `path` as the file, then load().
    ConfigFile& load(istr const& path);

    /// Whether the tree's root has no name, no type and no value.
    bool empty() const { return mps_.unit().empty(); }
    /// The tree, or an always empty stream while the file switches the configuration off.
    pml::stream const& mps() const { return enable_.value ? mps_ : off_; }
    /// Whether the configuration is switched on ("enable", true unless the file says false).
    bool enabled() const { return enable_.value; }
    /// The path of the file, as named.
    String const& config() const { return config_; }

    /// Type "zul::ConfigFile" with enable_, config_, mps_ and codepage_.
    void dump(dumper& d) const;

    /// Names the file given by ECS_CLI_CFG_FILE (the default when unset), then load(), which
    /// it lets throw. instance() is the usual way to one.
    ConfigFile();
    /// Releases the tree.
    ~ConfigFile() = default;
    ConfigFile(ConfigFile const&) = delete;
    ConfigFile& operator=(ConfigFile const&) = delete;

  private:
    Bit enable_;
    String config_;
    pml::stream mps_;
    pml::stream off_;
    Ulong codepage_;
};

}  // namespace zul
