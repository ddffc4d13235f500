#include "Ardo/Kiln/MetadataSerializer/Serializable.h"

#include "Ardo/Kiln/MetadataSerializer/Document_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentLines_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/JsonTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/Namespaces.h"
#include "Ardo/Kiln/MetadataSerializer/TextSink_p.h"
#include "Ardo/Kiln/MetadataSerializer/WriteCheck_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <ostream>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::ptree;

/// Sets the text of a child, which is made if it is not there.
void SetChild(ptree& tree, const char* key, const char* text)
{
    const auto child = tree.find(key);
    ptree& node = child != tree.not_found() ? child->second : tree.push_back({key, ptree()})->second;
    node.data() = text;
}

/// Puts the attributes of the root element first, where readers of JSON expect them as well.
void AddNamespaces(ptree& metadata)
{
    ptree& attributes = metadata.push_front({AttributesKey(), ptree()})->second;
    if (metadata.count(AttributesKey()) > 1)
    {
        for (auto node = std::next(metadata.begin()); node != metadata.end(); ++node)
        {
            if (node->first == AttributesKey())
            {
                attributes.swap(node->second);
                metadata.erase(node);
                break;
            }
        }
    }
    SetChild(attributes, "xmlns:nil", MetadataNamespaceUri);
    SetChild(attributes, "xmlns:xsi", SchemaInstanceNamespaceUri);
}

std::string WriteXml(ptree& document)
{
    const bool replaced = PrepareForXml(document);
    std::string text;
    TextSink sink(text);
    std::ostream stream(&sink);
    boost::property_tree::write_xml(stream, document,
                                    boost::property_tree::xml_writer_make_settings<std::string>(' ', 4, "utf-8"));
    stream.flush();
    return replaced ? RestoreWhiteSpace(text) : text;
}

std::string WriteJson(const ptree& document)
{
    std::string text = JsonText(document);
    // The writer copies bytes beyond ASCII unchanged, so the whole document can be validated at once.
    if (FindInvalid(text, TextRule::Utf8) < text.size())
    {
        CheckUtf8(document); // throws, and names the text
    }
    return text;
}

} // namespace

Serializable::~Serializable() = default;

std::string Serializable::SerializeToString(SerializeType type) const
{
    ptree content = Serialize(type);
    ptree document;
    ptree& metadata = document.push_back({RootKey(), ptree()})->second;
    metadata.swap(content);
    AddNamespaces(metadata);
    CheckLimits(document, type);
    std::string text = type == SerializeType::Xml ? WriteXml(document) : WriteJson(document);
    if (text.size() > MaxTextSize)
    {
        // Readers would ignore it without an error.
        BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
            "the document has " + std::to_string(text.size()) + " bytes, readers take " + std::to_string(MaxTextSize),
            std::string()));
    }
    return text;
}

void Serializable::DeserializeFromString(const std::string& text, SerializeType type)
{
    if (text.size() > MaxTextSize)
    {
        return;
    }
    const Document document(text, type);
    const TextBeingRead beingRead(document, type);
    Deserialize(document.Metadata(), type);
}

} // namespace Ardo::Kiln::MetadataSerializer
