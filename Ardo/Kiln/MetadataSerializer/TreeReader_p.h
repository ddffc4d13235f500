#pragma once

#include "Ardo/Kiln/MetadataSerializer/CustomPropertyText_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/EnumerationNames_p.h"
#include "Ardo/Kiln/MetadataSerializer/Fields_p.h"
#include "Ardo/Kiln/MetadataSerializer/LeafText_p.h"
#include "Ardo/Kiln/MetadataSerializer/ReadReport_p.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"

#include <algorithm>
#include <boost/property_tree/ptree.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// Visitor that fills the fields of one record from one node of the tree.
///
/// Fields usually stand in document order: the reader walks along and searches by name only when the next element is
/// not the one that it looks for. Of several elements of one name the first counts.
class TreeReader
{
public:
    using Tree = boost::property_tree::ptree;
    using Node = Tree::value_type;

    /// The reader of the content of the document's root.
    TreeReader(const Tree& tree, SerializeType type, ReadReport& report)
        : TreeReader(tree, type, report, nullptr, RootKey())
    {
    }

    /// Reads all fields of \p record, then reports the elements that are none of them.
    template <typename T>
    void ReadRecord(T& record)
    {
        VisitFields(record, *this);
        if (m_found != m_tree.size())
        {
            NameCollector known;
            VisitFields(record, known);
            ReportUnknown(known.m_names);
        }
    }

    template <FixedString Name, typename T>
    void operator()(FieldName<Name> name, T& value)
    {
        Read(Find(name.Node().first), name.Node().first, value);
    }

    template <FixedString Name, typename T>
    void Attribute(FieldName<Name> name, T& value)
    {
        const std::string& key = name.Node().first;
        if (m_type != SerializeType::Xml)
        {
            Read(Find(key), key, value);
            return;
        }
        if (m_attributes == nullptr)
        {
            m_attributes = Find(AttributesKey());
        }
        const Tree* found = nullptr;
        if (m_attributes != nullptr)
        {
            const auto child = m_attributes->find(key);
            found = child != m_attributes->not_found() ? &child->second : nullptr;
        }
        Read(found, key, value);
    }

    template <FixedString Name, typename T>
    void AttributeForOthers(FieldName<Name> name, T&)
    {
        if (m_type != SerializeType::Xml)
        {
            Find(name.Node().first); // known, so that it is not reported
        }
    }

    template <FixedString Name, typename T>
    void OwnText(FieldName<Name> name, T& value)
    {
        const std::string& key = name.Node().first;
        Read(m_type == SerializeType::Xml ? &m_tree : Find(key), key, value);
    }

    template <FixedString Name, typename T>
    void MayBeMissing(FieldName<Name> name, T& record)
    {
        if (const Tree* node = Find(name.Node().first))
        {
            ReadChild(*node, name.Node().first, record);
        }
    }

    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, T& value)
    {
        typename Adapter::Document document{};
        operator()(name, document);
        value = Adapter::FromDocument(document);
    }

    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, std::optional<T>& value)
    {
        std::optional<typename Adapter::Document> document;
        operator()(name, document);
        value = document ? std::optional<T>(Adapter::FromDocument(*document)) : std::nullopt;
    }

    template <FixedString Name, FixedString ItemName, typename T>
    void List(FieldName<Name> name, FieldName<ItemName> itemName, std::vector<T>& items, WhenEmpty)
    {
        if (const Tree* node = Find(name.Node().first))
        {
            TreeReader(*node, m_type, m_report, this, name.Node().first)
                .ForEachItem(itemName.Node().first,
                             [&items](TreeReader& item)
                             {
                                 T value;
                                 item.ReadRecord(value);
                                 items.push_back(std::move(value));
                             });
        }
    }

    template <FixedString Name>
    void Detectors(FieldName<Name> name, MetadataLib::DetectorList& detectors)
    {
        if (const Tree* node = Find(name.Node().first))
        {
            TreeReader(*node, m_type, m_report, this, name.Node().first).ReadDetectors(detectors);
        }
    }

    template <FixedString Name>
    void CustomProperties(FieldName<Name> name, MetadataLib::CustomPropertyMap& properties)
    {
        if (const Tree* node = Find(name.Node().first))
        {
            TreeReader(*node, m_type, m_report, this, name.Node().first).ReadCustomPropertyGroup(properties);
        }
    }

    /// Reads a value from the node found for it: null if there is none.
    template <typename T>
    void Read(const Tree* node, const std::string& key, T& value)
    {
        if constexpr (NamedEnumeration<T>)
        {
            value = T();
            if (node != nullptr)
            {
                ReadName(node->data(), key, value);
            }
        }
        else
        {
            if (node == nullptr)
            {
                ThrowNoSuchNode(key);
            }
            if constexpr (SingleValue<T>)
            {
                if (!FromText(node->data(), value))
                {
                    ThrowConversionFailed<T>(node->data());
                }
                ReportChildren(*node, key);
            }
            else
            {
                ReadChild(*node, key, value);
            }
        }
    }

    template <typename T>
    void Read(const Tree* node, const std::string& key, std::optional<T>& value)
    {
        value.reset();
        if (node == nullptr)
        {
            return;
        }
        value.emplace();
        if constexpr (SingleValue<T>)
        {
            if (!FromText(node->data(), *value))
            {
                value.reset();
            }
            ReportChildren(*node, key);
        }
        else
        {
            ReadChild(*node, key, *value);
        }
    }

private:
    template <typename T>
    static constexpr bool SingleValue = requires(T& value, const std::string& text)
    {
        FromText(text, value);
    };

    /// Visitor that collects the names of a record's elements.
    struct NameCollector
    {
        template <FixedString Name, typename T>
        void operator()(FieldName<Name> name, T&)
        {
            m_names.push_back(&name.Node().first);
        }
        template <FixedString Name, typename T>
        void Attribute(FieldName<Name> name, T& value)
        {
            operator()(name, value);
        }
        template <FixedString Name, typename T>
        void AttributeForOthers(FieldName<Name> name, T& value)
        {
            operator()(name, value);
        }
        template <FixedString Name, typename T>
        void OwnText(FieldName<Name> name, T& value)
        {
            operator()(name, value);
        }
        template <FixedString Name, typename T>
        void MayBeMissing(FieldName<Name> name, T& value)
        {
            operator()(name, value);
        }
        template <typename Adapter, FixedString Name, typename T>
        void Converted(Adapter, FieldName<Name> name, T& value)
        {
            operator()(name, value);
        }
        template <FixedString Name, FixedString ItemName, typename T>
        void List(FieldName<Name> name, FieldName<ItemName>, T& value, WhenEmpty)
        {
            operator()(name, value);
        }
        template <FixedString Name, typename T>
        void Detectors(FieldName<Name> name, T& value)
        {
            operator()(name, value);
        }
        template <FixedString Name, typename T>
        void CustomProperties(FieldName<Name> name, T& value)
        {
            operator()(name, value);
        }

        std::vector<const std::string*> m_names;
    };

    TreeReader(const Tree& tree, SerializeType type, ReadReport& report, const TreeReader* parent,
               const std::string& name)
        : m_tree(tree), m_next(tree.begin()), m_type(type), m_report(report), m_parent(parent), m_name(name)
    {
    }

    /// The first child of that name, or null.
    const Tree* Find(const std::string& key)
    {
        if (m_next != m_tree.end() && m_next->first == key)
        {
            ++m_found;
            return &(m_next++)->second;
        }
        const auto child = m_tree.find(key);
        if (child == m_tree.not_found())
        {
            return nullptr;
        }
        ++m_found;
        return &child->second;
    }

    template <typename T>
    void ReadChild(const Tree& node, const std::string& key, T& record)
    {
        TreeReader(node, m_type, m_report, this, key).ReadRecord(record);
    }

    template <typename T>
    void ReadName(const std::string& text, const std::string& key, T& value)
    {
        const auto& names = EnumerationNames<T>::Names;
        const auto name = std::find(names.begin(), names.end(), text);
        if (name != names.end())
        {
            value = static_cast<T>(name - names.begin() + 1);
        }
        else
        {
            m_report.LeftOut("the value", text, Place() + "." + key);
        }
    }

    /// Calls \p read with a reader for each child named \p itemName; reports the others.
    template <typename Function>
    void ForEachItem(const std::string& itemName, const Function& read)
    {
        for (const Node& node : m_tree)
        {
            if (node.first == itemName)
            {
                TreeReader item(node.second, m_type, m_report, this, node.first);
                read(item);
            }
            else if (!IsMarkup(node))
            {
                m_report.LeftOut("the element", node.first, Place());
            }
        }
    }

    void ReadDetectors(MetadataLib::DetectorList& detectors);
    void ReadCustomPropertyGroup(MetadataLib::CustomPropertyMap& properties);
    void ReportUnknown(const std::vector<const std::string*>& known);
    void ReportChildren(const Tree& node, const std::string& key);

    /// The names of the nodes from the root to this one, separated by '.', for people.
    std::string Place() const;

    const Tree& m_tree;
    Tree::const_iterator m_next; ///< The child that the next field should find.
    std::size_t m_found = 0;     ///< Children that belong to fields.
    const Tree* m_attributes = nullptr;
    SerializeType m_type;
    ReadReport& m_report;
    const TreeReader* m_parent;
    const std::string& m_name;
};

} // namespace Ardo::Kiln::MetadataSerializer
