#include "Ardo/Kiln/MetadataSerializer/CustomPropertyText_p.h"

#include "Ardo/Kiln/MetadataSerializer/DocumentTree_p.h"
#include "Ardo/Kiln/MetadataSerializer/LeafText_p.h"

#include <algorithm>
#include <array>
#include <boost/throw_exception.hpp>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <type_traits>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using MetadataLib::CustomPropertyValue;

template <typename Number>
Number Parsed(const std::string& text, const char* function)
{
    Number number = 0;
    bool lost = false;
    switch (ParseNumber(text, number, &lost))
    {
    case NumberResult::Invalid:
        BOOST_THROW_EXCEPTION(std::invalid_argument(std::string("invalid ") + function + " argument"));
    case NumberResult::OutOfRange:
        lost = true;
        break;
    case NumberResult::Done:
        break;
    }
    if (lost)
    {
        BOOST_THROW_EXCEPTION(std::out_of_range(std::string(function) + " argument out of range"));
    }
    return number;
}

bool ParsedBool(const std::string& text)
{
    bool value = false;
    if (!FromText(text, value))
    {
        ThrowConversionFailed<bool>(text);
    }
    return value;
}

/// One kind of value: its names in documents, and the function that converts a text to it.
struct Kind
{
    std::string_view type;
    const char* rawDataType;
    CustomPropertyValue (*parse)(const std::string& text);
};

// In the order of the variant.
constexpr std::array<Kind, std::variant_size_v<CustomPropertyValue>> Kinds{{
    {"int32", "Int", [](const std::string& t) -> CustomPropertyValue { return Parsed<std::int32_t>(t, "stoi"); }},
    {"uint32", "Int", [](const std::string& t) -> CustomPropertyValue { return Parsed<std::uint32_t>(t, "stoul"); }},
    {"long", "Int",
     [](const std::string& t) -> CustomPropertyValue { return MetadataLib::Long{Parsed<std::int32_t>(t, "stol")}; }},
    {"ulong", "Int",
     [](const std::string& t) -> CustomPropertyValue { return MetadataLib::ULong{Parsed<std::uint32_t>(t, "stoul")}; }},
    {"int64", "Int", [](const std::string& t) -> CustomPropertyValue { return Parsed<std::int64_t>(t, "stoll"); }},
    {"uint64", "Int", [](const std::string& t) -> CustomPropertyValue { return Parsed<std::uint64_t>(t, "stoull"); }},
    {"float", "Double", [](const std::string& t) -> CustomPropertyValue { return Parsed<float>(t, "stof"); }},
    {"double", "Double", [](const std::string& t) -> CustomPropertyValue { return Parsed<double>(t, "stod"); }},
    {"string", "String", [](const std::string& t) -> CustomPropertyValue { return t; }},
    {"bool", "Boolean", [](const std::string& t) -> CustomPropertyValue { return ParsedBool(t); }},
}};

} // namespace

CustomPropertyText ToCustomPropertyText(const std::string& name, const CustomPropertyValue& value)
{
    if (value.index() >= Kinds.size())
    {
        throw std::runtime_error("Cannot find value");
    }
    const Kind& kind = Kinds[value.index()];
    CustomPropertyText property{name, std::string(), std::string(kind.type), kind.rawDataType};
    std::visit(
        [&text = property.value]<typename T>(const T& held)
        {
            if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, std::string>)
            {
                ToText(held, text);
            }
            else if constexpr (requires { held.value; })
            {
                FormatNumber(held.value, text);
            }
            else
            {
                FormatNumber(held, text);
            }
        },
        value);
    return property;
}

std::optional<CustomPropertyValue> FromCustomPropertyText(const CustomPropertyText& property)
{
    const auto kind = std::find_if(Kinds.begin(), Kinds.end(), [&](const Kind& k) { return k.type == property.type; });
    return kind != Kinds.end() ? std::optional(kind->parse(property.value)) : std::nullopt;
}

} // namespace Ardo::Kiln::MetadataSerializer
