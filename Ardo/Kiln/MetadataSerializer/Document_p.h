#pragma once

#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"

#include <boost/property_tree/ptree.hpp>
#include <cstddef>
#include <string_view>

namespace Ardo::Kiln::MetadataSerializer
{

/// A document whose text has been parsed.
class Document
{
public:
    /// Parses \p text, which must outlive the object.
    /// \throws the parser's error, or ptree_bad_path: see Serializable::DeserializeFromString.
    Document(std::string_view text, SerializeType type);
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    /// The text that was parsed, without terminating NULs of a C interface.
    std::string_view Text() const { return m_text; }

    /// The content of the first "Metadata".
    const DocumentNode& Metadata() const { return *m_metadata; }

    /// The index of "Metadata" among the nodes of the document.
    std::size_t RootIndex() const;

    SerializeType Type() const { return m_type; }

private:
    std::string_view m_text;
    SerializeType m_type;
    boost::property_tree::ptree m_json; ///< A JSON document.
    DocumentNodes m_nodes;              ///< They refer to the XML text or to the tree.
    DocumentNode m_root;
    const DocumentNode* m_metadata = nullptr;
};

} // namespace Ardo::Kiln::MetadataSerializer
