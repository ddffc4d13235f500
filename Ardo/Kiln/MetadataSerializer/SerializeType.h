#pragma once

#include <cstdint>

namespace Ardo::Kiln::MetadataSerializer
{

/// The syntax of a metadata document. Zero is XML; every other value is treated as JSON.
enum class SerializeType : std::int32_t
{
    Xml = 0,  ///< Attributes stand in the property tree's "<xmlattr>" child.
    Json = 1, ///< What is an attribute in XML is an ordinary member.
};

} // namespace Ardo::Kiln::MetadataSerializer
