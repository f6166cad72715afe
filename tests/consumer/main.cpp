// Uses the installed library through the umbrella header; exits 0 when the calls agree.
#include <zul/zul.h>

#include <iostream>

int main() {
    zul::String s(zul::istr("answer=42", 6));
    std::cout << s << std::endl;
    return s == "answer" ? 0 : 1;
}
