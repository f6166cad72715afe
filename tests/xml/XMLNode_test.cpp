// The document model: text form, attribute and child rules, ownership and deep trees.
#include <gtest/gtest.h>
#include <zul/xml/XMLNode.h>

#include <sstream>

#include "xml/xml_test_support.h"

using zul::xml::XMLAttr;
using zul::xml::XMLNode;

TEST(XmlNode, TextFormExamples) {
    XMLNode a("a");
    a.addAttr("x", "1");
    a.addAttr("y", "");
    EXPECT_EQ(a.str(true, 0), "<a x=\"1\"/>");

    XMLNode t("a");
    t.cdata("t");
    EXPECT_EQ(t.str(true, 0), "<a>t</a>");

    XMLNode r("a");
    r.addChildNode("b");
    EXPECT_EQ(r.str(true, 0), "<a>\n    <b/>\n</a>");
    EXPECT_EQ(r.str(false, 0), "<a><b/></a>");

    // Text after the children, a nested level and a starting depth.
    r.cdata("t");
    r.child("b").addChildNode("c")->cdata("u");
    EXPECT_EQ(r.str(true, 1),
              "<a>\n        <b>\n            <c>u</c>\n        </b>\n        t\n    </a>");
    std::ostringstream os;
    os << r << '|' << XMLAttr("k", "v&", nullptr) << '|' << XMLNode::null();
    EXPECT_EQ(os.str(), r.str(true, 0) + "| k=\"v&\"|");
}

TEST(XmlNode, AttributeRules) {
    XMLNode n("a");
    n.addAttr("x", "1");
    n.addAttr("y", "2");
    n.addAttr("x", "3");
    EXPECT_EQ(n.numofAttrs(), 3u);
    EXPECT_EQ(n.str(false, 0), "<a x=\"3\" y=\"2\" x=\"3\"/>");
    EXPECT_EQ(n.attr(size_t(2)).value(), "3");
    EXPECT_TRUE(n.attr(size_t(3)).isNull());
    EXPECT_EQ(n.getAttrNames(), (XMLNode::AttrNames{"x", "y", "x"}));
    EXPECT_EQ(n.getAttrMap().size(), 2u);
    EXPECT_EQ(n.attr("x").node(), &n);

    const XMLNode& c = n;
    EXPECT_TRUE(c.attr("z").isNull());
    EXPECT_EQ(n.attr("z").value(), "");  // created, listed
    EXPECT_EQ(n.numofAttrs(), 4u);
    n("z").value("4");
    EXPECT_EQ(c("z").value(), "4");
    n.clearAttrs();
    EXPECT_EQ(n.numofAttrs(), 0u);
    EXPECT_TRUE(n.isEmpty() == false && n.isSimple());

    // Many attributes: the indexed look-up keeps the same rules.
    XMLNode m("m");
    for (int i = 0; i < 40; ++i) m.addAttr(std::to_string(i % 30), std::to_string(i));
    EXPECT_EQ(m.numofAttrs(), 40u);
    EXPECT_EQ(m.attr("5").value(), "35");
    EXPECT_EQ(m.attr(size_t(5)).value(), "35");
    EXPECT_TRUE(static_cast<const XMLNode&>(m).attr("30").isNull());

    XMLAttr e("", "v", nullptr);
    EXPECT_TRUE(e.isEmpty());
    EXPECT_EQ(e.str(), "");
    EXPECT_TRUE(XMLAttr::null().isNull() && XMLAttr::null().isEmpty());
}

TEST(XmlNode, ChildRules) {
    XMLNode r("r");
    XMLNode* b1 = r.addChildNode("b");
    XMLNode* b2 = new XMLNode("b", &r);
    EXPECT_EQ(r.numofChildren(), 2u);
    EXPECT_EQ(&r.child("b"), b2);
    EXPECT_EQ(b1->parent(), &r);
    EXPECT_EQ(b2->getDepth(), 1u);

    const XMLNode& c = r;
    EXPECT_TRUE(c.child("x").isNull());
    EXPECT_TRUE(c.child(size_t(2)).isNull());
    EXPECT_EQ(r.numofChildren(), 2u);
    EXPECT_EQ(r["x"].name(), "x");  // created
    EXPECT_EQ(r.numofChildren(), 3u);

    // A rename enters the new name and keeps the old entry.
    b1->name("c");
    EXPECT_EQ(&c.child("c"), b1);
    EXPECT_EQ(&c.child("b"), b2);
    b2->name("d");
    EXPECT_EQ(&c.child("b"), b2);
    EXPECT_EQ(r.getChildNodeMap().size(), 4u);

    // The same rules hold once the index is built for many children.
    for (int i = 0; i < 20; ++i) r.addChildNode(std::to_string(i % 10));
    EXPECT_EQ(&c.child("3"), r.getChildNodes()[3 + 3 + 10]);
    EXPECT_EQ(&c.child("b"), b2);
    r.getChildNodes()[5]->name("zz");
    EXPECT_EQ(&c.child("zz"), r.getChildNodes()[5]);

    r.clearNodes();
    EXPECT_EQ(r.numofChildren(), 0u);
    EXPECT_TRUE(c.child("b").isNull());
    EXPECT_TRUE(XMLNode::null().isNull() && XMLNode::null().isEmpty());
}

TEST(XmlNode, CopiesAreDeepAndOwned) {
    XMLNode r("r");
    r.addAttr("k", "v");
    r["a"]["b"].cdata("t");
    r["a"].addAttr("x", "1");
    r.addAttr("k", "w");

    XMLNode copy(r);
    EXPECT_EQ(zul_test::sig(copy), zul_test::sig(r));
    EXPECT_EQ(zul_test::sig(copy), "r k=w k=w(a x=1(b{t}))");
    EXPECT_NE(&copy.child("a"), &r.child("a"));
    EXPECT_EQ(copy.child("a").parent(), &copy);

    copy += r;
    EXPECT_EQ(copy.numofChildren(), 2u);
    copy = copy;
    EXPECT_EQ(copy.numofChildren(), 2u);
    copy = copy.child("a");  // from its own subtree
    EXPECT_EQ(zul_test::sig(copy), "a x=1(b{t})");

    XMLNode text("a<b", zul::xml::cdata_t());
    EXPECT_TRUE(text.name().empty());
    EXPECT_EQ(text.cdata(), "a<b");
    text.cdata("a<b & c", true);
    EXPECT_EQ(text.cdata(), "a&lt;b &amp; c");
    text.cdata(zul::istr("x>\0y", 4), true);
    EXPECT_EQ(text.cdata(), "x&gt;");
}

TEST(XmlNode, DeepTreesNeedNoRecursion) {
    constexpr int kDepth = 100000;
    auto* root = new XMLNode("a");
    XMLNode* n = root;
    for (int i = 1; i < kDepth; ++i) n = n->addChildNode("a");
    n->cdata("x");
    EXPECT_EQ(n->getDepth(), unsigned(kDepth - 1));
    const zul::String text = root->str(false, 0);
    EXPECT_EQ(text.size(), size_t(kDepth) * 7 + 1);  // "<a>" and "</a>" a level, and "x"
    XMLNode copy(*root);
    EXPECT_EQ(copy.str(false, 0), text);
    delete root;
}
