#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"

#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <boost/throw_exception.hpp>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

/// True for attributes that any element may have: those of namespaces and of schema instances.
bool IsForEveryElement(std::string_view attribute)
{
    constexpr std::string_view Prefix = "xmlns:";
    return attribute == "xmlns" || attribute == "xsi:schemaLocation" || attribute == "xsi:noNamespaceSchemaLocation" ||
           (attribute.starts_with(Prefix) && IsXmlNcName(attribute.substr(Prefix.size())));
}

} // namespace

void TreeReader::ReadDetectors(MetadataLib::DetectorList& detectors)
{
    using namespace MetadataLib;

    for (const DocumentNode& node : ChildrenOf(m_node))
    {
        if (IsMarkup(node))
        {
            ReportUnread(node);
            continue;
        }
        const auto reader = [&] { return TreeReader(node, m_type, m_report, this, node.name); };
        const auto append = [&](auto detector)
        {
            TreeReader detectorReader = reader();
            detectorReader.m_isOpen = m_report.AllowsExtensions() && typeid(detector) == typeid(Detector);
            detectorReader.ReadRecord(detector);
            detectors.push_back(detector);
        };

        const DocumentNode* const typeNode = node.Find("DetectorType");
        if (typeNode == nullptr)
        {
            // The other fields of the base are read first, so that a missing name is reported as the first fault of the
            // element.
            Detector base;
            TreeReader baseReader = reader();
            VisitFields(base, baseReader);
            baseReader.Stop(nullptr, std::string(), "a detector without \"DetectorType\"");
            BOOST_THROW_EXCEPTION(std::bad_optional_access());
        }
        const std::string_view type = typeNode->text;
        if (!IsXmlNcName(type))
        {
            reader().Report(typeNode, "DetectorType",
                            "the type " + Quoted(type) + " is no XML name without colon: the record cannot be written");
        }
        if (type == "AnalyticalDetector")
        {
            append(AnalyticalDetector());
        }
        else if (type == "ImagingDetector")
        {
            append(ImagingDetector());
        }
        else if (type == "ScanningDetector")
        {
            append(ScanningDetector());
        }
        else
        {
            append(Detector());
        }
    }
    ReportText();
}

void TreeReader::ReadCustomPropertyGroup(MetadataLib::CustomPropertyMap& properties)
{
    static const std::string listName = "CustomProperties";
    static const std::string itemName = "CustomProperty";
    std::set<std::string> names; // of this document; the map may have been filled before
    ForEachItem(listName, [&](TreeReader& list)
                { list.ForEachItem(itemName, [&](TreeReader& item) { item.ReadCustomProperty(properties, names); }); });
}

void TreeReader::ReadCustomProperty(MetadataLib::CustomPropertyMap& properties, std::set<std::string>& names)
{
    CustomPropertyText property;
    ReadRecord(property);
    std::optional<MetadataLib::CustomPropertyValue> value;
    try
    {
        value = FromCustomPropertyText(property);
    }
    catch (const boost::exception&)
    {
        Stop(nullptr, std::string(),
             "the value " + Quoted(property.value) + " of the custom property " + Quoted(property.name) + " is no " +
                 property.type + " that can be held");
        throw;
    }
    if (!value)
    {
        Report(nullptr, std::string(),
               "the custom property " + Quoted(property.name) + " of unknown type " + Quoted(property.type) +
                   " is left out");
        return;
    }
    if (!names.insert(property.name).second)
    {
        Report(nullptr, std::string(),
               "the custom property " + Quoted(property.name) + " is given once more, the last value counts");
    }
    properties.insert_or_assign(std::move(property.name), std::move(*value));
}

void TreeReader::Report(const DocumentNode* node, std::string_view key, const std::string& text)
{
    if (m_report.HasRoom())
    {
        m_report.LeftOut(FindingAt(node, key, text));
    }
}

void TreeReader::Stop(const DocumentNode* node, std::string_view key, const std::string& reason)
{
    m_report.Stopped(FindingAt(node, key, reason));
}

ReadReport::Finding TreeReader::FindingAt(const DocumentNode* node, std::string_view key, const std::string& text) const
{
    return {Path(node), {0, Place() + (key.empty() ? "" : "/" + Shown(key)), text}};
}

void TreeReader::ReportUnknown(const NameCollector& known)
{
    std::vector<std::string_view> unread = known.m_names;
    if (m_type != SerializeType::Xml)
    {
        unread.insert(unread.end(), known.m_attributes.begin(), known.m_attributes.end());
    }
    for (const DocumentNode& node : ChildrenOf(m_node))
    {
        if (node.name == AttributesKey())
        {
            ReportAttributes(node, known.m_attributes);
        }
        else if (!IsMarkup(node) && std::erase(unread, node.name) == 0)
        {
            ReportUnread(node);
        }
    }
}

void TreeReader::ReportChildren(const DocumentNode& node, std::string_view key)
{
    // A value with attributes is read by a reader of its own, which reports the children of the node.
    if (&node == &m_node || node.firstChild == nullptr)
    {
        return;
    }
    TreeReader reader(node, m_type, m_report, this, key);
    for (const DocumentNode& child : ChildrenOf(node))
    {
        reader.ReportUnread(child);
    }
}

void TreeReader::ReportUnread(const DocumentNode& child)
{
    if (child.name == AttributesKey())
    {
        ReportAttributes(child, {});
    }
    else if (!IsMarkup(child) && !m_isOpen)
    {
        Report(&child, std::string(), "the element " + Quoted(child.name) + " is left out");
    }
}

void TreeReader::ReportAttributes(const DocumentNode& attributes, const std::vector<std::string_view>& known)
{
    if (m_type != SerializeType::Xml || m_isOpen)
    {
        return; // in JSON, a member of that name, which only the root should have
    }
    for (const DocumentNode& attribute : ChildrenOf(attributes))
    {
        const auto isName = [&attribute](std::string_view name) { return name == attribute.name; };
        if (!IsForEveryElement(attribute.name) && std::none_of(known.begin(), known.end(), isName))
        {
            Report(&attribute, std::string(), "the attribute " + Quoted(attribute.name) + " is left out");
        }
    }
}

void TreeReader::ReportText()
{
    const std::string_view text = m_node.text;
    if (!m_hasOwnText && !m_isOpen && !std::all_of(text.begin(), text.end(), IsXmlSpace))
    {
        Report(nullptr, std::string(), "the text " + Quoted(text) + " is left out");
    }
}

std::string TreeReader::Place() const
{
    return (m_parent != nullptr ? m_parent->Place() : std::string()) + "/" + Shown(m_name);
}

NodePath TreeReader::Path(const DocumentNode* child) const
{
    NodePath path = m_parent != nullptr ? m_parent->Path(&m_node) : NodePath();
    if (child == nullptr || child == &m_node)
    {
        return path;
    }
    std::size_t index = 0;
    for (const DocumentNode& node : ChildrenOf(m_node))
    {
        if (&node == child)
        {
            path.push_back(index);
            return path;
        }
        if (node.name == AttributesKey())
        {
            std::size_t attributeIndex = 0;
            for (const DocumentNode& attribute : ChildrenOf(node))
            {
                if (&attribute == child)
                {
                    path.push_back(index);
                    path.push_back(attributeIndex);
                    return path;
                }
                ++attributeIndex;
            }
        }
        ++index;
    }
    return path;
}

} // namespace Ardo::Kiln::MetadataSerializer
