#pragma once

#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"
#include "Ardo/KilnExport.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <cstddef>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

/// Base of classes that are written to and read from a metadata document. It converts between text and property tree;
/// derived classes convert the content below the root element "Metadata".
///
/// Thread-safety: no shared state. No thread may change an object that another one reads or writes.
class KILN_EXPORT Serializable
{
public:
    /// Text longer than this many bytes is not read.
    static constexpr std::size_t MaxTextSize = 20'971'520;
    /// Elements, or objects and arrays, may be nested this deep, the root included.
    static constexpr std::size_t MaxDepth = 256;
    /// An element may have this many attributes.
    static constexpr std::size_t MaxAttributeCount = 100;
    /// A document may have this many nodes (elements, attributes and comments; values): a node takes some hundred bytes
    /// of memory, however few characters it has in the text.
    static constexpr std::size_t MaxNodeCount = 1'000'000;

    virtual ~Serializable();

    /// The content below the root element, in the shape of the syntax \p type.
    /// \throws what the derived class documents.
    virtual boost::property_tree::ptree Serialize(SerializeType type) const = 0;

    /// Fills the object from \p tree, the content below the root element, in the shape of the syntax \p type.
    /// \throws what the derived class documents; the object may then be partly filled.
    virtual void Deserialize(const boost::property_tree::ptree& tree, SerializeType type) = 0;

    /// The document: root element "Metadata" with the two namespaces (in JSON, too: its first member is "<xmlattr>"),
    /// UTF-8, indented by four blanks a level, numbers with "." in any locale.
    ///
    /// Carriage returns, and tabs and line feeds where a reader of XML may drop or change them, are written as
    /// character references, so that every text is read back unchanged, also by standard readers.
    /// \throws boost::property_tree::ptree_bad_data, with the place in its text, if a text cannot be represented: it is
    ///         not UTF-8, or, in XML, holds a control character or another one that XML 1.0 excludes, the name of an
    ///         element is no XML name, or an attribute is given twice; and if the document is beyond one of the limits
    ///         above: what is written can be read.
    /// \throws boost::property_tree::json_parser::json_parser_error if a node has both text and children in JSON.
    /// \throws what Serialize throws.
    std::string SerializeToString(SerializeType type) const;

    /// Reads a document. Text over MaxTextSize is ignored: the call returns and the object stays as it was.
    ///
    /// The text is UTF-8, whatever an XML declaration says. Comments are skipped. Of elements that should be there
    /// once, the first one counts.
    /// \throws boost::property_tree::xml_parser::xml_parser_error or json_parser::json_parser_error, with message and
    ///         line, if the text is not well-formed, not UTF-8, holds a character that XML excludes, refers to another
    ///         entity than the five predefined ones, has a document type declaration of more than a name, or is beyond
    ///         one of the limits above; the object stays as it was.
    /// \throws boost::property_tree::ptree_bad_path "No such node" if there is no "Metadata".
    /// \throws what Deserialize throws.
    void DeserializeFromString(const std::string& text, SerializeType type);

protected:
    Serializable() = default;
    Serializable(const Serializable&) = default;
    Serializable(Serializable&&) = default;
    Serializable& operator=(const Serializable&) = default;
    Serializable& operator=(Serializable&&) = default;
};

} // namespace Ardo::Kiln::MetadataSerializer
