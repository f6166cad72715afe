// A short tour of the zul text types.
#include <zul/zul.h>

#include <iostream>

int main() {
    zul::String s("zul text types");
    std::cout << s << std::endl;
    return 0;
}
