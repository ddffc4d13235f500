#pragma once

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

    /// The text that was parsed, without terminating NULs of a C interface.
    std::string_view Text() const { return m_text; }

    /// The content of the first "Metadata".
    const boost::property_tree::ptree& Metadata() const { return m_metadata->second; }

    /// The index of "Metadata" among the nodes of the document.
    std::size_t RootIndex() const;

private:
    std::string_view m_text;
    boost::property_tree::ptree m_tree;
    boost::property_tree::ptree::const_assoc_iterator m_metadata;
};

} // namespace Ardo::Kiln::MetadataSerializer
