#pragma once

#include "Ardo/Kiln/MetadataSerializer/Document_p.h"
#include "Ardo/Kiln/MetadataSerializer/ReadReport_p.h"

#include <boost/property_tree/ptree_fwd.hpp>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// Sets the line of each finding whose node is in the document. One pass over the text for any number of findings.
void SetLines(const std::vector<ReadReport::Finding*>& findings, const Document& document);

/// The text that this thread is reading, for code that reads the property tree made from it and names lines.
/// Serializable::Deserialize, which gets the tree alone, may be implemented outside the library.
class TextBeingRead
{
public:
    /// \p tree is that of \p document. Both have to outlive the object.
    TextBeingRead(const Document& document, const boost::property_tree::ptree& tree);
    ~TextBeingRead();
    TextBeingRead(const TextBeingRead&) = delete;
    TextBeingRead& operator=(const TextBeingRead&) = delete;

    /// Sets the lines if \p tree is that of the document that this thread is reading, otherwise leaves them unknown.
    static void SetLines(const std::vector<ReadReport::Finding*>& findings, const boost::property_tree::ptree& tree);

private:
    const Document& m_document;
    const boost::property_tree::ptree& m_tree;
    const TextBeingRead* m_outer; ///< A document read while another one is.
};

} // namespace Ardo::Kiln::MetadataSerializer
