// Tests of the value tree: structure, lookups, paths, copies, failures and deep trees.
#include <zul/base/alloc.h>
#include <zul/base/mlcheck.h>
#include <zul/base/pool.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "pml_test_support.h"

using namespace zul_test;
using zul::pml::ntv::StringValue;
using zul::pml::ntv::ValueBase;

namespace {

// {a(1) b{x() :t(u) c(3)}}
void buildSample(Unit& root) {
    root.addChild("a", "1");
    Unit* b = root.at(istr("b"));
    b->addChild("x", "", "");
    b->addChild(Unit(istr(), istr("t"), istr("u")));
    b->addChild("c", "3");
}
const char kSample[] = "{a=[1],b{x=[],:t=[u],c=[3]}}";

// Two unnamed children, the first typed "t", the second typed `secondType`.
void typedPair(Unit& u, const char* secondType) {
    u.addChild(new Unit(istr(), istr("t"), istr("1")));
    u.addChild(new Unit(istr(), istr(secondType), istr("2")));
}

// The text of the std::invalid_argument that `f` raises, or "no exception".
template <class F>
std::string invalidArgument(F&& f) {
    try {
        f();
    } catch (const std::invalid_argument& e) {
        return e.what();
    }
    return "no exception";
}

}  // namespace

TEST(NtvUnit, NewNodeIsEmptySimpleRoot) {
    Unit u;
    const Unit& cu = u;
    EXPECT_TRUE(u.empty());  // the value states of a new node are the first row of ValueStates
    EXPECT_EQ(u.numofChildren(), 0u);
    EXPECT_EQ(u.path(), "/");
    for (istr p : {istr(""), istr("."), istr("/"), istr()}) EXPECT_EQ(cu.at(p), &u);
    EXPECT_EQ(cu.at(istr("..")), nullptr);
    EXPECT_EQ(u.childAt(0), nullptr);

    EXPECT_EQ(&u(0), &Unit::null());
    EXPECT_EQ(&Unit::null(), &pml::ntv::null_unit());
}

TEST(NtvUnit, TextNodeKeepsItsTextAsFirstChild) {
    Unit u(istr("n"));
    u.setValue("x");
    ASSERT_TRUE(u.addChild("a"));
    EXPECT_EQ(describe(u), "n{=[x],a~}");
    EXPECT_EQ(u.childAt(0)->path(), "/[0]");
    EXPECT_EQ(expectConsistent(u), 3u);

    // A text node's first child would take the key "[0]".
    Unit t;
    t.setValue("v");
    EXPECT_EQ(invalidArgument([&] { t.addChild("[0]"); }), "duplicated unit");
    EXPECT_EQ(describe(t), "=[v]");
}

TEST(NtvUnit, DuplicateNamesThrowAtTheClash) {
    Unit root;
    buildSample(root);
    auto expectDup = [&](auto&& op) {
        EXPECT_EQ(invalidArgument(op), "duplicated unit");
        EXPECT_EQ(describe(root), kSample);
        expectConsistent(root);
    };
    expectDup([&] { root.addChild("b", "t", "2"); });
    expectDup([&] { root.addChild(Unit(istr("a"))); });

    Unit* loose = new Unit(istr("a"));
    expectDup([&] { root.addChild(loose); });
    EXPECT_EQ(loose->parent(), nullptr);  // still the caller's
    delete loose;

    // Appending a list stops at its first clashing name: the children before it stay.
    Unit other;
    other.addChild("fresh", "1");
    other.addChild("a", "9");
    other.addChild("later", "2");
    Unit target;
    target.addChild("a", "0");
    EXPECT_EQ(invalidArgument([&] { target += other; }), "duplicated unit");
    EXPECT_EQ(describe(target), "{a=[0],fresh=[1]}");
    expectConsistent(target);
    Unit twins;  // appended to itself: a copy of each child it had before
    typedPair(twins, "s");
    twins += twins;
    EXPECT_EQ(describe(twins), "{:t=[1],:s=[2],:t=[1],:s=[2]}");

    // A list whose children were renamed into a clash cannot be copied or installed.
    Unit clash;
    clash.addChild("p", "1");
    clash.addChild("q", "2");
    clash.childAt(1)->name("p");
    expectDup([&] { root.addChild(clash); });
    expectDup([&] { root[istr("a")] = clash; });
    expectDup([&] { *root.at(istr("b")) << clash; });
    EXPECT_THROW(Unit{clash}, std::invalid_argument);
    ListValue* stolen = static_cast<ListValue*>(clash.popValue());
    expectDup([&] { root.at(istr("b"))->value(stolen); });
    clash.value(new ListValue(nullptr));  // the failed install left `stolen` with us
    zul::destroy_pop_maybe(stolen, __FILE__, __LINE__, "test");
    delete stolen;
}

TEST(NtvUnit, UnnamedChildrenAreKeyedByIndex) {
    Unit u;
    EXPECT_FALSE(u.addChild(static_cast<Unit*>(nullptr)));
    EXPECT_TRUE(u.simple());
    u.addChild(new Unit(istr("[1]")));  // a name that looks like an index key
    u.addChild(new Unit(istr()));       // index 1: its key is taken, the first stays
    u.addChild(new Unit(istr()));
    const Unit& cu = u;
    EXPECT_EQ(cu.at(istr("[1]")), u.childAt(0));
    EXPECT_EQ(cu.at(istr("[2]")), u.childAt(2));
    EXPECT_EQ(u.childAt(1)->path(), "/[1]");
    EXPECT_TRUE(u.childAt(2)->valueEmpty());

    // Appending a list of unnamed children to itself doubles it; keys follow the indexes.
    Unit twice;
    twice.addChild(Unit(istr(), istr("t"), istr("0")));
    twice.addChild(Unit(istr(), istr("t"), istr("1")));
    twice += twice;
    EXPECT_EQ(describe(twice), "{:t=[0],:t=[1],:t=[0],:t=[1]}");
    EXPECT_TRUE(twice.childrenWereUnnamedList());
    expectConsistent(twice);
}

TEST(NtvUnit, LookupsAndPaths) {
    Unit root(istr("ignored"));
    buildSample(root);
    const Unit& c = root;
    EXPECT_EQ(&c[istr("nope")], &Unit::null());
    Unit& created = root[istr("nope")];
    EXPECT_EQ(describe(root), "ignored{a=[1],b{x=[],:t=[u],c=[3]},nope~}");
    EXPECT_EQ(&root[istr("nope")], &created);

    EXPECT_EQ(c.at(istr("b/c")), nullptr);  // no separator is interpreted inside a key
    const Unit* b = c.at(istr("b"));
    const Unit* cc = b->at(istr("c"));
    EXPECT_EQ(b->at(istr("..")), &root);
    EXPECT_EQ(cc->at(istr("/")), &root);
    EXPECT_EQ(cc->root(), &root);
    const char key[] = "b";
    EXPECT_EQ(c.at(key, key + 1), b);

    EXPECT_EQ(root.path(), "/");  // the root's own name is never written
    EXPECT_EQ(b->path(), "/b");
    EXPECT_EQ(cc->path(), "/b/c");
    EXPECT_EQ(b->childAt(1)->path(), "/b/[1]");

    String out = "old";
    EXPECT_TRUE(c.getChild(istr("a"), out));
    EXPECT_EQ(out, "1");
    EXPECT_TRUE(c.getChild(istr("b"), out));
    EXPECT_EQ(out, "");
    out = "keep";
    EXPECT_FALSE(c.getChild(istr("zz"), out));
    EXPECT_EQ(out, "keep");

    EXPECT_EQ(&(*b)(5), &Unit::null());
    EXPECT_EQ(&(*b)(2), b->childAt(2));
    EXPECT_EQ(root.childAt(0)->childAt(0), nullptr);  // a text node is not a list
}

TEST(NtvUnit, AddOrUpdateChild) {
    Unit u;
    EXPECT_FALSE(u.addOrUpdateChild(nullptr));
    EXPECT_FALSE(u.addOrUpdateChild(new Unit(istr("k"), istr("t"), istr("1"))));
    EXPECT_EQ(describe(u), "{k:t=[1]}");
    EXPECT_FALSE(u.addOrUpdateChild(new Unit(istr("k"), istr("u"), istr("2"))));
    EXPECT_TRUE(u.addOrUpdateChild(new Unit(istr())));
    EXPECT_EQ(describe(u), "{k:u=[2],~}");
    expectConsistent(u);
}

TEST(NtvUnit, ValueStates) {
    struct Row {
        const char* what;
        void (*make)(Unit&);
        bool simple, valueEmpty, childWasSingle, unnamedList;
    };
    // clang-format off
    const Row rows[] = {
        {"none", [](Unit&) {}, true, true, true, false},
        {"empty text", [](Unit& u) { u.setValue(""); }, true, true, true, false},
        {"text", [](Unit& u) { u.setValue("x"); }, true, false, true, false},
        {"empty list", [](Unit& u) { u.initValueAsList(); }, false, false, true, false},
        {"one child", [](Unit& u) { u.addChild("a", "1"); }, false, false, true, false},
        {"chain of one", [](Unit& u) { u["a"].addChild("b", "1"); }, false, false, true, false},
        {"chain ending in two", [](Unit& u) { u["a"].addChild("b"); u["a"].addChild("c"); },
         false, false, false, false},
        {"two typed unnamed", [](Unit& u) { typedPair(u, "t"); }, false, false, false, true},
        {"one untyped unnamed", [](Unit& u) { typedPair(u, ""); }, false, false, false, false},
    };
    // clang-format on
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
        expectConsistent(u);
    }
}

TEST(NtvUnit, ValueReplacement) {
    Unit u;
    buildSample(u);
    Unit* b = u.at(istr("b"));
    b->setValue(b->at(istr("c"))->getStringValue());  // text from inside the discarded list
    EXPECT_EQ(describe(*b), "b=[3]");
    EXPECT_EQ(static_cast<const Unit*>(b)->at(istr("c")), nullptr);

    ValueBase* v = b->popValue();
    ASSERT_NE(v, nullptr);
    EXPECT_TRUE(v->single());
    EXPECT_EQ(b->value(), nullptr);
    u.at(istr("a"))->clearValue();
    u.at(istr("a"))->value(v);  // a detached value moves to another node
    EXPECT_EQ(v->owner(), u.at(istr("a")));

    ListValue* l = new ListValue(nullptr);
    l->push_back(new Unit(istr("k")));
    l->push_back(new Unit(istr()));
    b->value(l);  // installing a list indexes its children
    EXPECT_EQ(b->at(istr("[1]")), l->data()[1]);
    EXPECT_EQ(l->data()[1]->path(), "/b/[1]");
    EXPECT_EQ(describe(u), "{a=[3],b{k~,~}}");
    expectConsistent(u);

    b->initValueAsList();
    EXPECT_EQ(describe(*b), "b{}");
    b->type("t");
    b->clear();
    EXPECT_TRUE(b->empty());
    EXPECT_EQ(b->parent(), nullptr);
    b->parent(&u);  // restore the bookkeeping so that u stays consistent
    b->index(1);
}

TEST(NtvUnit, CopiesAreDeepAndWellFormed) {
    Unit src(istr("s"));
    src.type("t");
    buildSample(src);
    Unit copy(src);
    EXPECT_EQ(describe(copy), "s:t{a=[1],b{x=[],:t=[u],c=[3]}}");
    EXPECT_EQ(copy.parent(), nullptr);
    EXPECT_EQ(expectConsistent(copy), expectConsistent(src));
    EXPECT_EQ(copy.at(istr("b"))->childAt(1)->path(), "/b/[1]");
    EXPECT_NE(copy.at(istr("b")), src.at(istr("b")));

    // operator= keeps the place of the target; << keeps its name as well.
    Unit holder;
    holder.addChild("first", "1");
    holder.addChild("target", "2");
    Unit* target = holder.at(istr("target"));
    *target = src;
    EXPECT_EQ(target->name(), "s");
    EXPECT_EQ(target->parent(), &holder);
    EXPECT_EQ(target->index(), 1u);
    EXPECT_EQ(target->at(istr("b"))->at(istr("c"))->path(), "/s/b/c");
    target->name("target");
    EXPECT_TRUE(Unit(istr("o"), istr("ot"), istr("v")) >> *target);
    EXPECT_EQ(describe(*target), "target:ot=[v]");
    expectConsistent(holder);

    // A source inside the target's own subtree.
    Unit self;
    buildSample(self);
    self = *self.at(istr("b"));
    EXPECT_EQ(describe(self), "b{x=[],:t=[u],c=[3]}");
    self << self;
    self = self;
    EXPECT_EQ(describe(self), "b{x=[],:t=[u],c=[3]}");
    expectConsistent(self);

    // += appends copies; a simple source adds nothing.
    Unit sum;
    sum.setValue("t");
    sum += *src.at(istr("a"));
    EXPECT_TRUE(sum.simple());
    sum += *src.at(istr("b"));
    EXPECT_EQ(describe(sum), "{=[t],x=[],:t=[u],c=[3]}");
    expectConsistent(sum);
}

TEST(NtvUnit, DeepTreesAreCopiedAndDestroyedWithoutRecursion) {
    constexpr size_t kDepth = 200000;
    Unit* root = new Unit(istr("root"));
    Unit* u = root;
    for (size_t i = 0; i < kDepth; ++i) {
        Unit* c = new Unit(i % 2 ? istr("n") : istr());
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
    EXPECT_EQ(expectConsistent(*copy), kDepth + 1);
    delete root;
    delete copy;
    assigned.clearValue();
}

TEST(NtvUnit, EveryNodeAndValueIsTrackedAndReleased) {
    zul::MemLeakChecker* checker = zul::MemLeakChecker::instance();
    checker->start();
    auto tracked = [](istr name) {
        return zul::allocate_push_maybe(zul::allocate_no_mlc<Unit>(__FILE__, __LINE__, "t", name),
                                        __FILE__, __LINE__, "t");
    };
    {
        Unit root;
        buildSample(root);
        root.at(istr("a"))->addChild("k");  // text wrapped into a first child
        EXPECT_GT(checker->size(), 10u);
        Unit copy(root);
        copy += root[istr("b")];
        EXPECT_THROW(copy += root, std::invalid_argument);
        EXPECT_THROW(copy.addChild(root[istr("a")]), std::invalid_argument);
        root.addOrUpdateChild(tracked(istr("a")));
        root.addOrUpdateChild(tracked(istr()));
        Unit* dup = tracked(istr("b"));
        EXPECT_THROW(root.addChild(dup), std::invalid_argument);
        zul::destroy_pop_maybe(dup, __FILE__, __LINE__, "t");
        zul::destroy_no_mlc(dup, __FILE__, __LINE__, "t");
        root[istr("b")] = copy;
        root[istr("z")] << 5;
        root.at(istr("b"))->setValue("flat");
        root.at(istr("a"))->initValueAsList();
        ValueBase* cl = root.value()->clone();
        EXPECT_EQ(cl->owner(), nullptr);
        zul::destroy_pop_maybe(cl, __FILE__, __LINE__, "t");
        zul::destroy_no_mlc(cl, __FILE__, __LINE__, "t");
        copy.clear();
    }
    EXPECT_EQ(checker->size(), 0u);
    checker->stop();
}

TEST(NtvUnit, NodesRecycleAcrossThreadsAndStayTracked) {
    // A node from a plain new-expression, from the library, or from the global operator new
    // (as the allocation helpers make it) may be released either way.
    Unit* u = new Unit(istr("n"));
    delete u;
    Unit* again = new Unit;
    if (zul::detail::poolActive()) {
        EXPECT_EQ(again, u);  // the block came back at once
    }
    delete again;
    Unit* helperMade = zul::allocate_no_mlc<Unit>(__FILE__, __LINE__, "t");
    zul::destroy_no_mlc(helperMade, __FILE__, __LINE__, "t");
    ValueBase* v = StringValue::create(istr("a text too long for the short form"));
    zul::destroy_pop_maybe(v, __FILE__, __LINE__, "t");
    zul::destroy_no_mlc(v, __FILE__, __LINE__, "t");  // the real size of the value goes back

    // Trees built on some threads and destroyed on others, all recorded and all released.
    zul::MemLeakChecker* checker = zul::MemLeakChecker::instance();
    checker->start();
    constexpr int kTrees = 8;
    std::vector<Unit*> trees(kTrees, nullptr);
    std::vector<std::thread> makers;
    for (int t = 0; t < kTrees; ++t) {
        makers.emplace_back([&trees, t] {
            Unit* root = new Unit;
            std::string text = "r(";
            for (int i = 0; i < 200; ++i)
                text += "c" + std::to_string(i) + "(x:int(" + std::to_string(i) +
                        ") :s(long enough text))";
            text += ")";
            EXPECT_TRUE(zul::pml::ntvFromPml(*root, istr(text)));
            trees[t] = root;
        });
    }
    for (std::thread& m : makers) m.join();
    EXPECT_GE(checker->size(), static_cast<size_t>(kTrees) * 200 * 6);
    std::vector<std::thread> breakers;
    for (int t = 0; t < kTrees; t += 2) {
        breakers.emplace_back([&trees, t] {
            for (int k = t; k < t + 2; ++k) {
                EXPECT_EQ(expectConsistent(*trees[k]), 1u + 200 * 3);
                EXPECT_EQ((*trees[k])[istr("c199")][istr("x")].getStringValue(), istr("199"));
                delete trees[k];
            }
        });
    }
    for (std::thread& b : breakers) b.join();
    EXPECT_EQ(checker->size(), 0u);
    checker->stop();
}
