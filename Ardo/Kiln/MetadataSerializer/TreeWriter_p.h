#pragma once

#include "Ardo/Kiln/MetadataSerializer/CustomPropertyText_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/EnumerationNames_p.h"
#include "Ardo/Kiln/MetadataSerializer/Fields_p.h"
#include "Ardo/Kiln/MetadataSerializer/LeafText_p.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"
#include "Ardo/Kiln/MetadataSerializer/XmlCharacters_p.h"

#include <boost/property_tree/ptree.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// Visitor that writes the fields of one record into one node of the tree. Nodes are appended and then filled in place,
/// because the tree has no move operations, and copying finished sub-trees would double the cost of a document.
class TreeWriter
{
public:
    using Tree = boost::property_tree::ptree;
    using Node = Tree::value_type;

    TreeWriter(Tree& tree, SerializeType type) : m_tree(tree), m_type(type) {}

    template <FixedString Name, typename T>
    void operator()(FieldName<Name> name, const T& value)
    {
        Write(m_tree, name.Node(), value);
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
            m_attributes = m_type == SerializeType::Xml ? &Add(m_tree, FieldName<"<xmlattr>">::Node()) : &m_tree;
        }
        Write(*m_attributes, name.Node(), value);
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
            ToText(value, m_tree.data());
        }
        else
        {
            Write(m_tree, name.Node(), value);
        }
    }

    template <FixedString Name, typename T>
    void MayBeMissing(FieldName<Name> name, const T& record)
    {
        Write(m_tree, name.Node(), record);
    }

    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, const T& value)
    {
        Write(m_tree, name.Node(), Adapter::ToDocument(value));
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
        Tree& list = Add(m_tree, name.Node());
        for (const T& item : items)
        {
            Write(list, itemName.Node(), item);
        }
    }

    template <FixedString Name>
    void Detectors(FieldName<Name> name, const MetadataLib::DetectorList& detectors)
    {
        if (!detectors.empty())
        {
            WriteDetectors(Add(m_tree, name.Node()), detectors);
        }
    }

    template <FixedString Name>
    void CustomProperties(FieldName<Name> name, const MetadataLib::CustomPropertyMap& properties)
    {
        if (properties.empty())
        {
            return;
        }
        Tree& list = Add(Add(m_tree, name.Node()), FieldName<"CustomProperties">::Node());
        for (const auto& [key, value] : properties)
        {
            Write(list, FieldName<"CustomProperty">::Node(), ToCustomPropertyText(key, value));
        }
    }

    /// Appends a node for \p value to \p parent, or nothing for an empty optional or an unset enumeration.
    template <typename T>
    void Write(Tree& parent, const Node& node, const T& value)
    {
        if constexpr (NamedEnumeration<T>)
        {
            // A value without a name is an error of the program: no text could represent it.
            const auto index = static_cast<std::size_t>(value) - 1;
            if (index < EnumerationNames<T>::Names.size())
            {
                Add(parent, node).data() = EnumerationNames<T>::Names[index];
            }
        }
        else if constexpr (requires(std::string & text) { ToText(value, text); })
        {
            ToText(value, Add(parent, node).data());
        }
        else
        {
            TreeWriter writer(Add(parent, node), m_type);
            VisitFields(value, writer);
        }
    }

    template <typename T>
    void Write(Tree& parent, const Node& node, const std::optional<T>& value)
    {
        if (value)
        {
            Write(parent, node, *value);
        }
    }

private:
    static Tree& Add(Tree& parent, const Node& node) { return parent.push_back(node)->second; }

    void WriteDetectors(Tree& list, const MetadataLib::DetectorList& detectors)
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
            TreeWriter writer(Add(list, Node(type, Tree())), m_type);
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

    Tree& m_tree;
    Tree* m_attributes = nullptr; ///< Where attributes go; null until there is one.
    SerializeType m_type;
};

} // namespace Ardo::Kiln::MetadataSerializer
