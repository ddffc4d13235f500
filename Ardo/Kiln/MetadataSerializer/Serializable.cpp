#include "Ardo/Kiln/MetadataSerializer/Serializable.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentScan_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/Namespaces.h"
#include "Ardo/Kiln/MetadataSerializer/TextSink_p.h"
#include "Ardo/Kiln/MetadataSerializer/TreeCheck_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlTree_p.h"

#include <algorithm>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <ostream>
#include <string_view>

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

/// Puts the attributes of the root element first, where readers of JSON expect them, too.
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

/// JSON has no place for the text of a node with children.
bool FitsJson(const ptree& tree)
{
    return (tree.empty() || tree.data().empty()) &&
           std::all_of(tree.begin(), tree.end(), [](const auto& node) { return FitsJson(node.second); });
}

std::string WriteJson(const ptree& document)
{
    using boost::property_tree::json_parser::json_parser_error;
    // What write_json does, but its own check of the tree copies every text twice.
    if (!FitsJson(document))
    {
        BOOST_PROPERTY_TREE_THROW(
            json_parser_error("ptree contains data that cannot be represented in JSON format", std::string(), 0));
    }
    std::string text;
    TextSink sink(text);
    std::ostream stream(&sink);
    boost::property_tree::json_parser::write_json_helper(stream, document, 0, true);
    stream << std::endl;
    if (!stream.good())
    {
        BOOST_PROPERTY_TREE_THROW(json_parser_error("write error", std::string(), 0));
    }
    // The writer passes bytes beyond ASCII on as they are, between quotes: one look at the whole finds what a look at
    // each text would.
    if (FindInvalid(text, TextRule::Utf8) < text.size())
    {
        CheckUtf8(document); // throws, and says which
    }
    return text;
}

void ReadXml(std::string_view text, ptree& document)
{
    // A text that comes out of a C interface may have kept its terminator, which ends it for the parser, too.
    while (text.ends_with('\0'))
    {
        text.remove_suffix(1);
    }
    ScanXml(text);
    ParseXml(text, document);
}

void ReadJson(std::string_view text, ptree& document)
{
    namespace detail = boost::property_tree::json_parser::detail;
    ScanJson(text);
    // What read_json does, but from the text itself: through a stream the parser takes half as long again.
    detail::standard_callbacks<ptree> callbacks;
    detail::encoding<char> encoding;
    detail::read_json_internal(text.data(), text.data() + text.size(), encoding, callbacks, std::string());
    document.swap(callbacks.output());
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
    std::string text = type == SerializeType::Xml ? WriteXml(document) : WriteJson(document);
    if (text.size() > MaxTextSize)
    {
        // Readers would ignore it without a word.
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
    ptree document;
    if (type == SerializeType::Xml)
    {
        ReadXml(text, document);
    }
    else
    {
        ReadJson(text, document);
    }
    const auto metadata = document.find(RootKey());
    if (metadata == document.not_found())
    {
        ThrowNoSuchNode(RootKey());
    }
    Deserialize(metadata->second, type);
}

} // namespace Ardo::Kiln::MetadataSerializer
