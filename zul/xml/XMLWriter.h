// Escaped XML text of a node tree: unlike XMLNode::str, which writes what is stored as it
// is, this writes text that XMLParser (and standard XML readers) read back to the same tree.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/xml/XMLNode.h>

namespace zul {
namespace xml {

/// Appends the subtree of `n` to `out` with '&', '<', '>' (and '"' in attribute values)
/// escaped, leading white space and a leading ']' of character data written as character
/// references, and attributes with empty values kept. `formatted` puts each child on its own
/// line, indented by four blanks per level, and character data right before the end tag, so
/// the layout adds no text. Names are written as stored. The null node writes nothing.
ZUL_API void writeXml(const XMLNode& n, String& out, bool formatted);

/// The same, returned.
ZUL_API String toXml(const XMLNode& n, bool formatted);

}  // namespace xml
}  // namespace zul
