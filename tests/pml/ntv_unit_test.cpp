// Tests of the value tree: structure, lookups, paths, copies, failures and deep trees.
#include <gtest/gtest.h>
#include <zul/pml/ntv_unit.h>

#include <stdexcept>
#include <string>
#include <vector>

using zul::String;
using zul::pml::ntv::ListValue;
using zul::pml::ntv::StringValue;
using zul::pml::ntv::Unit;
using zul::pml::ntv::ValueBase;

namespace {

// Checks, without recursion, that every child under `top` has the right parent, index and
// key, and that every value points back at its node. Returns the number of nodes seen.
size_t expectWellFormed(const Unit& top) {
    size_t seen = 0;
    std::vector<const Unit*> work{&top};
    while (!work.empty()) {
        const Unit* u = work.back();
        work.pop_back();
        ++seen;
        if (u->value() != nullptr) {
            EXPECT_EQ(u->value()->owner(), u) << u->path();
        }
        const ListValue* l = u->listValue();
        if (l == nullptr) continue;
        for (size_t i = 0; i < l->size(); ++i) {
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

// A small tree: root{ a(1) b{ x [1]"u" c(3) } }.
void buildSample(Unit& root) {
    root.addChild("a", "1");
    Unit* b = root.at(zul::istr("b"));
    b->addChild("x", "", "");
    b->addChild(Unit(zul::istr(), zul::istr("t"), zul::istr("u")));
    b->addChild("c", "3");
}

// The texts of all children, in order, "name=text" or "name{...}".
std::string shape(const Unit& u) {
    std::string out;
    const ListValue* l = u.listValue();
    if (l == nullptr) return String(u.getStringValue());
    for (const Unit* c : *l) {
        out +=
            c->name() +
            (c->simple() ? "=" + std::string(String(c->getStringValue())) : "{" + shape(*c) + "}") +
            ";";
    }
    return out;
}

}  // namespace

TEST(NtvUnit, NewNodeIsEmptySimpleRoot) {
    Unit u;
    EXPECT_TRUE(u.empty());
    EXPECT_TRUE(u.simple());
    EXPECT_TRUE(u.valueEmpty());
    EXPECT_TRUE(u.childWasSingle());
    EXPECT_FALSE(u.childrenWereUnnamedList());
    EXPECT_EQ(u.numofChildren(), 0u);
    EXPECT_EQ(u.path(), "/");
    const Unit& cu = u;
    for (const char* p : {"", ".", "/"}) EXPECT_EQ(cu.at(zul::istr(p)), &u) << p;
    EXPECT_EQ(cu.at(zul::istr()), &u);
    EXPECT_EQ(cu.at(zul::istr("..")), nullptr);
    EXPECT_EQ(cu.at(zul::istr("nothing")), nullptr);
    EXPECT_EQ(u.childAt(0), nullptr);
    EXPECT_TRUE(&u(0) == &Unit::null());
    EXPECT_EQ(&Unit::null(), &zul::pml::ntv::null_unit());
}

TEST(NtvUnit, TextNodeKeepsItsTextAsFirstChild) {
    Unit u(zul::istr("n"));
    u.setValue("x");
    ASSERT_TRUE(u.addChild("a"));
    ASSERT_EQ(u.numofChildren(), 2u);
    EXPECT_EQ(u.childAt(0)->name(), "");
    EXPECT_EQ(String(u.childAt(0)->getStringValue()), "x");
    EXPECT_EQ(u[zul::istr("[0]")].getStringValue().size, 1u);
    EXPECT_EQ(u.childAt(1)->name(), "a");
    EXPECT_EQ(u.childAt(1)->index(), 1u);
    EXPECT_EQ(u.childAt(0)->path(), "/[0]");
    expectWellFormed(u);
}

TEST(NtvUnit, DuplicateNamesThrowAndLeaveTreeUnchanged) {
    Unit root;
    buildSample(root);
    const std::string before = shape(root);
    auto expectDup = [&](auto&& op) {
        try {
            op();
            ADD_FAILURE() << "no exception";
        } catch (const std::invalid_argument& e) {
            EXPECT_STREQ(e.what(), "duplicated unit");
        }
        EXPECT_EQ(shape(root), before);
        expectWellFormed(root);
    };
    expectDup([&] { root.addChild("a"); });
    expectDup([&] { root.addChild("a", "2"); });
    expectDup([&] { root.addChild("b", "t", "2"); });
    expectDup([&] { root.addChild(Unit(zul::istr("a"))); });
    Unit* loose = new Unit(zul::istr("a"));
    expectDup([&] { root.addChild(loose); });
    EXPECT_EQ(loose->parent(), nullptr);  // still the caller's
    delete loose;

    // Appending a list with one clashing name appends nothing.
    Unit other;
    other.addChild("fresh", "1");
    other.addChild("a", "9");
    expectDup([&] { root += other; });

    // A list whose children were renamed into a clash cannot be copied or installed.
    Unit clash;
    clash.addChild("p", "1");
    clash.addChild("q", "2");
    clash.childAt(1)->name("p");
    expectDup([&] { root.addChild(clash); });
    expectDup([&] { root[zul::istr("a")] = clash; });
    expectDup([&] { *root.at(zul::istr("b")) << clash; });
    EXPECT_THROW(Unit{clash}, std::invalid_argument);
    ListValue* stolen = static_cast<ListValue*>(clash.popValue());
    expectDup([&] { root.at(zul::istr("b"))->value(stolen); });
    clash.value(new ListValue(nullptr));  // the failed install left `stolen` with us
    delete stolen;

    // A text node's first child would take the key "[0]".
    Unit text;
    text.setValue("v");
    EXPECT_THROW(text.addChild("[0]"), std::invalid_argument);
    EXPECT_TRUE(text.simple());
    EXPECT_EQ(String(text.getStringValue()), "v");
}

TEST(NtvUnit, UnnamedChildrenAreKeyedByIndex) {
    Unit u;
    EXPECT_FALSE(u.addChild(static_cast<Unit*>(nullptr)));
    EXPECT_TRUE(u.simple());
    u.addChild(new Unit(zul::istr("[1]")));  // a name that looks like an index key
    u.addChild(new Unit(zul::istr()));       // index 1: its key is taken, the first stays
    u.addChild(new Unit(zul::istr()));
    const Unit& cu = u;
    EXPECT_EQ(cu.at(zul::istr("[1]")), u.childAt(0));
    EXPECT_EQ(cu.at(zul::istr("[2]")), u.childAt(2));
    EXPECT_EQ(u.childAt(1)->path(), "/[1]");
    EXPECT_TRUE(u.childAt(2)->valueEmpty());

    // Appending a list of unnamed children to itself doubles it; keys follow the indexes.
    Unit twice;
    twice.addChild(Unit(zul::istr(), zul::istr("t"), zul::istr("0")));
    twice.addChild(Unit(zul::istr(), zul::istr("t"), zul::istr("1")));
    twice += twice;
    ASSERT_EQ(twice.numofChildren(), 4u);
    EXPECT_EQ(String(twice[zul::istr("[3]")].getStringValue()), "1");
    EXPECT_TRUE(twice.childrenWereUnnamedList());
    expectWellFormed(twice);
}

TEST(NtvUnit, LookupsByNameAndReference) {
    Unit root;
    buildSample(root);
    const Unit& c = root;
    EXPECT_TRUE(c[zul::istr("nope")].empty());
    EXPECT_EQ(&c[zul::istr("nope")], &Unit::null());
    EXPECT_EQ(root.numofChildren(), 2u);
    Unit& created = root[zul::istr("nope")];
    EXPECT_EQ(created.name(), "nope");
    EXPECT_EQ(root.numofChildren(), 3u);
    EXPECT_EQ(&root[zul::istr("nope")], &created);

    // No separator is interpreted inside a key.
    EXPECT_EQ(c.at(zul::istr("b/c")), nullptr);
    const Unit* b = c.at(zul::istr("b"));
    EXPECT_EQ(b->at(zul::istr("..")), &root);
    const Unit* cc = b->at(zul::istr("c"));
    EXPECT_EQ(cc->at(zul::istr("/")), &root);
    EXPECT_EQ(b->at(zul::istr("c"))->root(), &root);
    const char key[] = "b";
    EXPECT_EQ(c.at(key, key + 1), b);
    const unsigned char ukey[] = {'a'};
    EXPECT_EQ(c.at(ukey, ukey + 1), root.childAt(0));

    String out = "old";
    EXPECT_TRUE(c.getChild(zul::istr("a"), out));
    EXPECT_EQ(out, "1");
    EXPECT_TRUE(c.getChild(zul::istr("b"), out));
    EXPECT_EQ(out, "");
    out = "keep";
    EXPECT_FALSE(c.getChild(zul::istr("zz"), out));
    EXPECT_EQ(out, "keep");

    EXPECT_EQ(b->childAt(5), nullptr);
    EXPECT_EQ(&(*b)(5), &Unit::null());
    EXPECT_EQ(&(*b)(2), b->childAt(2));
    EXPECT_EQ(root.childAt(0)->childAt(0), nullptr);  // a text node is not a list
}

TEST(NtvUnit, Paths) {
    Unit root(zul::istr("ignored"));
    buildSample(root);
    const Unit* b = root.at(zul::istr("b"));
    EXPECT_EQ(b->path(), "/b");
    EXPECT_EQ(b->at(zul::istr("c"))->path(), "/b/c");
    EXPECT_EQ(b->childAt(1)->path(), "/b/[1]");
    EXPECT_EQ(root.path(), "/");
}

TEST(NtvUnit, AddOrUpdateChild) {
    Unit u;
    EXPECT_FALSE(u.addOrUpdateChild(nullptr));
    EXPECT_FALSE(u.addOrUpdateChild(new Unit(zul::istr("k"), zul::istr("t"), zul::istr("1"))));
    EXPECT_EQ(u.numofChildren(), 1u);
    EXPECT_FALSE(u.addOrUpdateChild(new Unit(zul::istr("k"), zul::istr("u"), zul::istr("2"))));
    ASSERT_EQ(u.numofChildren(), 1u);
    EXPECT_EQ(u.childAt(0)->type(), "u");
    EXPECT_EQ(String(u.childAt(0)->getStringValue()), "2");
    EXPECT_TRUE(u.addOrUpdateChild(new Unit(zul::istr())));
    EXPECT_EQ(u.numofChildren(), 2u);
    expectWellFormed(u);
}

TEST(NtvUnit, ValueStates) {
    struct Row {
        const char* what;
        void (*make)(Unit&);
        bool simple, valueEmpty, childWasSingle, unnamedList;
    };
    const Row rows[] = {
        {"none", [](Unit&) {}, true, true, true, false},
        {"empty text", [](Unit& u) { u.setValue(""); }, true, true, true, false},
        {"text", [](Unit& u) { u.setValue("x"); }, true, false, true, false},
        {"empty list", [](Unit& u) { u.initValueAsList(); }, false, false, true, false},
        {"one child", [](Unit& u) { u.addChild("a", "1"); }, false, false, true, false},
        {"chain of one", [](Unit& u) { u.at(zul::istr("a"))->addChild("b", "1"); }, false, false,
         true, false},
        {"chain ending in two",
         [](Unit& u) {
             Unit* a = u.at(zul::istr("a"));
             a->addChild("b");
             a->addChild("c");
         },
         false, false, false, false},
        {"two typed unnamed",
         [](Unit& u) {
             u.addChild(new Unit(zul::istr(), zul::istr("t"), zul::istr("1")));
             u.addChild(new Unit(zul::istr(), zul::istr("t"), zul::istr("2")));
         },
         false, false, false, true},
        {"one untyped unnamed",
         [](Unit& u) {
             u.addChild(new Unit(zul::istr(), zul::istr("t"), zul::istr("1")));
             u.addChild(new Unit(zul::istr(), zul::istr(), zul::istr("2")));
         },
         false, false, false, false},
    };
    for (const Row& r : rows) {
        Unit u;
        r.make(u);
        EXPECT_EQ(u.simple(), r.simple) << r.what;
        EXPECT_EQ(u.valueEmpty(), r.valueEmpty) << r.what;
        EXPECT_EQ(u.childWasSingle(), r.childWasSingle) << r.what;
        EXPECT_EQ(u.childrenWereUnnamedList(), r.unnamedList) << r.what;
        ListValue* l = nullptr;
        StringValue* s = nullptr;
        EXPECT_EQ(u.getValue(l), !r.simple) << r.what;
        EXPECT_EQ(u.getValue(s), r.simple && u.value() != nullptr) << r.what;
        expectWellFormed(u);
    }
}

TEST(NtvUnit, ValueReplacement) {
    Unit u;
    buildSample(u);
    Unit* b = u.at(zul::istr("b"));
    // The text may come from inside the list being discarded.
    b->setValue(b->at(zul::istr("c"))->getStringValue());
    EXPECT_TRUE(b->simple());
    EXPECT_EQ(String(b->getStringValue()), "3");
    EXPECT_EQ(static_cast<const Unit*>(b)->at(zul::istr("c")), nullptr);

    ValueBase* v = b->popValue();
    ASSERT_NE(v, nullptr);
    EXPECT_TRUE(v->single());
    EXPECT_EQ(b->value(), nullptr);
    u.at(zul::istr("a"))->clearValue();
    u.at(zul::istr("a"))->value(v);  // a detached value moves to another node
    EXPECT_EQ(v->owner(), u.at(zul::istr("a")));

    ListValue* l = new ListValue(nullptr);
    l->push_back(new Unit(zul::istr("k")));
    l->push_back(new Unit(zul::istr()));
    b->value(l);  // installing a list indexes its children
    EXPECT_EQ(b->at(zul::istr("[1]")), l->data()[1]);
    EXPECT_EQ(l->data()[1]->path(), "/b/[1]");
    expectWellFormed(u);

    b->initValueAsList();
    EXPECT_FALSE(b->simple());
    EXPECT_EQ(b->numofChildren(), 0u);

    b->type("t");
    b->clear();
    EXPECT_TRUE(b->empty());
    EXPECT_EQ(b->parent(), nullptr);
    b->parent(&u);  // restore the bookkeeping so that u stays consistent
    b->index(1);
}

TEST(NtvUnit, CopiesAreDeepAndWellFormed) {
    Unit src(zul::istr("s"));
    src.type("t");
    buildSample(src);

    Unit copy(src);
    EXPECT_EQ(copy.name(), "s");
    EXPECT_EQ(copy.type(), "t");
    EXPECT_EQ(copy.parent(), nullptr);
    EXPECT_EQ(shape(copy), shape(src));
    EXPECT_EQ(expectWellFormed(copy), expectWellFormed(src));
    EXPECT_EQ(copy.at(zul::istr("b"))->childAt(1)->path(), "/b/[1]");
    EXPECT_NE(copy.at(zul::istr("b")), src.at(zul::istr("b")));

    // operator= keeps the place of the target; << keeps its name as well.
    Unit holder;
    holder.addChild("first", "1");
    holder.addChild("target", "2");
    Unit* target = holder.at(zul::istr("target"));
    *target = src;
    EXPECT_EQ(target->name(), "s");
    EXPECT_EQ(target->parent(), &holder);
    EXPECT_EQ(target->index(), 1u);
    EXPECT_EQ(target->at(zul::istr("b"))->at(zul::istr("c"))->path(), "/s/b/c");
    target->name("target");
    Unit other(zul::istr("o"), zul::istr("ot"), zul::istr("v"));
    EXPECT_TRUE(other >> *target);
    EXPECT_EQ(target->name(), "target");
    EXPECT_EQ(target->type(), "ot");
    EXPECT_EQ(String(target->getStringValue()), "v");
    expectWellFormed(holder);

    // A source inside the target's own subtree.
    Unit self;
    buildSample(self);
    self = *self.at(zul::istr("b"));
    EXPECT_EQ(shape(self), "x=;=u;c=3;");
    self << self;
    EXPECT_EQ(shape(self), "x=;=u;c=3;");
    self = self;
    expectWellFormed(self);

    // += appends copies; a simple source adds nothing.
    Unit sum;
    sum.setValue("t");
    sum += *src.at(zul::istr("a"));
    EXPECT_TRUE(sum.simple());
    sum += *src.at(zul::istr("b"));
    EXPECT_EQ(shape(sum), "=t;x=;=u;c=3;");
    expectWellFormed(sum);

    ValueBase* cl = src.value()->clone();
    EXPECT_EQ(cl->owner(), nullptr);
    ListValue lv(static_cast<ListValue*>(cl)->data(), nullptr);
    EXPECT_EQ(lv.size(), 2u);
    delete cl;
}

TEST(NtvUnit, DeepTreesAreCopiedAndDestroyedWithoutRecursion) {
    constexpr size_t kDepth = 200000;
    Unit* root = new Unit(zul::istr("root"));
    Unit* u = root;
    for (size_t i = 0; i < kDepth; ++i) {
        Unit* c = new Unit(i % 2 ? zul::istr("n") : zul::istr());
        ASSERT_TRUE(u->addChild(c));
        u = c;
    }
    u->setValue("leaf");
    EXPECT_TRUE(root->childWasSingle());
    EXPECT_EQ(u->root(), root);

    Unit* copy = new Unit(*root);
    Unit assigned;
    assigned = *root;
    size_t depth = 0;
    for (const Unit* p = copy; p->numofChildren() == 1; p = p->childAt(0)) ++depth;
    EXPECT_EQ(depth, kDepth);
    EXPECT_EQ(expectWellFormed(*copy), kDepth + 1);
    delete root;
    delete copy;
    assigned.clearValue();
}

#include <zul/base/alloc.h>
#include <zul/base/mlcheck.h>

TEST(NtvUnit, EveryNodeAndValueIsTrackedAndReleased) {
    zul::MemLeakChecker* checker = zul::MemLeakChecker::instance();
    checker->start();
    auto tracked = [](zul::istr name) {
        return zul::allocate_push_maybe(zul::allocate_no_mlc<Unit>(__FILE__, __LINE__, "t", name),
                                        __FILE__, __LINE__, "t");
    };
    {
        Unit root;
        buildSample(root);
        root.at(zul::istr("a"))->addChild("k");  // text wrapped into a first child
        EXPECT_GT(checker->size(), 10u);
        Unit copy(root);
        copy += root[zul::istr("b")];
        EXPECT_THROW(copy += root, std::invalid_argument);
        EXPECT_THROW(copy.addChild(root[zul::istr("a")]), std::invalid_argument);
        root.addOrUpdateChild(tracked(zul::istr("a")));
        root.addOrUpdateChild(tracked(zul::istr()));
        Unit* dup = tracked(zul::istr("b"));
        EXPECT_THROW(root.addChild(dup), std::invalid_argument);
        zul::destroy_pop_maybe(dup, __FILE__, __LINE__, "t");
        zul::destroy_no_mlc(dup, __FILE__, __LINE__, "t");
        root[zul::istr("b")] = copy;
        root[zul::istr("z")] << 5;
        root.at(zul::istr("b"))->setValue("flat");
        root.at(zul::istr("a"))->initValueAsList();
        ValueBase* cl = root.value()->clone();
        zul::destroy_pop_maybe(cl, __FILE__, __LINE__, "t");
        zul::destroy_no_mlc(cl, __FILE__, __LINE__, "t");
        copy.clear();
    }
    EXPECT_EQ(checker->size(), 0u);
    checker->stop();
}
