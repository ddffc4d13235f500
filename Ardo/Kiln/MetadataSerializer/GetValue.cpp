#include "Ardo/Kiln/MetadataSerializer/GetValue.h"

#include "Ardo/Kiln/Conversion/String.h"
#include "Ardo/Kiln/MetadataSerializer/TreeReader_p.h"

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::ptree;

/// Converts the text of a node.
template <typename T>
struct Converter
{
    static T Value(const ptree& node, const std::string& key)
    {
        T value{};
        ReadReport report(ReadReport::Extensions::Reported);
        DocumentNodes nodes;
        DocumentNode root;
        nodes.AppendTree(root, node);
        TreeReader(root, SerializeType::Xml, report).Read(&root, key, value);
        return value;
    }
};

template <typename T>
struct Converter<MetadataLib::Rectangle<T>>
{
    static MetadataLib::Rectangle<T> Value(const ptree& node, const std::string& key)
    {
        return OriginAndExtentOf<T>::FromDocument(Converter<OriginAndExtent<T>>::Value(node, key));
    }
};

template <>
struct Converter<std::wstring>
{
    static std::wstring Value(const ptree& node, const std::string&)
    {
        return Conversion::String::FromUtf8(node.data());
    }
};

template <typename T>
T Get(const ptree& tree, const std::string& key)
{
    return Converter<T>::Value(tree.get_child(key), key);
}

template <typename T>
std::optional<T> GetOptional(const ptree& tree, const std::string& key)
{
    const auto node = tree.get_child_optional(key);
    if (!node)
    {
        return std::nullopt;
    }
    if constexpr (requires(T & value) { FromText(node->data(), value); })
    {
        T value{};
        return FromText(node->data(), value) ? std::optional(value) : std::nullopt;
    }
    else
    {
        return Converter<T>::Value(*node, key);
    }
}

} // namespace

std::int32_t GetInt(const ptree& tree, const std::string& key)
{
    return Get<std::int32_t>(tree, key);
}

double GetDouble(const ptree& tree, const std::string& key)
{
    return Get<double>(tree, key);
}

std::string GetStdString(const ptree& tree, const std::string& key)
{
    return Get<std::string>(tree, key);
}

std::wstring GetStdWstring(const ptree& tree, const std::string& key)
{
    return Get<std::wstring>(tree, key);
}

MetadataLib::TimePoint GetStdTimepoint(const ptree& tree, const std::string& key)
{
    return Get<MetadataLib::TimePoint>(tree, key);
}

MetadataLib::Uuid GetGuid(const ptree& tree, const std::string& key)
{
    return Get<MetadataLib::Uuid>(tree, key);
}

MetadataLib::Size2D<std::int32_t> GetSize2dInt(const ptree& tree, const std::string& key)
{
    return Get<MetadataLib::Size2D<std::int32_t>>(tree, key);
}

MetadataLib::Size2D<double> GetSize2dDouble(const ptree& tree, const std::string& key)
{
    return Get<MetadataLib::Size2D<double>>(tree, key);
}

MetadataLib::Rectangle<std::int32_t> GetRectangleInt(const ptree& tree, const std::string& key)
{
    return Get<MetadataLib::Rectangle<std::int32_t>>(tree, key);
}

MetadataLib::Vector3<double> GetVector3d(const ptree& tree, const std::string& key)
{
    return Get<MetadataLib::Vector3<double>>(tree, key);
}

std::optional<bool> GetOptionalBool(const ptree& tree, const std::string& key)
{
    return GetOptional<bool>(tree, key);
}

std::optional<std::int32_t> GetOptionalInt(const ptree& tree, const std::string& key)
{
    return GetOptional<std::int32_t>(tree, key);
}

std::optional<std::int32_t> GetOptionalLong(const ptree& tree, const std::string& key)
{
    return GetOptional<std::int32_t>(tree, key);
}

std::optional<double> GetOptionalDouble(const ptree& tree, const std::string& key)
{
    return GetOptional<double>(tree, key);
}

std::optional<std::string> GetOptionalStdString(const ptree& tree, const std::string& key)
{
    return GetOptional<std::string>(tree, key);
}

std::optional<std::wstring> GetOptionalStdWstring(const ptree& tree, const std::string& key)
{
    return GetOptional<std::wstring>(tree, key);
}

std::optional<MetadataLib::TimePoint> GetOptionalStdTimepoint(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::TimePoint>(tree, key);
}

std::optional<MetadataLib::Uuid> GetOptionalGuid(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::Uuid>(tree, key);
}

std::optional<MetadataLib::Range<double>> GetOptionalRangeDouble(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::Range<double>>(tree, key);
}

std::optional<MetadataLib::Rectangle<std::int32_t>> GetOptionalRectangleInt(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::Rectangle<std::int32_t>>(tree, key);
}

std::optional<MetadataLib::Rectangle<double>> GetOptionalRectangleDouble(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::Rectangle<double>>(tree, key);
}

std::optional<MetadataLib::Size2D<std::int32_t>> GetOptionalSize2dInt(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::Size2D<std::int32_t>>(tree, key);
}

std::optional<MetadataLib::Size2D<double>> GetOptionalSize2dDouble(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::Size2D<double>>(tree, key);
}

std::optional<MetadataLib::Vector2<double>> GetOptionalVector2d(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::Vector2<double>>(tree, key);
}

std::optional<MetadataLib::TransformMatrix> GetOptionalTransformMatrix(const ptree& tree, const std::string& key)
{
    return GetOptional<MetadataLib::TransformMatrix>(tree, key);
}

} // namespace Ardo::Kiln::MetadataSerializer
