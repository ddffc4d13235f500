#include "Ardo/Kiln/MetadataSerializer/AddValue.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/MetadataSerializer/TreeWriter_p.h"

#include <type_traits>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::ptree;

/// Replaces the node at \p key by \p node. The tree's own put_child would make a child without a name for "".
void Replace(ptree& tree, const std::string& key, ptree& node)
{
    if (key.empty())
    {
        tree.swap(node);
    }
    else
    {
        tree.put_child(key, node);
    }
}

template <typename T>
constexpr bool ReplacesNode = std::is_same_v<T, MetadataLib::TimePoint> || std::is_same_v<T, MetadataLib::Uuid>;

template <typename T>
void Add(ptree& tree, const std::string& key, const T& value)
{
    if constexpr (requires(std::string & text) { ToText(value, text); })
    {
        std::string text;
        ToText(value, text);
        if constexpr (ReplacesNode<T>)
        {
            ptree node(text);
            Replace(tree, key, node);
        }
        else
        {
            tree.put(key, text);
        }
    }
    else
    {
        DocumentNodes nodes;
        DocumentNode root;
        TreeWriter writer(nodes, root, SerializeType::Xml); // composite values look the same in both syntaxes
        VisitFields(value, writer);
        ptree node;
        AppendTo(node, root);
        Replace(tree, key, node);
    }
}

template <typename T>
void Add(ptree& tree, const std::string& key, const MetadataLib::Rectangle<T>& value)
{
    Add(tree, key, OriginAndExtentOf<T>::ToDocument(value));
}

void Add(ptree& tree, const std::string& key, const std::wstring& value)
{
    tree.put(key, Conversion::String::ToUtf8(value));
}

template <typename T>
void Add(ptree& tree, const std::string& key, const std::optional<T>& value)
{
    if (value)
    {
        Add(tree, key, *value);
    }
}

} // namespace

void AddInt(ptree& tree, const std::string& key, std::int32_t value)
{
    Add(tree, key, value);
}

void AddDouble(ptree& tree, const std::string& key, double value)
{
    Add(tree, key, value);
}

void AddStdString(ptree& tree, const std::string& key, const std::string& value)
{
    Add(tree, key, value);
}

void AddStdWstring(ptree& tree, const std::string& key, const std::wstring& value)
{
    Add(tree, key, value);
}

void AddStdTimepoint(ptree& tree, const std::string& key, MetadataLib::TimePoint value)
{
    Add(tree, key, value);
}

void AddGuid(ptree& tree, const std::string& key, const MetadataLib::Uuid& value)
{
    Add(tree, key, value);
}

void AddSize2dInt(ptree& tree, const std::string& key, const MetadataLib::Size2D<std::int32_t>& value)
{
    Add(tree, key, value);
}

void AddSize2dDouble(ptree& tree, const std::string& key, const MetadataLib::Size2D<double>& value)
{
    Add(tree, key, value);
}

void AddRectangleInt(ptree& tree, const std::string& key, const MetadataLib::Rectangle<std::int32_t>& value)
{
    Add(tree, key, value);
}

void AddVector3d(ptree& tree, const std::string& key, const MetadataLib::Vector3<double>& value)
{
    Add(tree, key, value);
}

void AddOptionalBool(ptree& tree, const std::string& key, const std::optional<bool>& value)
{
    Add(tree, key, value);
}

void AddOptionalInt(ptree& tree, const std::string& key, const std::optional<std::int32_t>& value)
{
    Add(tree, key, value);
}

void AddOptionalLong(ptree& tree, const std::string& key, const std::optional<std::int32_t>& value)
{
    Add(tree, key, value);
}

void AddOptionalDouble(ptree& tree, const std::string& key, const std::optional<double>& value)
{
    Add(tree, key, value);
}

void AddOptionalStdString(ptree& tree, const std::string& key, const std::optional<std::string>& value)
{
    Add(tree, key, value);
}

void AddOptionalStdWstring(ptree& tree, const std::string& key, const std::optional<std::wstring>& value)
{
    Add(tree, key, value);
}

void AddOptionalStdTimepoint(ptree& tree, const std::string& key, const std::optional<MetadataLib::TimePoint>& value)
{
    Add(tree, key, value);
}

void AddOptionalGuid(ptree& tree, const std::string& key, const std::optional<MetadataLib::Uuid>& value)
{
    Add(tree, key, value);
}

void AddOptionalRangeDouble(ptree& tree, const std::string& key, const std::optional<MetadataLib::Range<double>>& value)
{
    Add(tree, key, value);
}

void AddOptionalRectangleInt(ptree& tree, const std::string& key,
                             const std::optional<MetadataLib::Rectangle<std::int32_t>>& value)
{
    Add(tree, key, value);
}

void AddOptionalRectangleDouble(ptree& tree, const std::string& key,
                                const std::optional<MetadataLib::Rectangle<double>>& value)
{
    Add(tree, key, value);
}

void AddOptionalSize2dInt(ptree& tree, const std::string& key,
                          const std::optional<MetadataLib::Size2D<std::int32_t>>& value)
{
    Add(tree, key, value);
}

void AddOptionalSize2dDouble(ptree& tree, const std::string& key,
                             const std::optional<MetadataLib::Size2D<double>>& value)
{
    Add(tree, key, value);
}

void AddOptionalVector2d(ptree& tree, const std::string& key, const std::optional<MetadataLib::Vector2<double>>& value)
{
    Add(tree, key, value);
}

void AddOptionalTransformMatrix(ptree& tree, const std::string& key,
                                const std::optional<MetadataLib::TransformMatrix>& value)
{
    Add(tree, key, value);
}

} // namespace Ardo::Kiln::MetadataSerializer
