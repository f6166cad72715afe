// zul::Base64: RFC 4648 Base64 with "=" padding, written in MIME lines of 76 characters.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_bytes.h>
#include <zul/base/base_type_string.h>

#include <vector>

namespace zul {

/// Base64 encoding and decoding. Neither direction reports errors.
class ZUL_API Base64 {
  public:
    ///@{

    /// Encodes `data` into `out` (replacing its content), breaking the text into lines of 76
    /// characters separated by "\r\n", with no break at the end. Empty data leaves `out`
    /// untouched.
    static void encode(istr data, String& out);
    static void encode(std::vector<unsigned char> const& data, String& out);
    ///@}

    /// The alphabet character of the 6-bit value `v` (only its low six bits count).
    static char encode(unsigned char v);

    /// Decodes `text` into `out`: characters other than the alphabet and "=" are skipped, "="
    /// in the last two places of a group shortens it, and a final group shorter than four
    /// characters is completed with "A". The size of `out` becomes the decoded length (0 when
    /// nothing is decoded). `text` may view the bytes of `out` itself.
    static void decode(istr text, Bytes& out);
    /// As above; when the text holds neither an alphabet character nor "=", `out` is left as
    /// it was.
    static void decode(istr text, std::vector<unsigned char>& out);
    /// The 6-bit value of an alphabet character; every other character (and "/") gives 63.
    static unsigned char decode(char c);

    /// True for ASCII letters, digits, "+" and "/".
    static bool isBase64(char c);
};

}  // namespace zul
