// Export macro of libzul.so. The library builds with hidden visibility; what is public
// carries ZUL_API so that it (and its type information) is exported from the .so.
#pragma once

/// Exports the class or function it marks from libzul.so.
#define ZUL_API __attribute__((visibility("default")))
