// Escaped XML text of a node tree, written without recursion.
#include <zul/xml/XMLParser.h>
#include <zul/xml/XMLWriter.h>

#include <vector>

namespace zul {
namespace xml {

namespace {

void escape(String& out, const String& text, bool attribute) {
    size_t i = 0;
    if (!attribute) {
        // The parser skips white space before text and keeps a text starting with ']' raw.
        for (; i < text.size() && (XMLParser::isWhiteSpace(text[i]) || text[i] == ']'); ++i) {
            out += "&#";
            out += static_cast<int>(static_cast<unsigned char>(text[i]));
            out += ';';
            if (text[i] == ']') {
                ++i;
                break;
            }
        }
    }
    for (; i < text.size(); ++i) {
        const char c = text[i];
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                if (attribute) {
                    out += "&quot;";
                } else {
                    out += c;
                }
                break;
            case '\0':
                out += "&#0;";
                break;
            default:
                out += c;
        }
    }
}

// "<" and the name; a blank keeps a name starting with '!' or '?', and an empty name, from
// reading as a declaration, an instruction or an end tag.
void tagStart(String& out, const String& name) {
    out += '<';
    if (name.empty() || name[0] == '!' || name[0] == '?') out += ' ';
    out += name;
}

}  // namespace

void writeXml(const XMLNode& root, String& out, bool formatted) {
    if (root.isNull()) return;
    auto open = [&out, formatted](const XMLNode& n) {
        tagStart(out, n.name());
        const size_t count = n.numofAttrs();
        for (size_t i = 0; i < count; ++i) {
            const XMLAttr& a = n.attr(i);
            out += ' ';
            out += a.name();
            out += "=\"";
            escape(out, a.value(), true);
            out += '"';
        }
        if (n.numofChildren() == 0 && n.cdata().empty()) {
            out += "/>";
            return false;
        }
        out += '>';
        if (n.numofChildren() == 0) {
            escape(out, n.cdata(), false);
            out += "</";
            out += n.name();
            out += '>';
            return false;
        }
        if (formatted) out += '\n';
        return true;
    };
    auto indent = [&out, formatted](size_t level) {
        if (formatted) out.append(4 * level, ' ');
    };

    if (!open(root)) return;
    struct Frame {
        const XMLNode* node;
        size_t depth;
        size_t next;
    };
    std::vector<Frame> stack{{&root, 0, 0}};
    while (!stack.empty()) {
        Frame& f = stack.back();
        if (f.next < f.node->numofChildren()) {
            const XMLNode& c = f.node->child(f.next++);
            const size_t level = f.depth + 1;
            indent(level);
            if (open(c)) {
                stack.push_back({&c, level, 0});
            } else if (formatted) {
                out += '\n';
            }
            continue;
        }
        const XMLNode& n = *f.node;
        const size_t level = f.depth;
        stack.pop_back();
        // Right before the end tag, so that no layout blank joins the text.
        indent(n.cdata().empty() ? level : level + 1);
        escape(out, n.cdata(), false);
        out += "</";
        out += n.name();
        out += '>';
        if (formatted && !stack.empty()) out += '\n';
    }
}

String toXml(const XMLNode& n, bool formatted) {
    String out;
    writeXml(n, out, formatted);
    return out;
}

}  // namespace xml
}  // namespace zul
