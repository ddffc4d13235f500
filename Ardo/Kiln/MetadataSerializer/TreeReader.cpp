#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"

#include <set>

namespace Ardo::Kiln::MetadataSerializer
{

void TreeReader::ReadDetectors(MetadataLib::DetectorList& detectors)
{
    using namespace MetadataLib;

    for (const Node& node : m_tree)
    {
        if (IsMarkup(node))
        {
            continue;
        }
        const auto reader = [&] { return TreeReader(node.second, m_type, m_report, this, node.first); };
        const auto append = [&](auto detector)
        {
            reader().ReadRecord(detector);
            detectors.push_back(std::move(detector));
        };

        Detector base;
        TreeReader baseReader = reader();
        VisitFields(base, baseReader); // what else stands there is known only with the class
        const std::string& type = base.DetectorType.value();
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
}

void TreeReader::ReadCustomPropertyGroup(MetadataLib::CustomPropertyMap& properties)
{
    static const std::string listName = "CustomProperties";
    static const std::string itemName = "CustomProperty";
    const auto readItem = [&](TreeReader& item)
    {
        CustomPropertyText property;
        item.ReadRecord(property);
        if (auto value = FromCustomPropertyText(property))
        {
            properties.insert_or_assign(std::move(property.name), std::move(*value));
        }
        else
        {
            m_report.LeftOut("the custom property of unknown type", property.type, Place() + "." + property.name);
        }
    };
    ForEachItem(listName, [&](TreeReader& list) { list.ForEachItem(itemName, readItem); });
}

void TreeReader::ReportUnknown(const std::vector<const std::string*>& known)
{
    std::set<std::string> unread;
    for (const std::string* name : known)
    {
        unread.insert(*name);
    }
    for (const Node& node : m_tree)
    {
        if (!IsMarkup(node) && unread.erase(node.first) == 0)
        {
            m_report.LeftOut("the element", node.first, Place());
        }
    }
}

void TreeReader::ReportChildren(const Tree& node, const std::string& key)
{
    // The node of a value with attributes is the record's own: its children are reported there.
    if (&node == &m_tree || node.empty())
    {
        return;
    }
    for (const Node& child : node)
    {
        if (!IsMarkup(child))
        {
            m_report.LeftOut("the element", child.first, Place() + "." + key);
        }
    }
}

std::string TreeReader::Place() const
{
    return m_parent != nullptr ? m_parent->Place() + "." + m_name : m_name;
}

} // namespace Ardo::Kiln::MetadataSerializer
