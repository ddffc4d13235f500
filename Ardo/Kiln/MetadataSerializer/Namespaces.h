#pragma once

namespace Ardo::Kiln::MetadataSerializer
{

/// The namespace that the root of each document binds to the prefix "nil". The elements themselves are in no namespace.
inline constexpr const char* MetadataNamespaceUri = "http://schemas.ardo.example/kiln/metadata/1.0";

/// The namespace of XML Schema instances, bound to the prefix "xsi".
inline constexpr const char* SchemaInstanceNamespaceUri = "http://www.w3.org/2001/XMLSchema-instance";

} // namespace Ardo::Kiln::MetadataSerializer
