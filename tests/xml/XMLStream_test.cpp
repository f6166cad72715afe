// The object streams: the text form of every value type, round trips through printed text,
// the logged parse failure and the transfer of ownership.
#include <gtest/gtest.h>
#include <zul/base/base_type_time.h>
#include <zul/log/log_dumper.h>
#include <zul/xml/XMLStream.h>

#include <cstdio>
#include <fstream>

#include "log/recording_logger.h"

using namespace zul;
using namespace zul::xml;

TEST(XmlStream, WritesThePersonExample) {
    XMLOutStream person("person");
    person["age"] << 42;
    person["name"] << "Ann & Bob";
    EXPECT_EQ(person.str(),
              "<person>\n    <age>42</age>\n    <name>Ann &amp; Bob</name>\n</person>");
    // In memory the text stays escaped; printed and parsed it reads as written.
    String name;
    XMLInStream(person.node()->child("name")) >> name;
    EXPECT_EQ(name, "Ann &amp; Bob");
    XMLInStream(istr(person.str()))["name"] >> name;
    EXPECT_EQ(name, "Ann & Bob");
}

TEST(XmlStream, EveryTypeRoundTrips) {
    const std::wstring wide = L"gr\u00fc\u00df \u20ac";
    Bytes bytes(istr("\0\x01\xff", 3));
    const Time when = Time::fromString("2024-02-29 13:14:15.123456");
    XMLStream out("v");
    out["b"] << true;
    out["bit"] << Bit(true);
    out["c"] << 'q';
    out["uc"] << static_cast<unsigned char>('r');
    out["s"] << short(-3);
    out["us"] << static_cast<unsigned short>(65535);
    out["i"] << -42;
    out["ui"] << 42u;
    out["l"] << -5000000000L;
    out["ul"] << 5000000000UL;
    out["ll"] << -7LL;
    out["ull"] << 18446744073709551615ULL;
    out["S"] << Short(-9);
    out["US"] << Ushort(9);
    out["L"] << Long(-10);
    out["UL"] << Ulong(10);
    out["LL"] << Longlong(-11);
    out["B"] << Byte(200);
    out["f"] << 1.5f;
    out["d"] << 3.14159265;
    out["t"] << istr("a<b");
    out["cs"] << static_cast<const unsigned char*>(reinterpret_cast<const unsigned char*>("u"));
    out["ss"] << std::string("s s");
    out["w"] << wide;
    out["wc"] << Wchar(L'\u00e9');
    out["y"] << bytes;
    out["tm"] << when;
    out["x"] << 1;
    out["x"] << 2;  // overwrites
    EXPECT_EQ(out.child("w").attr("__type__").value(), "utf8");
    EXPECT_EQ(out.child("y").attr("__type__").value(), "base64");
    EXPECT_EQ(out.child("wc").cdata(), "\\u00E9");
    EXPECT_EQ(out.child("d").cdata(), "3.14159");
    EXPECT_EQ(out.child("B").cdata(), "200");

    const XMLStream in(in_t(), istr(out.str(false, 0)));
    bool b = false;
    Bit bit;
    char c = 0;
    unsigned char uc = 0;
    short s = 0;
    unsigned short us = 0;
    int i = 0;
    unsigned ui = 0;
    long l = 0;
    unsigned long ul = 0;
    long long ll = 0;
    unsigned long long ull = 0;
    Short S;
    Ushort US;
    Long L;
    Ulong UL;
    Longlong LL;
    Byte B;
    float f = 0;
    double d = 0;
    String t, cs, x;
    std::string ss;
    std::wstring w;
    Wchar wc;
    Bytes y;
    Time tm;
    in["b"] >> b;
    in["bit"] >> bit;
    in["c"] >> c;
    in["uc"] >> uc;
    in["s"] >> s;
    in["us"] >> us;
    in["i"] >> i;
    in["ui"] >> ui;
    in["l"] >> l;
    in["ul"] >> ul;
    in["ll"] >> ll;
    in["ull"] >> ull;
    in["S"] >> S;
    in["US"] >> US;
    in["L"] >> L;
    in["UL"] >> UL;
    in["LL"] >> LL;
    in["B"] >> B;
    in["f"] >> f;
    in["d"] >> d;
    in["t"] >> t;
    in["cs"] >> cs;
    in["ss"] >> ss;
    in["w"] >> w;
    in["wc"] >> wc;
    in["y"] >> y;
    in["tm"] >> tm;
    in["x"] >> x;
    EXPECT_TRUE(b && bit.value && c == 'q' && uc == 'r' && s == -3 && us == 65535 && i == -42);
    EXPECT_TRUE(ui == 42u && l == -5000000000L && ul == 5000000000UL && ll == -7);
    EXPECT_TRUE(ull == 18446744073709551615ULL && S.value == -9 && US.value == 9);
    EXPECT_TRUE(L.value == -10 && UL.value == 10 && LL.value == -11 && B.value == 200);
    EXPECT_TRUE(f == 1.5f && d == 3.14159 && t == "a<b" && cs == "u" && ss == "s s");
    EXPECT_TRUE(w == wide && wc.value == L'\u00e9' &&
                tm.toMicroSeconds() == when.toMicroSeconds() && x == "2");
    EXPECT_EQ(istr(y), istr(bytes));
    EXPECT_EQ(in["w"].type(), "utf8");
}

TEST(XmlStream, ReadingEdgeCases) {
    const XMLInStream in(
        istr("<r><u>\\u00e9</u><short>\\u12</short><bad>\\u00g9</bad>"
             "<t>true</t><e></e><sp>  z</sp><tm>no time</tm><big>300</big></r>"));
    Wchar w;
    in["u"] >> w;
    EXPECT_EQ(w.value, L'\u00e9');
    for (const char* name : {"short", "bad", "missing"}) {
        w.value = L'x';
        in[name] >> w;
        EXPECT_EQ(w.value, 0) << name;
    }
    bool b = true;
    in["t"] >> b;
    EXPECT_FALSE(b);  // "true" is no value: the rule leaves false
    int plain = 7;
    volatile int vol = 7;
    Long wrapped(7);
    in["e"] >> plain >> vol >> wrapped;
    EXPECT_TRUE(plain == 7 && vol == 0 && wrapped.value == 0);
    in["missing"] >> plain;
    EXPECT_EQ(plain, 7);
    char c = 0;
    in["sp"] >> c;
    EXPECT_EQ(c, 'z');
    Time tm(5);
    in["tm"] >> tm;
    EXPECT_EQ(tm.toMicroSeconds(), 5);
    Byte byte;
    in["big"] >> byte;
    EXPECT_EQ(byte.value, 300 & 0xFF);
    EXPECT_TRUE(in["missing"].node() == &XMLNode::null() && in.child("missing").isNull());
    EXPECT_TRUE(in.attr("none").isNull() && in.type().empty());
}

TEST(XmlStream, ParseFailureIsRecordedOnce) {
    zul_test::ScopedLibraryLogger log;
    const XMLInStream in(istr("<r><a>1</a><b x/></r>"));
    auto records = log->matching("<ERROR>");
    ASSERT_EQ(records.size(), 1u);
    EXPECT_NE(records[0].find("Malformed XML Attribute - no = found @ zul/xml/XMLParser.cpp:593"),
              std::string::npos);
    EXPECT_NE(records[0].find("zul/xml/XMLInStream.cpp:48"), std::string::npos) << records[0];
    EXPECT_NE(records[0].find("parse"), std::string::npos);
    int a = 5;
    String text = "kept";
    in["a"] >> a >> text;
    EXPECT_TRUE(a == 5 && text.empty() && in.str().empty());

    char path[] = "/tmp/zul_xml_stream_XXXXXX";
    const int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    close(fd);
    std::ofstream(path) << "<r><a>12</a></r>\n";
    std::ifstream file(path);
    XMLStream fromFile(file);
    static_cast<const XMLStream&>(fromFile)["a"] >> a;
    EXPECT_EQ(a, 12);
    std::remove(path);
}

TEST(XmlStream, CopiesTransferTheNode) {
    XMLOutStream a("a");
    a["k"] << 1;
    XMLOutStream b(a);
    EXPECT_EQ(a.str(), "");
    EXPECT_EQ(b.str(false, 0), "<a><k>1</k></a>");
    XMLOutStream c;
    c = b;
    c = c;
    EXPECT_EQ(c.name(), "a");
    EXPECT_TRUE(static_cast<const XMLOutStream&>(b).node().isNull());
    XMLOutStream d("d");
    d += c;
    d.type("t");
    d("n").value("v");
    EXPECT_EQ(d.str(false, 0), "<d __type__=\"t\" n=\"v\"><a><k>1</k></a></d>");
    zul::dumper dd;
    dd.level(1);
    d.dump(dd);
    const std::string dumped = dd.str(), tail = "    " + d.str(true, 2);
    ASSERT_GE(dumped.size(), tail.size());
    EXPECT_EQ(dumped.substr(dumped.size() - tail.size()), tail);

    XMLStream e;
    e.name("renamed");
    e.cdata("x<");
    XMLStream f(e);
    f = e;  // e holds nothing any more: f lets go of its node
    EXPECT_EQ(f.str(), "");

    XMLNode node("n");
    XMLStreamBase base(&node, out_t());
    base.cdata("1&");
    EXPECT_EQ(node.cdata(), "1&amp;");
    XMLStreamBase reading(&node, in_t());
    reading.cdata("ignored");
    reading.name("ignored");
    EXPECT_EQ(node.str(false, 0), "<n>1&amp;</n>");
    XMLNode* owned = new XMLNode("o");
    base.setOutputNode(owned, true);
    base.swap(reading);
    EXPECT_EQ(base.release(), &node);
    EXPECT_EQ(reading.numofChildren(), 0u);  // `reading` owns `owned` and deletes it
}

// The writing members of a stream that reads never change what it reads, the caller's
// constant node or the shared null objects, and never need a node.
TEST(XmlStream, WritingMembersOfAReadingStreamChangeNothing) {
    XMLNode built("r");
    built.addAttr(istr("k"), istr("v"));
    built.child(istr("a")).cdata(istr("1"));
    const XMLNode& doc = built;
    const std::string before = doc.str(false, 0);
    XMLStream over(in_t(), doc);
    EXPECT_EQ(over.attr("k").value(), "v");  // a private copy still reads
    over.attr("k").value("changed");
    over("new").value("x");
    EXPECT_EQ(over.child("a").cdata(), "1");
    over.child("a").cdata("2");
    over.child("b").addChildNode(istr("c"));
    over.type("t");
    over += XMLOutStream("extra");
    XMLStream sub(out_t(), "a", over);
    sub << 99;
    over["z"] << 5;
    EXPECT_EQ(doc.str(false, 0), before);

    XMLStream broken(in_t(), istr("<r x/>"));  // a parse failure leaves no node
    broken.attr("x").value("1");
    broken.child("y").cdata("2");
    broken.type("t");
    broken["y"] << 3;
    XMLStream missing(in_t(), "nothing", broken);
    missing.child("q").addChildNode(istr("w"));
    EXPECT_TRUE(XMLNode::null().isSimple() && XMLNode::null().cdata().empty());
    EXPECT_TRUE(XMLAttr::null().value().empty());
}
