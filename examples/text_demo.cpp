// A short tour of the zul text types: views, output buffers, value/text conversions and
// column layout. This is what `make run` prints.
#include <zul/zul.h>

#include <iostream>

namespace {

void views() {
    std::cout << "== views (istr): non-owning, clamped, never allocating\n";
    const zul::istr hello("hello, world");
    std::cout << "  view           : " << hello << " (size " << hello.size << ")\n";
    std::cout << "  leftstr(5)     : " << hello.leftstr(5) << "\n";
    std::cout << "  rightstr(5)    : " << hello.rightstr(5) << "\n";
    std::cout << "  substr(7, 99)  : " << hello.substr(7, 99) << "   (length clamped)\n";
    std::cout << "  substr(99, 2)  : [" << hello.substr(99, 2) << "]   (start clamped)\n";
    std::cout << "  beginWith(hell): " << std::boolalpha << hello.beginWith("hell") << "\n";
    std::cout << "  \"ab\" < \"abc\"   : " << (zul::istr("ab") < zul::istr("abc")) << "\n";
    std::cout << "  dump of a null : ";
    zul::istr().dump(std::cout);
    std::cout << "\n";
}

void buffers() {
    std::cout << "== output buffers (ostr): always NUL-terminated within their capacity\n";
    char buf[8];
    zul::ostr out(buf, sizeof buf);
    out = "short";
    std::cout << "  \"short\" in 8    : " << buf << "\n";
    out = "much too long for it";
    std::cout << "  too long text   : " << buf << "   (cut to capacity - 1)\n";
    std::cout << "  dump            : ";
    out.dump(std::cout);
    std::cout << "\n";
}

void conversions() {
    std::cout << "== value to text (exactly what a default std::ostringstream writes)\n";
    zul::String s;
    s += static_cast<short>(-5);
    s += " | ";
    s += 1.0 / 3;
    s += " | ";
    s += 123456789.0;
    s += " | ";
    s += true;
    s += " | ";
    s += zul::Ulong(18446744073709551615UL);
    std::cout << "  " << s << "\n";

    std::cout << "== text to value (exactly what a default std::istringstream reads)\n";
    const char* texts[] = {"  42", "12abc", "x", "99999999999", ""};
    for (const char* t : texts) {
        int v = -1;
        const bool ok = zul::String(t) >> v;
        std::cout << "  \"" << t << "\" -> " << (ok ? "ok  " : "fail") << " value " << v << "\n";
    }
    bool b = false;
    std::cout << "  \"true\" into bool -> " << ((zul::String("true") >> b) ? "ok" : "fail")
              << " (only 1 and 0 are read)\n";
}

void columns() {
    std::cout << "== columns (StringRef) in a 40-character line\n";
    char line[40];
    zul::StringRef ref(line, sizeof line);
    ref.fill('-', sizeof line);
    ref.left("left").center("middle").right("right");
    std::cout << "  |" << zul::istr(line, sizeof line) << "|\n";
    zul::charray<12> rule('=', zul::istr::npos);
    std::cout << "  charray<12>: " << rule.c_str() << "\n";
}

}  // namespace

int main() {
    views();
    buffers();
    conversions();
    columns();
    return 0;
}
