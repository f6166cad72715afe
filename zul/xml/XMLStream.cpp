// The two-way XML object stream: its constructors set up the one shared element.
#include <zul/xml/XMLNode.h>
#include <zul/xml/XMLStream.h>

#include <fstream>

namespace zul {
namespace xml {

XMLStream::XMLStream()
    : XMLStreamBase(false, true, new XMLNode(istr("root"))),
      XMLInStream(BaseSetUp()),
      XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(const istr& name)
    : XMLStreamBase(false, true, new XMLNode(name)),
      XMLInStream(BaseSetUp()),
      XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(out_t, const istr& name) : XMLStream(name) {}

XMLStream::XMLStream(out_t, const istr& name, XMLOutStream& parent)
    : XMLStreamBase(childOf(parent, name)), XMLInStream(BaseSetUp()), XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(out_t, XMLNode& node)
    : XMLStreamBase(&node, out_t()), XMLInStream(BaseSetUp()), XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(std::ifstream& in)
    : XMLStreamBase(true, true, parseDocument(istr(), &in)),
      XMLInStream(BaseSetUp()),
      XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(in_t, const istr& text)
    : XMLStreamBase(true, true, parseDocument(text, nullptr)),
      XMLInStream(BaseSetUp()),
      XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(in_t, const istr& name, const XMLInStream& parent)
    : XMLStreamBase(&parent.child(name), in_t()),
      XMLInStream(BaseSetUp()),
      XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(in_t, const XMLNode& node)
    : XMLStreamBase(&node, in_t()), XMLInStream(BaseSetUp()), XMLOutStream(BaseSetUp()) {}

XMLStream::XMLStream(const XMLStream& o)
    : XMLStreamBase(o), XMLInStream(BaseSetUp()), XMLOutStream(BaseSetUp()) {}

XMLStream& XMLStream::operator=(const XMLStream& o) {
    XMLStreamBase::operator=(o);  // once: the shared base would otherwise be assigned twice
    return *this;
}

}  // namespace xml
}  // namespace zul
