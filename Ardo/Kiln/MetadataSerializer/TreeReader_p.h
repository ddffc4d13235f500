#pragma once

#include "Ardo/Kiln/MetadataSerializer/CustomPropertyText_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentNode_p.h"
#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/EnumerationNames_p.h"
#include "Ardo/Kiln/MetadataSerializer/Fields_p.h"
#include "Ardo/Kiln/MetadataSerializer/LeafText_p.h"
#include "Ardo/Kiln/MetadataSerializer/ReadReport_p.h"
#include "Ardo/Kiln/MetadataSerializer/SerializeType.h"

#include <algorithm>
#include <boost/property_tree/exceptions.hpp>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ardo::Kiln::MetadataSerializer
{

/// Visitor that fills the fields of one record from one node of the tree.
///
/// Fields usually stand in document order: the reader searches by name only when the next element is not the expected
/// one. Of several elements of one name the first counts.
class TreeReader
{
public:
    /// The reader of the content of the document's root.
    TreeReader(const DocumentNode& node, SerializeType type, ReadReport& report)
        : TreeReader(node, type, report, nullptr, RootKey())
    {
    }

    /// Reads all fields of \p record, then reports the elements that belong to no field.
    template <typename T>
    void ReadRecord(T& record)
    {
        VisitFields(record, *this);
        if (m_found != m_node.childCount || (m_attributes != nullptr && m_foundAttributes != m_attributes->childCount))
        {
            NameCollector known;
            VisitFields(record, known);
            ReportUnknown(known);
        }
        ReportText();
    }

    template <FixedString Name, typename T>
    void operator()(FieldName<Name> name, T& value)
    {
        Read(Find(name.View()), name.View(), value);
    }

    template <FixedString Name, typename T>
    void Attribute(FieldName<Name> name, T& value)
    {
        std::string_view key = name.View();
        Read(FindAttribute(key), key, value);
    }

    template <FixedString Name, typename T>
    void AttributeForOthers(FieldName<Name> name, T&)
    {
        FindAttribute(name.View()); // known, so that it is not reported
    }

    template <FixedString Name, typename T>
    void OwnText(FieldName<Name> name, T& value)
    {
        std::string_view key = name.View();
        m_hasOwnText = m_type == SerializeType::Xml;
        Read(m_hasOwnText ? &m_node : Find(key), key, value);
    }

    template <FixedString Name, typename T>
    void MayBeMissing(FieldName<Name> name, T& record)
    {
        if (const DocumentNode* node = Find(name.View()))
        {
            ReadChild(*node, name.View(), record);
        }
    }

    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, T& value)
    {
        typename Adapter::Document document{};
        std::string_view key = name.View();
        const DocumentNode* const node = Find(key);
        Read(node, key, document);
        value = FromDocument<Adapter>(document, node, key);
    }

    template <typename Adapter, FixedString Name, typename T>
    void Converted(Adapter, FieldName<Name> name, std::optional<T>& value)
    {
        std::optional<typename Adapter::Document> document;
        std::string_view key = name.View();
        const DocumentNode* const node = Find(key);
        Read(node, key, document);
        value = document ? std::optional<T>(FromDocument<Adapter>(*document, node, key)) : std::nullopt;
    }

    template <FixedString Name, FixedString ItemName, typename T>
    void List(FieldName<Name> name, FieldName<ItemName> itemName, std::vector<T>& items, WhenEmpty)
    {
        if (const DocumentNode* node = Find(name.View()))
        {
            TreeReader(*node, m_type, m_report, this, name.View())
                .ForEachItem(itemName.View(),
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
        if (const DocumentNode* node = Find(name.View()))
        {
            TreeReader(*node, m_type, m_report, this, name.View()).ReadDetectors(detectors);
        }
    }

    template <FixedString Name>
    void CustomProperties(FieldName<Name> name, MetadataLib::CustomPropertyMap& properties)
    {
        if (const DocumentNode* node = Find(name.View()))
        {
            TreeReader(*node, m_type, m_report, this, name.View()).ReadCustomPropertyGroup(properties);
        }
    }

    /// Reads a value from the node found for it: null if there is none.
    template <typename T>
    void Read(const DocumentNode* node, std::string_view key, T& value)
    {
        if constexpr (NamedEnumeration<T>)
        {
            value = T();
            if (node != nullptr)
            {
                ReadName(*node, key, value);
            }
        }
        else
        {
            if (node == nullptr)
            {
                Stop(nullptr, std::string(), Quoted(key) + " is missing");
                ThrowNoSuchNode(key);
            }
            if constexpr (SingleValue<T>)
            {
                if (!FromText(node->text, value))
                {
                    Stop(node, key, "the value " + Quoted(node->text) + " is " + NoSuchValue(value));
                    ThrowConversionFailed<T>(node->text);
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
    void Read(const DocumentNode* node, std::string_view key, std::optional<T>& value)
    {
        value.reset();
        if (node == nullptr)
        {
            return;
        }
        value.emplace();
        if constexpr (SingleValue<T>)
        {
            if (!FromText(node->text, *value))
            {
                Report(node, key,
                       "the value " + Quoted(node->text) + " is " + NoSuchValue(*value) + " and is left out");
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
    static constexpr bool SingleValue = requires(T& value, std::string_view text)
    {
        FromText(text, value);
    };

    /// Visitor that collects the names of a record's elements and attributes.
    struct NameCollector
    {
        void operator()(auto name, auto&) { m_names.push_back(name.View()); }
        void Attribute(auto name, auto&) { m_attributes.push_back(name.View()); }
        void AttributeForOthers(auto name, auto& value) { Attribute(name, value); }
        void OwnText(auto name, auto& value) { operator()(name, value); }
        void MayBeMissing(auto name, auto& value) { operator()(name, value); }
        void Converted(auto, auto name, auto& value) { operator()(name, value); }
        void List(auto name, auto, auto& value, WhenEmpty) { operator()(name, value); }
        void Detectors(auto name, auto& value) { operator()(name, value); }
        void CustomProperties(auto name, auto& value) { operator()(name, value); }

        std::vector<std::string_view> m_names;
        std::vector<std::string_view> m_attributes; ///< Elements in JSON.
    };

    TreeReader(const DocumentNode& node, SerializeType type, ReadReport& report, const TreeReader* parent,
               std::string_view name)
        : m_node(node), m_next(node.firstChild), m_type(type), m_report(report), m_parent(parent), m_name(name)
    {
    }

    /// The first child of that name, or null.
    const DocumentNode* Find(std::string_view key)
    {
        const bool isNext = m_next != nullptr && m_next->name == key;
        const DocumentNode* const child = isNext ? m_next : m_node.Find(key);
        m_next = isNext ? child->next : m_next;
        m_found += child != nullptr ? 1U : 0U;
        return child;
    }

    /// The first attribute of that name in XML, the first child in JSON, or null.
    const DocumentNode* FindAttribute(std::string_view key)
    {
        if (m_type != SerializeType::Xml)
        {
            return Find(key);
        }
        if (m_attributes == nullptr)
        {
            m_attributes = Find(AttributesKey());
        }
        const DocumentNode* const attribute = m_attributes != nullptr ? m_attributes->Find(key) : nullptr;
        m_foundAttributes += attribute != nullptr ? 1U : 0U;
        return attribute;
    }

    template <typename Adapter, typename Document>
    auto FromDocument(const Document& document, const DocumentNode* node, std::string_view key)
    {
        try
        {
            return Adapter::FromDocument(document);
        }
        catch (const boost::property_tree::ptree_bad_data&)
        {
            Stop(node, key, "an edge that does not fit 32 bits");
            throw;
        }
    }

    template <typename T>
    void ReadChild(const DocumentNode& node, std::string_view key, T& record)
    {
        TreeReader(node, m_type, m_report, this, key).ReadRecord(record);
    }

    template <typename T>
    void ReadName(const DocumentNode& node, std::string_view key, T& value)
    {
        const auto& names = EnumerationNames<T>::Names;
        const auto name = std::find(names.begin(), names.end(), node.text);
        if (name != names.end())
        {
            value = static_cast<T>(name - names.begin() + 1);
        }
        else
        {
            Report(&node, key, "the value " + Quoted(node.text) + " is left out");
        }
        ReportChildren(node, key);
    }

    /// Calls \p read with a reader for each child named \p itemName; reports the others.
    template <typename Function>
    void ForEachItem(std::string_view itemName, const Function& read)
    {
        for (const DocumentNode& node : ChildrenOf(m_node))
        {
            if (node.name == itemName)
            {
                TreeReader item(node, m_type, m_report, this, node.name);
                read(item);
            }
            else
            {
                ReportUnread(node);
            }
        }
        ReportText();
    }

    void ReadDetectors(MetadataLib::DetectorList& detectors);
    void ReadCustomPropertyGroup(MetadataLib::CustomPropertyMap& properties);
    void ReadCustomProperty(MetadataLib::CustomPropertyMap& properties, std::set<std::string>& names);

    // Reports of faults with their place. The texts are made also when they are dropped later, which costs time only
    // for documents with faults.

    /// Reports something about \p node, the child or attribute \p key of this reader's node; null: this node itself.
    void Report(const DocumentNode* node, std::string_view key, const std::string& text);
    /// Reports why reading stops here; the caller throws.
    void Stop(const DocumentNode* node, std::string_view key, const std::string& reason);
    ReadReport::Finding FindingAt(const DocumentNode* node, std::string_view key, const std::string& text) const;

    void ReportUnknown(const NameCollector& known);
    void ReportChildren(const DocumentNode& node, std::string_view key);
    /// Reports a child that belongs to no field; of attributes, each one.
    void ReportUnread(const DocumentNode& child);
    /// Reports text that stands among elements.
    void ReportText();
    void ReportAttributes(const DocumentNode& attributes, const std::vector<std::string_view>& known);

    /// The text in quotes and in bounds.
    static std::string Quoted(std::string_view text) { return '"' + Shown(text) + '"'; }

    // The type of a value for a message about a text that does not convert.
    static std::string NoSuchValue(bool) { return "no boolean"; }
    static std::string NoSuchValue(std::int32_t) { return "no whole number of 32 bits"; }
    static std::string NoSuchValue(double) { return "no number"; }
    static std::string NoSuchValue(const MetadataLib::Uuid&) { return "no UUID"; }
    static std::string NoSuchValue(MetadataLib::TimePoint) { return "no time"; }
    static std::string NoSuchValue(const std::string&) { return "no text"; }

    /// The names of the nodes from the root to this one, for messages: "/Metadata/Optics".
    std::string Place() const;
    /// The path to this reader's node, or on to a child or attribute of it. Searches each level.
    NodePath Path(const DocumentNode* child) const;

    const DocumentNode& m_node;
    const DocumentNode* m_next;                 ///< The child that the next field should find.
    std::size_t m_found = 0;                    ///< Children that belong to fields.
    const DocumentNode* m_attributes = nullptr; ///< Null until an attribute was looked for and there are any.
    std::size_t m_foundAttributes = 0;          ///< Attributes that belong to fields.
    bool m_hasOwnText = false;                  ///< The text of the node is the value of a field.
    bool m_isOpen = false;                      ///< Unknown content is not reported.
    SerializeType m_type;
    ReadReport& m_report;
    const TreeReader* m_parent;
    std::string_view m_name;
};

} // namespace Ardo::Kiln::MetadataSerializer
