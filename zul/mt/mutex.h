// zul::Mutex and zul::Guard_T are declared in zul/base/mutex.h, below everything that locks;
// this header stays for code that includes them from the threading folder.
#pragma once

#include <zul/base/mutex.h>
