#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace Ardo::MetadataLib
{

/// A value of the kind "long". It has 32 bits on every system, and is a kind of its own beside "int32".
struct Long
{
    std::int32_t value = 0; ///< The number.

    bool operator==(const Long&) const = default;
};

/// A value of the kind "ulong". It has 32 bits on every system, and is a kind of its own beside "uint32".
struct ULong
{
    std::uint32_t value = 0; ///< The number.

    bool operator==(const ULong&) const = default;
};

/// A value that an application adds under a name of its choice. Texts are UTF-8.
///
/// Each alternative of the variant has a name in documents; in the order of the index, from 0: "int32", "uint32",
/// "long", "ulong", "int64", "uint64", "float", "double", "string", "bool".
///
///     metadata.CustomProperties["Operator.ShoeSize"] = 44;
///     metadata.CustomProperties["Operator.Name"] = std::string("Ada"); // or a string literal
using CustomPropertyValue = std::variant<std::int32_t, std::uint32_t, Long, ULong, std::int64_t, std::uint64_t, float,
                                         double, std::string, bool>;

/// Custom properties by name (UTF-8, any text).
using CustomPropertyMap = std::map<std::string, CustomPropertyValue>;

} // namespace Ardo::MetadataLib
