#pragma once

#include "Ardo/Kiln/MetadataSerializer/CustomPropertyText_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/EnumerationNames_p.h"
#include "Ardo/Kiln/MetadataSerializer/Fields_p.h"
#include "Ardo/Kiln/MetadataSerializer/LeafText_p.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <boost/property_tree/exceptions.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// Visitor that writes the fields of one record into one node of a document.
class TreeWriter
{
public:
    /// \param nodes has the memory of what is appended to \p node. The names of detectors refer to the record.
    TreeWriter(DocumentNodes& nodes, DocumentNode& node, SerializeType type)
        : m_nodes(nodes), m_node(node), m_type(type)
    {
    }

    template <FixedString Name, typename T>
    void operator()(FieldName<Name> name, const T& value)
    {
        Write(m_node, name.View(), value);
    }

    template <FixedString Name, typename T>
    void Attribute(FieldName<Name> name, const std::optional<T>& value)
    {
        if (value)
        {
            Attribute(name, *value);
        }
    }

    template <FixedString Name, typename T>
    void Attribute(FieldName<Name> name, const T& value)
    {
        if (m_attributes == nullptr)
        {
            m_attributes = m_type == SerializeType::Xml ? &m_nodes.Append(m_node, AttributesKey()) : &m_node;
        }
        Write(*m_attributes, name.View(), value);
    }

    template <FixedString Name, typename T>
    void AttributeForOthers(FieldName<Name> name, const T& value)
    {
        Attribute(name, value);
    }

    template <FixedString Name, typename T>
    void OwnText(FieldName<Name> name, const T& value)
    {
        if (m_type == SerializeType::Xml)
        {
            SetText(m_node, value);
        }
        else
        {
            Write(m_node, name.View(), value);
        }
    }

    template <FixedString Name, typename T>
    void MayBeMissing(FieldName<Name> name, const T& record)
    {
        Write(m_node, name.View(), record);
    }

    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, const T& value)
    {
        Write(m_node, name.View(), Adapter::ToDocument(value));
    }

    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter adapter, FieldName<Name> name, const std::optional<T>& value)
    {
        if (value)
        {
            Converted(adapter, name, *value);
        }
    }

    template <FixedString Name, FixedString ItemName, typename T>
    void List(FieldName<Name> name, FieldName<ItemName> itemName, const std::vector<T>& items, WhenEmpty whenEmpty)
    {
        if (items.empty() && whenEmpty == WhenEmpty::LeftOut)
        {
            return;
        }
        DocumentNode& list = m_nodes.Append(m_node, name.View());
        for (const T& item : items)
        {
            Write(list, itemName.View(), item);
        }
    }

    template <FixedString Name>
    void Detectors(FieldName<Name> name, const MetadataLib::DetectorList& detectors)
    {
        if (!detectors.empty())
        {
            WriteDetectors(m_nodes.Append(m_node, name.View()), detectors);
        }
    }

    template <FixedString Name>
    void CustomProperties(FieldName<Name> name, const MetadataLib::CustomPropertyMap& properties)
    {
        if (properties.empty())
        {
            return;
        }
        DocumentNode& list = m_nodes.Append(m_nodes.Append(m_node, name.View()), "CustomProperties");
        for (const auto& [key, value] : properties)
        {
            Write(list, "CustomProperty", ToCustomPropertyText(key, value));
        }
    }

    /// Appends a node for \p value to \p parent, or nothing for an empty optional or an unset enumeration.
    template <typename T>
    void Write(DocumentNode& parent, std::string_view name, const T& value)
    {
        if constexpr (NamedEnumeration<T>)
        {
            // A value without a name is an error of the program: no text could represent it.
            const auto index = static_cast<std::size_t>(value) - 1;
            if (index < EnumerationNames<T>::Names.size())
            {
                m_nodes.Append(parent, name).text = EnumerationNames<T>::Names[index];
            }
        }
        else if constexpr (requires(std::string & text) { ToText(value, text); })
        {
            SetText(m_nodes.Append(parent, name), value);
        }
        else
        {
            TreeWriter writer(m_nodes, m_nodes.Append(parent, name), m_type);
            VisitFields(value, writer);
        }
    }

    template <typename T>
    void Write(DocumentNode& parent, std::string_view name, const std::optional<T>& value)
    {
        if (value)
        {
            Write(parent, name, *value);
        }
    }

private:
    template <typename T>
    void SetText(DocumentNode& node, const T& value)
    {
        std::string text;
        ToText(value, text);
        node.text = m_nodes.Copy(text);
    }

    void WriteDetectors(DocumentNode& list, const MetadataLib::DetectorList& detectors)
    {
        for (const MetadataLib::DetectorPtr& detector : detectors)
        {
            const std::string& type = detector->DetectorType.value();
            const auto* imaging = dynamic_cast<const MetadataLib::ImagingDetector*>(detector.get());
            if (!IsXmlNcName(type))
            {
                BOOST_PROPERTY_TREE_THROW(
                    boost::property_tree::ptree_bad_data("a detector type has to be an XML name without colon", type));
            }
            if (type == "ImagingDetector" && imaging == nullptr)
            {
                // Readers would look for the elements that only an imaging detector has.
                BOOST_PROPERTY_TREE_THROW(boost::property_tree::ptree_bad_data(
                    "a detector of type \"ImagingDetector\" has to be an imaging detector", type));
            }
            TreeWriter writer(m_nodes, m_nodes.Append(list, type), m_type);
            if (imaging != nullptr)
            {
                VisitFields(*imaging, writer);
            }
            else if (const auto* analytical = dynamic_cast<const MetadataLib::AnalyticalDetector*>(detector.get()))
            {
                VisitFields(*analytical, writer);
            }
            else if (const auto* scanning = dynamic_cast<const MetadataLib::ScanningDetector*>(detector.get()))
            {
                VisitFields(*scanning, writer);
            }
            else
            {
                VisitFields(*detector, writer);
            }
        }
    }

    DocumentNodes& m_nodes;
    DocumentNode& m_node;
    DocumentNode* m_attributes = nullptr; ///< Where attributes go; null until there is one.
    SerializeType m_type;
};

} // namespace Ardo::Kiln::MetadataSerializer
