#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"

#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <boost/throw_exception.hpp>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

/// True for attributes that any element may have: those of namespaces and of schema instances.
bool IsForEveryElement(const std::string& attribute)
{
    constexpr std::string_view Prefix = "xmlns:";
    return attribute == "xmlns" || attribute == "xsi:schemaLocation" || attribute == "xsi:noNamespaceSchemaLocation" ||
           (attribute.starts_with(Prefix) && IsXmlNcName(std::string_view(attribute).substr(Prefix.size())));
}

} // namespace

void TreeReader::ReadDetectors(MetadataLib::DetectorList& detectors)
{
    using namespace MetadataLib;

    for (const Node& node : m_tree)
    {
        if (IsMarkup(node))
        {
            ReportUnread(node);
            continue;
        }
        const auto reader = [&] { return TreeReader(node.second, m_type, m_report, this, node.first); };
        const auto append = [&](auto detector)
        {
            TreeReader detectorReader = reader();
            detectorReader.m_isOpen = m_report.AllowsExtensions() && typeid(detector) == typeid(Detector);
            detectorReader.ReadRecord(detector);
            detectors.push_back(detector);
        };

        const auto typeNode = node.second.find("DetectorType");
        if (typeNode == node.second.not_found())
        {
            // The other fields of the base are read first, so that a missing name is reported as the first fault of the
            // element.
            Detector base;
            TreeReader baseReader = reader();
            VisitFields(base, baseReader);
            baseReader.Stop(nullptr, std::string(), "a detector without \"DetectorType\"");
            BOOST_THROW_EXCEPTION(std::bad_optional_access());
        }
        const std::string& type = typeNode->second.data();
        if (!IsXmlNcName(type))
        {
            reader().Report(&typeNode->second, "DetectorType",
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

void TreeReader::Report(const Tree* node, const std::string& key, const std::string& text)
{
    if (m_report.HasRoom())
    {
        m_report.LeftOut(FindingAt(node, key, text));
    }
}

void TreeReader::Stop(const Tree* node, const std::string& key, const std::string& reason)
{
    m_report.Stopped(FindingAt(node, key, reason));
}

ReadReport::Finding TreeReader::FindingAt(const Tree* node, const std::string& key, const std::string& text) const
{
    return {Path(node), {0, Place() + (key.empty() ? "" : "/" + Shown(key)), text}};
}

void TreeReader::ReportUnknown(const NameCollector& known)
{
    std::set<std::string> unread;
    for (const std::string* name : known.m_names)
    {
        unread.insert(*name);
    }
    if (m_type != SerializeType::Xml)
    {
        for (const std::string* name : known.m_attributes)
        {
            unread.insert(*name);
        }
    }
    for (const Node& node : m_tree)
    {
        if (node.first == AttributesKey())
        {
            ReportAttributes(node.second, known.m_attributes);
        }
        else if (!IsMarkup(node) && unread.erase(node.first) == 0)
        {
            ReportUnread(node);
        }
    }
}

void TreeReader::ReportChildren(const Tree& node, const std::string& key)
{
    // A value with attributes is read by a reader of its own, which reports the children of the node.
    if (&node == &m_tree || node.empty())
    {
        return;
    }
    TreeReader reader(node, m_type, m_report, this, key);
    for (const Node& child : node)
    {
        reader.ReportUnread(child);
    }
}

void TreeReader::ReportUnread(const Node& child)
{
    if (child.first == AttributesKey())
    {
        ReportAttributes(child.second, {});
    }
    else if (!IsMarkup(child) && !m_isOpen)
    {
        Report(&child.second, std::string(), "the element " + Quoted(child.first) + " is left out");
    }
}

void TreeReader::ReportAttributes(const Tree& attributes, const std::vector<const std::string*>& known)
{
    if (m_type != SerializeType::Xml || m_isOpen)
    {
        return; // in JSON, a member of that name, which only the root should have
    }
    for (const Node& attribute : attributes)
    {
        const auto isName = [&attribute](const std::string* name) { return *name == attribute.first; };
        if (!IsForEveryElement(attribute.first) && std::none_of(known.begin(), known.end(), isName))
        {
            Report(&attribute.second, std::string(), "the attribute " + Quoted(attribute.first) + " is left out");
        }
    }
}

void TreeReader::ReportText()
{
    const std::string& text = m_tree.data();
    const auto isBlank = [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; };
    if (!m_hasOwnText && !m_isOpen && !std::all_of(text.begin(), text.end(), isBlank))
    {
        Report(nullptr, std::string(), "the text " + Quoted(text) + " is left out");
    }
}

std::string TreeReader::Place() const
{
    return (m_parent != nullptr ? m_parent->Place() : std::string()) + "/" + Shown(m_name);
}

NodePath TreeReader::Path(const Tree* child) const
{
    NodePath path = m_parent != nullptr ? m_parent->Path(&m_tree) : NodePath();
    if (child == nullptr || child == &m_tree)
    {
        return path;
    }
    std::size_t index = 0;
    for (const Node& node : m_tree)
    {
        if (&node.second == child)
        {
            path.push_back(index);
            return path;
        }
        if (node.first == AttributesKey())
        {
            std::size_t attributeIndex = 0;
            for (const Node& attribute : node.second)
            {
                if (&attribute.second == child)
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
