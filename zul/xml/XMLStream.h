// zul::xml::XMLStream, an object stream that can both write and read one element; its
// constructor chooses the mode.
#pragma once

#include <zul/base/api.h>
#include <zul/base/base_type_string.h>
#include <zul/xml/XMLInStream.h>
#include <zul/xml/XMLOutStream.h>

#include <iosfwd>

namespace zul {
namespace xml {

/// Both streams over one shared element. On a non-constant stream operator[], attr and
/// child are the writing ones (creating what is missing); on a constant one the reading ones.
class ZUL_API XMLStream : public XMLInStream, public XMLOutStream {
  public:
    /// Writing; owns a new element "root".
    XMLStream();

    ///@{

    /// Writing; owns a new element `name`.
    explicit XMLStream(const istr& name);
    XMLStream(out_t, const istr& name);
    ///@}

    /// Writing the parent's child `name` (created when missing), not owned.
    XMLStream(out_t, const istr& name, XMLOutStream& parent);
    /// Writing `node`, not owned.
    XMLStream(out_t, XMLNode& node);

    ///@{

    /// Reading the parsed document's root, owned (no element after a syntax error, which
    /// is recorded).
    explicit XMLStream(std::ifstream& in);
    XMLStream(in_t, const istr& text);
    ///@}

    /// Reading the parent's child `name` or XMLNode::null(), not owned.
    XMLStream(in_t, const istr& name, const XMLInStream& parent);
    /// Reading `node`, not owned.
    XMLStream(in_t, const XMLNode& node);
    /// Takes the element of `o`, which keeps none.
    XMLStream(const XMLStream& o);
    /// Takes the element of `o` (which keeps none), then deletes the own old one if owned.
    /// Self-assignment does nothing.
    XMLStream& operator=(const XMLStream& o);

    /// Constant: the child stream, reading XMLNode::null() when the child is missing.
    using XMLInStream::operator[];
    /// Non-constant: the child stream, the child created when missing.
    using XMLOutStream::operator[];
    /// Constant: the element's attribute, or XMLAttr::null().
    using XMLInStream::attr;
    /// Non-constant: the element's attribute, created with an empty value when missing.
    using XMLOutStream::attr;
    /// Constant: attr(name) const.
    using XMLInStream::operator();
    /// Non-constant: attr(name).
    using XMLOutStream::operator();
    /// Constant: the element's child, or XMLNode::null().
    using XMLInStream::child;
    /// The value of the attribute "__type__", or "" when absent.
    using XMLInStream::type;
    /// Non-constant: the element's child, created when missing.
    using XMLOutStream::child;
    /// Sets the attribute "__type__" to `t`.
    using XMLOutStream::type;
    /// The reading operators, each as documented in XMLInStream; they read in either mode.
    using XMLInStream::operator>>;
    /// The writing operators, each as documented in XMLOutStream; in reading mode they leave
    /// the character data as it is.
    using XMLOutStream::operator<<;
};

}  // namespace xml
}  // namespace zul
