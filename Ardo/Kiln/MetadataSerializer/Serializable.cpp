#include "Ardo/Kiln/MetadataSerializer/Serializable.h"

#include "Ardo/Kiln/MetadataSerializer/Document_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentLines_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentText_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/Namespaces.h"
#include "Ardo/Kiln/MetadataSerializer/Record.h"
#include "Ardo/Kiln/MetadataSerializer/WriteCheck_p.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <boost/property_tree/ptree.hpp>
#include <typeinfo>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::ptree;

/// True for a record and not for a class derived from it, which may have overridden the conversion from and to a tree.
/// Without the tree a record is read and written several times as fast.
bool IsRecord(const Serializable& object)
{
    return typeid(object) == typeid(Record);
}

/// Sets an attribute, which is made if it is not there.
void SetAttribute(DocumentNodes& nodes, DocumentNode& attributes, std::string_view name, std::string_view value)
{
    DocumentNode* attribute = attributes.firstChild;
    while (attribute != nullptr && attribute->name != name)
    {
        attribute = attribute->next;
    }
    (attribute != nullptr ? *attribute : nodes.Append(attributes, name)).text = value;
}

/// Appends the content of \p tree to \p metadata, and the attributes among it to \p attributes.
void AppendContent(DocumentNodes& nodes, DocumentNode& metadata, DocumentNode& attributes, const ptree& tree)
{
    metadata.text = tree.data();
    const auto own = tree.find(AttributesKey());
    for (auto node = tree.begin(); node != tree.end(); ++node)
    {
        const bool isOwn = own != tree.not_found() && node == tree.to_iterator(own);
        nodes.AppendTree(isOwn ? attributes : nodes.Append(metadata, node->first), node->second);
    }
}

/// \param areNamesChecked no name needs to be checked, as in a record: it has the names of fields, and the writer has
///        checked the types of detectors.
std::string TextOf(const DocumentNode& document, SerializeType type, bool areNamesChecked)
{
    const bool isXml = type == SerializeType::Xml;
    if (isXml && !areNamesChecked)
    {
        CheckXmlNames(document);
    }
    std::string text = isXml ? XmlText(document) : JsonText(document);
    // The writers copy what a document cannot hold unchanged, so the whole text can be checked at once.
    const TextRule rule = isXml ? TextRule::Xml : TextRule::Utf8;
    if (FindInvalid(text, rule) < text.size())
    {
        CheckTexts(document, rule); // throws, and names the text
    }
    return text;
}

} // namespace

Serializable::~Serializable() = default;

std::string Serializable::SerializeToString(SerializeType type) const
{
    DocumentNodes nodes;
    DocumentNode document;
    DocumentNode& metadata = nodes.Append(document, RootKey());
    DocumentNode& attributes = nodes.Append(metadata, AttributesKey()); // first, where readers of JSON expect them, too
    ptree tree;
    if (IsRecord(*this))
    {
        static_cast<const Record*>(this)->Serialize(nodes, metadata, type);
    }
    else
    {
        tree = Serialize(type);
        AppendContent(nodes, metadata, attributes, tree);
    }
    SetAttribute(nodes, attributes, "xmlns:nil", MetadataNamespaceUri);
    SetAttribute(nodes, attributes, "xmlns:xsi", SchemaInstanceNamespaceUri);
    CheckLimits(document, type);
    std::string text = TextOf(document, type, IsRecord(*this));
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
    if (IsRecord(*this))
    {
        static_cast<Record*>(this)->Deserialize(document);
        return;
    }
    ptree tree;
    AppendTo(tree, document.Metadata());
    const TextBeingRead beingRead(document, tree);
    Deserialize(tree, type);
}

} // namespace Ardo::Kiln::MetadataSerializer
