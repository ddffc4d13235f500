#include "Ardo/Kiln/MetadataSerializer/Document_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentScan_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/JsonTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlTree_p.h"

namespace Ardo::Kiln::MetadataSerializer
{

Document::Document(std::string_view text, SerializeType type) : m_text(text), m_type(type)
{
    if (type == SerializeType::Xml)
    {
        // A text from a C interface may include its terminator, at which the parser would stop.
        while (m_text.ends_with('\0'))
        {
            m_text.remove_suffix(1);
        }
        ParseXml(m_text, m_nodes, m_root);
    }
    else
    {
        ScanJson(m_text);
        ParseJson(m_text, m_json);
        m_nodes.AppendTree(m_root, m_json);
    }
    m_metadata = m_root.Find(RootKey());
    if (m_metadata == nullptr)
    {
        ThrowNoSuchNode(RootKey());
    }
}

std::size_t Document::RootIndex() const
{
    std::size_t index = 0;
    for (const DocumentNode* node = m_root.firstChild; node != m_metadata; node = node->next)
    {
        ++index;
    }
    return index;
}

} // namespace Ardo::Kiln::MetadataSerializer
