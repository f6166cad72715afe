// Helpers shared by the PML tests: a one-line picture of a tree, a check of the tree's
// bookkeeping, the example tree, decode-error capture and a temporary folder for real files.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <zul/pml/pml.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace zul_test {

// The names every PML test uses; a test file says `using namespace zul_test;`.
using zul::istr;
using zul::String;
using zul::pml::ShowMode;
using zul::pml::ShowPattern;
using zul::pml::ntv::ListValue;
using zul::pml::ntv::Unit;
namespace pml = zul::pml;

constexpr zul::pml::ShowPattern kNTV = zul::pml::NAME | zul::pml::TYPE | zul::pml::VALUE;

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

/// Every value points back at its node; every child at its parent, with its own index, and is
/// found under its key (its name, or "[index]"). Walks without recursion; returns the node count.
inline size_t expectConsistent(const Unit& top) {
    size_t seen = 0;
    std::vector<const Unit*> work{&top};
    while (!work.empty()) {
        const Unit* u = work.back();
        work.pop_back();
        ++seen;
        EXPECT_TRUE(u->value() == nullptr || u->value()->owner() == u) << u->path();
        const ListValue* l = u->listValue();
        for (size_t i = 0; l != nullptr && i < l->size(); ++i) {
            const Unit* c = l->data()[i];
            EXPECT_EQ(c->parent(), u) << c->path();
            EXPECT_EQ(c->index(), i) << c->path();
            const std::string key =
                c->name().empty() ? "[" + std::to_string(i) + "]" : std::string(c->name());
            EXPECT_EQ(u->at(zul::istr(key)), c) << key;
            work.push_back(c);
        }
    }
    return seen;
}

/// The example tree: cfg{ level:int(3) names{ :s(a b) :s(x) } dir(C:/tmp) }.
inline void buildCfg(Unit& cfg) {
    cfg.name(zul::istr("cfg"));
    cfg.addChild("level", "int", "3");
    Unit* names = cfg.at(zul::istr("names"));
    names->addChild("", "s", "a b");
    names->addChild("", "s", "x");
    cfg.addChild("dir", "C:/tmp");
}

/// The message of the DecodeException that `f` raises, or "no exception".
template <class F>
std::string decodeError(F&& f) {
    try {
        f();
    } catch (const zul::pml::DecodeException& e) {
        return e.msg();
    }
    return "no exception";
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
