// Differential test against libxml2 on documents that standard XML and XMLParser read
// alike: well-formed, no whitespace-only text between tags, text that does not start with
// white space or ']', character references to ASCII only, no declared entities in use.
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <zul/xml/XMLParser.h>

#include <random>
#include <string>

using zul::xml::XMLNode;

namespace {

std::string text(const xmlChar* s) {
    return s == nullptr ? "" : reinterpret_cast<const char*>(s);
}

// Empty when the two elements agree, else where they first differ.
std::string diff(const XMLNode& z, xmlDocPtr doc, xmlNodePtr x, const std::string& at) {
    if (z.name() != text(x->name)) return at + ": name " + z.name() + " / " + text(x->name);
    size_t i = 0;
    for (xmlAttrPtr a = x->properties; a != nullptr; a = a->next, ++i) {
        xmlChar* v = xmlNodeListGetString(doc, a->children, 1);
        const std::string value = text(v);
        xmlFree(v);
        if (z.attr(i).name() != text(a->name) || z.attr(i).value() != value)
            return at + ": attribute " + text(a->name);
    }
    if (i != z.numofAttrs()) return at + ": attribute count";
    std::string cdata;
    size_t n = 0;
    for (xmlNodePtr c = x->children; c != nullptr; c = c->next) {
        if (c->type == XML_TEXT_NODE || c->type == XML_CDATA_SECTION_NODE)
            cdata += text(c->content);
        if (c->type != XML_ELEMENT_NODE) continue;
        if (n >= z.numofChildren()) return at + ": child count";
        const std::string d = diff(z.child(n), doc, c, at + "/" + text(c->name));
        if (!d.empty()) return d;
        ++n;
    }
    if (n != z.numofChildren()) return at + ": child count";
    return z.cdata() == cdata ? "" : at + ": text '" + z.cdata() + "' / '" + cdata + "'";
}

// A random well-formed document of the kind both readers agree on.
struct Gen {
    std::mt19937 rng;
    int pick(int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); }
    std::string name() {
        std::string s(1, char('a' + pick(26)));
        for (int i = pick(6); i > 0; --i) s += "abcxyz_-.019"[pick(12)];
        return s;
    }
    // Escaped characters; `first` rules out white space and ']' at the start of a text.
    std::string chars(bool first) {
        static const char* const kPieces[] = {
            "&amp;", "&lt;", "&gt;", "&quot;", "&apos;", "&#65;", "&#x7A;", "\xc3\xa9",
            "]",     " ",    "x",    "Y",      "7",      ";",     "'",      "-"};
        std::string s;
        for (int i = 1 + pick(8); i > 0; --i) {
            const char* p = kPieces[pick(16)];
            if (s.empty() && first && (*p == ' ' || *p == ']')) p = "q";
            s += p;
        }
        return s;
    }
    void element(std::string& out, int depth) {
        const std::string n = name();
        out += "<" + n;
        for (int i = pick(4); i > 0; --i)
            out += " " + name() + std::to_string(i) + "=\"" + chars(false) + "\"";
        if (pick(4) == 0) {
            out += "/>";
            return;
        }
        out += ">";
        for (int i = depth < 5 ? pick(5) : 0; i > 0; --i) {
            switch (pick(4)) {
                case 0:
                    out += chars(true);
                    break;
                case 1:
                    out += "<![CDATA[" + chars(false) + "<&]]>";
                    break;
                case 2:
                    out += "<!-- c -->";
                    break;
                default:
                    element(out, depth + 1);
            }
        }
        out += "</" + n + ">";
    }
};

}  // namespace

TEST(XmlParser, AgreesWithLibxml2) {
    Gen gen{std::mt19937(14)};
    for (int round = 0; round < 400; ++round) {
        std::string doc = round % 2 ? "<?xml version=\"1.0\"?>\n<!-- head -->\n" : "";
        if (round % 3 == 0) doc += "<!DOCTYPE r [\n <!ENTITY e \"x\">\n]>\n";
        gen.element(doc, 0);
        zul::xml::XMLParser ours{zul::istr(doc)};
        xmlDocPtr peer = xmlReadMemory(doc.data(), static_cast<int>(doc.size()), "doc.xml", nullptr,
                                       XML_PARSE_NONET | XML_PARSE_NOWARNING);
        ASSERT_NE(peer, nullptr) << doc;
        ASSERT_NE(ours.rootNode(), nullptr) << doc;
        EXPECT_EQ(diff(*ours.rootNode(), peer, xmlDocGetRootElement(peer), ""), "") << doc;
        xmlFreeDoc(peer);
    }
}
