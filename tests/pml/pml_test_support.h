// Helpers shared by the PML reader tests: a one-line picture of a tree, a consistency check
// of parents and indexes, and a temporary folder for real files.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <zul/pml/ntv_unit.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zul_test {

using zul::pml::ntv::ListValue;
using zul::pml::ntv::Unit;

/// name[:type], then =[text], {child,child,...} or ~ (no value).
inline std::string describe(const Unit& u) {
    std::string s = u.name();
    if (!u.type().empty()) s += ":" + std::string(u.type());
    if (u.value() == nullptr) return s + "~";
    if (const ListValue* l = u.listValue()) {
        s += "{";
        for (size_t i = 0; i < l->size(); ++i) s += (i ? "," : "") + describe(*l->data()[i]);
        return s + "}";
    }
    return s + "=[" + std::string(u.getStringValue().data, u.getStringValue().size) + "]";
}

/// Every value points back at its node; every child at its parent, with its own index.
inline void expectConsistent(const Unit& top) {
    std::vector<const Unit*> work{&top};
    while (!work.empty()) {
        const Unit* u = work.back();
        work.pop_back();
        if (u->value() != nullptr) {
            EXPECT_EQ(u->value()->owner(), u);
        }
        const ListValue* l = u->listValue();
        for (size_t i = 0; l != nullptr && i < l->size(); ++i) {
            EXPECT_EQ(l->data()[i]->parent(), u);
            EXPECT_EQ(l->data()[i]->index(), i);
            work.push_back(l->data()[i]);
        }
    }
}

/// A fresh folder under /tmp, removed with its content at the end of the scope.
class TempDir {
  public:
    TempDir() {
        char tmpl[] = "/tmp/zul_pml_XXXXXX";
        path_ = mkdtemp(tmpl);
    }
    ~TempDir() { EXPECT_EQ(system(("rm -rf '" + path_ + "'").c_str()), 0); }
    std::string path(const std::string& name) const { return path_ + "/" + name; }
    /// Writes `content` to the file `name` in the folder; its path.
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name)) << content;
        return path(name);
    }

  private:
    std::string path_;
};

inline std::string slurp(const std::string& path) {
    std::ifstream is(path);
    std::ostringstream os;
    os << is.rdbuf();
    return os.str();
}

}  // namespace zul_test
