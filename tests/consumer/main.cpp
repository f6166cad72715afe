// Uses the installed library through the umbrella header; exits 0 when the calls agree.
#include <zul/zul.h>

#include <iostream>

int main() {
    zul::String s(zul::istr("answer=42", 7));
    s += 42;
    int back = 0;
    const bool read = zul::String(zul::istr(s).removeLeft(7)) >> back;
    std::cout << s << " -> " << back << std::endl;
    return s == "answer=42" && read && back == 42 ? 0 : 1;
}
