#include "Ardo/Kiln/MetadataSerializer/Document_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentScan_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/JsonTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlTree_p.h"

#include <iterator>

namespace Ardo::Kiln::MetadataSerializer
{

Document::Document(std::string_view text, SerializeType type) : m_text(text)
{
    if (type == SerializeType::Xml)
    {
        // A text from a C interface may include its terminator, at which the parser would stop.
        while (m_text.ends_with('\0'))
        {
            m_text.remove_suffix(1);
        }
        ScanXml(m_text);
        ParseXml(m_text, m_tree);
    }
    else
    {
        ScanJson(m_text);
        ParseJson(m_text, m_tree);
    }
    m_metadata = std::as_const(m_tree).find(RootKey());
    if (m_metadata == std::as_const(m_tree).not_found())
    {
        ThrowNoSuchNode(RootKey());
    }
}

std::size_t Document::RootIndex() const
{
    return static_cast<std::size_t>(std::distance(m_tree.begin(), m_tree.to_iterator(m_metadata)));
}

} // namespace Ardo::Kiln::MetadataSerializer
