#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace Ardo::MetadataLib
{

/// A value of the kind "long", which has 32 bits on every system but is told apart from an "int32".
struct Long
{
    std::int32_t value = 0; ///< The number.

    bool operator==(const Long&) const = default;
};

/// A value of the kind "ulong", which has 32 bits on every system but is told apart from a "uint32".
struct ULong
{
    std::uint32_t value = 0; ///< The number.

    bool operator==(const ULong&) const = default;
};

/// A value that an application adds under a name of its own. The index of the variant is the kind that documents name:
/// 0 "int32", 1 "uint32", 2 "long", 3 "ulong", 4 "int64", 5 "uint64", 6 "float", 7 "double", 8 "string", 9 "bool".
/// Texts are UTF-8.
///
///     metadata.CustomProperties["Operator.ShoeSize"] = 44;
///     metadata.CustomProperties["Operator.Name"] = std::string("Ada"); // a bare literal is a text, too
using CustomPropertyValue = std::variant<std::int32_t, std::uint32_t, Long, ULong, std::int64_t, std::uint64_t, float,
                                         double, std::string, bool>;

/// Custom properties by name (UTF-8, any text).
using CustomPropertyMap = std::map<std::string, CustomPropertyValue>;

} // namespace Ardo::MetadataLib
