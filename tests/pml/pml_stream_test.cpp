// Object binding: codec round trips of every bound type through text and files, map entries,
// empty-child rules, copies, operators and the stream's dump.
#include <zul/base/base_type_time.h>
#include <zul/base/mlcheck.h>
#include <zul/log/log_dumper.h>
#include <zul/pml/pml_stream.h>

#include <map>
#include <stdexcept>

#include "pml/pml_test_support.h"

using namespace zul_test;
using zul::Bit;
using zul::pml::Field__;
using zul::pml::stream;

namespace {

struct Settings {
    volatile bool infoOn = false;
    volatile unsigned long limit = 0;
    String filename;
    std::map<String, Bit> logs;
    int level = 0;
    double ratio = 0;
    std::wstring title;
    zul::Time when;

    void codec(stream& s) {
        zul::pml::bind(s, "infoOn", infoOn);
        zul::pml::bind(s, "limit", limit);
        // Kept when the input has nothing for it.
        if (!s.isInputStream() || !s.isEmptyChild("filename"))
            zul::pml::bind(s, "filename", filename);
        zul::pml::bind(s, "logs", logs);
        Field__<int>("level", "int", &level).codec(s);
        zul::pml::bind(s, "ratio", ratio);
        zul::pml::bind(s, "title", title);
        zul::pml::bind(s, "when", when);
    }
    String save() {
        stream out;
        out.unit().name("s");
        codec(out);
        return out.toPml(false);
    }
};

}  // namespace

TEST(PmlStream, WorkedExampleAndDirections) {
    struct Log {
        volatile bool infoOn = true;
        String filename = "app.log";
        void codec(stream& s) {
            Field__<volatile bool>("infoOn", "", &infoOn).codec(s);
            Field__<String>("filename", "", &filename).codec(s);
        }
    } log;
    stream out;  // a default stream writes
    out.unit().name("log");
    log.codec(out);
    EXPECT_EQ(out.toPml(false), "log(infoOn(1)filename(app.log))");

    stream in(istr("log(infoOn(0)filename(b.log))"));
    log.codec(in);
    EXPECT_TRUE(!log.infoOn && log.filename == "b.log");
    const stream& constant = in;
    constant.setAsOutputStream(true);
    EXPECT_TRUE(in.isOutputStream() && in.outputOption());
    constant.setAsInputStream();
    EXPECT_STREQ(in.directionText(), "input");
}

TEST(PmlStream, EveryBoundTypeRoundTripsThroughTextAndFile) {
    TempDir dir;
    Settings original;
    original.infoOn = true;
    original.limit = 18446744073709551615ul;
    original.filename = "dir/app (1).log";
    original.logs = {{"net", Bit(true)}, {"ui", Bit(false)}};
    original.level = -7;
    original.ratio = 0.25;
    original.title = L"\u00e9t\u00e9";
    original.when = zul::Time(1700000000123456LL);
    const String text = original.save();
    EXPECT_EQ(std::string(text),
              "s(infoOn(1)limit(18446744073709551615)filename(\"dir/app (1).log\")logs(net(1)ui(0))"
              "level:int(-7)ratio(0.25)title:utf8(w6l0w6k=)when(\"" +
                  original.when.toFullDateTime() + "\"))");

    const std::string file = dir.write("s.pml", stream(istr(text)).toPml(true));
    for (stream src : {stream(istr(text)), stream(istr(file), zul::pml::from_file())}) {
        Settings back;
        back.codec(src);
        EXPECT_EQ(back.save(), text);
    }
    // No child, or a text that does not convert, keeps the member.
    stream partial(istr("s(level(x)filename())"));
    original.codec(partial);
    EXPECT_EQ(original.save(), text);
}

TEST(PmlStream, MapEntries) {
    std::map<String, Bit> m{{"old", Bit(true)}}, none;
    Field__<std::map<String, Bit>> f("m", "", &m);
    const auto bits = [&m] {
        std::string s;
        for (const auto& kv : m) s += kv.first + (kv.second.value ? "+" : "-");
        return s;
    };
    EXPECT_TRUE(f.get(stream(istr("r(m(a(1)b(true)c(x)))"))));
    EXPECT_EQ(bits(), "a+b+c-");
    EXPECT_FALSE(f.get(stream(istr("r(n(1))"))));  // a missing child leaves the map
    EXPECT_EQ(bits(), "a+b+c-");

    stream out;
    Field__<std::map<String, Bit>>("m", "", &none).set(out);
    EXPECT_EQ(out.toPml(false), "(m())");
    EXPECT_TRUE(f.get(stream(istr(out.toPml(false)))));
    EXPECT_EQ(bits(), "");
}

TEST(PmlStream, EmptyChildrenLookupsCopiesAndOperators) {
    stream s(istr("r(text() list(a(1)))"));
    s.unit().addChild("none");
    s.unit()["empty"].initValueAsList();
    for (const char* empty : {"missing", "none", "text"}) EXPECT_TRUE(s.isEmptyChild(empty));
    for (const char* full : {"list", "empty"}) EXPECT_FALSE(s.isEmptyChild(full));
    EXPECT_EQ(&static_cast<const stream&>(s)["nothing"], &Unit::null());

    struct Id : zul::pml::name_id {
        const char* name() const override { return "list"; }
    };
    stream copy(s.unit());
    EXPECT_EQ(copy[Id()].numofChildren(), 1u);
    copy["added"] << 5;  // the creating lookup, on the copy only
    EXPECT_EQ(copy.unit().numofChildren(), 5u);
    EXPECT_EQ(s.unit().numofChildren(), 4u);

    Unit target(istr("keep"));
    target << copy;
    EXPECT_EQ(target.str(zul::pml::COMPACT, kNTV), "keep(text()list(a(1))none()empty()added(5))");
    stream into;
    Unit(istr("n"), istr("t"), istr("v")) >> into;
    EXPECT_EQ(into.toPml(false), ":t(v)");
}

TEST(PmlStream, PrintingAndDump) {
    stream s(istr("a(b(1))"));
    String formatted;
    formatted << s;
    std::ostringstream compact;
    compact << s;
    EXPECT_EQ(formatted + compact.str() + s.toPml(true), "a(b(1))a(b(1))a(b(1))");
    zul::dumper d;
    d << s;
    EXPECT_EQ(std::string(d.str()),
              "@zul::pml::stream {\n    direction_ = \"input\"\n    unit_ = a{\n"
              "        b(1)\n    }\n}");
}

TEST(PmlStream, DuplicateNameReleasesTheNewNode) {
    zul::MemLeakChecker::instance()->start();
    {
        String v = "x";
        stream out;
        Field__<String>("n", "", &v).set(out);
        EXPECT_THROW(Field__<String>("n", "", &v).set(out), std::invalid_argument);
        EXPECT_EQ(out.unit().numofChildren(), 1u);
    }
    EXPECT_EQ(zul::MemLeakChecker::instance()->size(), 0u);
    zul::MemLeakChecker::instance()->stop();
}
